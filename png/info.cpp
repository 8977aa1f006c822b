#include "png/info.h"

#include <algorithm>
#include <cstring>

#include "core/memory.h"
#include "png/detail.h"
#include "png/format.h"

namespace orn32::png {
namespace {

constexpr std::uint32_t bufferBytes = 8192;
constexpr std::uint32_t headerBytes = 13;
constexpr std::uint32_t longestTransparency = 256;
constexpr std::uint32_t longestColour = 6;  // three samples of 16 bits

class Walk {
 public:
    Walk(InputStream& in, PngInfo& info, const char* keyword)
        : chunk_(in), info_(info), keyword_(keyword), buffer_(MemoryEntry::second, bufferBytes) {
        if (!buffer_) throw Failure{ERR_MEMORY};
    }

    // Goes on to IEND, whose checksum is not looked at.
    Places run() {
        chunk_.readSignature();
        for (;;) {
            chunk_.nextHeader();
            if (chunk_.type() == chunkType("IEND")) return places_;
            if (chunk_.type() == chunkType("IDAT")) {
                noteData();
                chunk_.passCrc();
                continue;
            }
            handle();
            chunk_.skip(buffer_.get(), bufferBytes);
            chunk_.checkCrc();
        }
    }

 private:
    // What a handler leaves of a chunk is skipped.
    void handle() {
        switch (chunk_.type()) {
            case chunkType("IHDR"):
                return readHeader();
            case chunkType("PLTE"):
                return notePalette();
            case chunkType("tRNS"):
                return readTransparency();
            case chunkType("bKGD"):
                return readBackground();
            case chunkType("gAMA"):
                return readGamma();
            case chunkType("tEXt"):
                return noteComment();
            case chunkType("oFFs"):
                return readOffset();
            case chunkType("pHYs"):
                return readResolution();
            case chunkType("sBIT"):
                return readSignificantBits();
            default:
                if (!isAncillary(chunk_.type())) fail(unknownCriticalChunk);
        }
    }

    // The chunk's first count bytes, or null where it is too short for them.
    const std::uint8_t* take(std::uint32_t count) {
        if (chunk_.remaining() < count) return nullptr;
        chunk_.read(buffer_.get(), count);
        return buffer_.get();
    }

    void readHeader();
    void notePalette() {
        if (!places_.palette.known) places_.palette = chunk_.remainingPlace();
    }
    void noteData() {
        if (!places_.data.known) places_.data = chunk_.remainingPlace();
        chunk_.jump();
    }
    void noteComment();
    void readTransparency();
    void readBackground();
    void readGamma() {
        if (const std::uint8_t* p = take(4)) info_.gamma = bigEndian(p);
    }
    void readResolution();
    void readOffset();
    void readSignificantBits();

    ChunkReader chunk_;
    PngInfo& info_;
    const char* keyword_;
    WorkArray<std::uint8_t> buffer_;
    Places places_;
};

// The order of the tests decides which of several faults is reported.
void Walk::readHeader() {
    if (chunk_.length() != headerBytes) fail(badHeaderLength);
    const std::uint8_t* p = take(headerBytes);
    const std::uint32_t width = bigEndian(p), height = bigEndian(p + 4);
    const unsigned depth = p[8], type = p[9], compression = p[10], filter = p[11], interlace = p[12];
    if (width == 0 || height == 0) fail(emptyPicture);
    if (depth != 1 && depth != 2 && depth != 4 && depth != 8 && depth != 16) fail(badDepth);
    if (type != grey && type != rgb && type != indexed && type != greyAlpha && type != rgbAlpha)
        fail(badColourType);
    const unsigned index = formatIndex(type, depth);
    if (index == formatCount) fail(badDepthForType);
    if (interlace > 1) fail(badInterlace);
    if (compression != 0) fail(badCompression);
    if (filter != 0) fail(badFilterMethod);

    const Format& format = formats[index];
    info_.width = width;
    info_.height = height;
    info_.bitdepth = depth;
    info_.dibbits = format.dibBits;
    info_.colortype = type;
    info_.interlaced = interlace;
    info_.formatindex = index;
    info_.channels = format.channels;
    info_.bitsperpixel = format.bitsPerPixel();
    info_.rowbytes =
        static_cast<UINT>(std::min<std::uint64_t>(bytesFor(width, format.bitsPerPixel()), 0xFFFFFFFF));
}

// 16-bit samples, highest byte first, to numbers; a lone last byte stays what it is.
void storeSamples(WORD (&samples)[4], const std::uint8_t* bytes, std::uint32_t count) {
    std::uint32_t i = 0;
    for (; i + 1 < count; i += 2) samples[i / 2] = static_cast<WORD>(bytes[i] << 8 | bytes[i + 1]);
    if (i < count) samples[i / 2] = bytes[i];
}

// Of a palette's alpha values only the least is reported, by its index.
void Walk::readTransparency() {
    if (info_.hastrns || chunk_.length() > longestTransparency) return;
    const std::uint32_t count = chunk_.length();
    const std::uint8_t* p = take(count);
    info_.hastrns = 1;
    if (info_.colortype == indexed) {
        info_.trns[0] = static_cast<WORD>(count ? std::min_element(p, p + count) - p : 0);
        info_.trnslen = 1;
    } else {
        info_.trnslen = std::min(count, longestColour);
        storeSamples(info_.trns, p, info_.trnslen);
    }
}

void Walk::readBackground() {
    if (info_.hasbkgd || chunk_.length() > longestColour) return;
    const std::uint32_t count = chunk_.length();
    const std::uint8_t* p = take(count);
    info_.hasbkgd = 1;
    info_.bkgdlen = count;
    if (info_.colortype == indexed)
        std::memcpy(info_.bkgd, p, count);
    else
        storeSamples(info_.bkgd, p, count);
}

// Quirk, kept for the callers that know it: the unit is put into a word that still holds the vertical
// resolution.
UINT mergedUnit(std::uint32_t yres, std::uint8_t unit) {
    return (yres & ~0xFFu) | unit;
}

void Walk::readResolution() {
    const std::uint8_t* p = take(9);
    if (!p) return;
    info_.xres = bigEndian(p);
    info_.yres = bigEndian(p + 4);
    info_.resunit = mergedUnit(info_.yres, p[8]);
}

void Walk::readOffset() {
    const std::uint8_t* p = take(9);
    if (!p) return;
    info_.xoffset = static_cast<int>(bigEndian(p));
    info_.yoffset = static_cast<int>(bigEndian(p + 4));
    info_.offsetunit = p[8];
}

void Walk::readSignificantBits() {
    const std::uint32_t count =
        std::min<std::uint32_t>(info_.colortype == indexed ? 3 : info_.channels, chunk_.length());
    std::memset(info_.sbit, 0, sizeof info_.sbit);
    std::memcpy(info_.sbit, take(count), count);
}

// The keyword must be followed by its end mark; of several texts under it the first counts.
void Walk::noteComment() {
    if (!keyword_ || places_.comment.known) return;
    const std::size_t length = std::strlen(keyword_) + 1;
    if (length > bufferBytes) return;
    const std::uint8_t* p = take(static_cast<std::uint32_t>(length));
    if (p && std::memcmp(p, keyword_, length) == 0) places_.comment = chunk_.remainingPlace();
}

}  // namespace

Places walk(InputStream& in, PngInfo& info, const char* keyword) {
    info = {};
    return Walk(in, info, keyword).run();
}

int openAndWalk(const Source& source, PngInfo& info) {
    InputStream in(source);
    if (!in.isOpen()) return ERR_OPEN;
    walk(in, info);
    return 0;
}

namespace {

int info(const Source& source, PngInfo* info) {
    return call([&] { return openAndWalk(source, *info); });
}

int resolution(const Source& source, int* x, int* y, int* unit) {
    PngInfo found;
    if (const int code = info(source, &found)) return code;
    *x = static_cast<int>(found.xres);
    *y = static_cast<int>(found.yres);
    *unit = static_cast<int>(found.resunit);
    return 0;
}

}  // namespace
}  // namespace orn32::png

using namespace orn32;

extern "C" int ORNAPI pnginfo(const char* name, PngInfo* info) {
    return png::info(fromFile(name), info);
}

extern "C" int ORNAPI pnginfoW(const WCHAR* name, PngInfo* info) {
    return png::info(fromFile(name), info);
}

extern "C" int ORNAPI pnginfofrombuffer(const void* buffer, PngInfo* info) {
    return png::info(fromBuffer(buffer), info);
}

extern "C" int ORNAPI pnggetxyresolution(const char* name, int* x, int* y, int* unit) {
    return png::resolution(fromFile(name), x, y, unit);
}

extern "C" int ORNAPI pnggetxyresolutionW(const WCHAR* name, int* x, int* y, int* unit) {
    return png::resolution(fromFile(name), x, y, unit);
}
