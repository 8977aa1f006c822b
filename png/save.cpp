// PNG: saving the area of an image.
#include <algorithm>
#include <cstring>

#include "core/area.h"
#include "core/bits.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "png/data_writer.h"
#include "png/detail.h"
#include "png/filter.h"
#include "png/format.h"
#include "png/interlace.h"
#include "png/swap.h"

namespace orn32::png {
namespace {

// What the next file says of its resolution. A successful save brings the defaults back: 300 dots per inch.
struct Resolution {
    int x = 11812, y = 11812;  // per unit
    std::uint8_t unit = 1;     // metre; 0: x and y only give the shape of a pixel
};
Resolution resolution;

constexpr unsigned mostColours = 256;
constexpr int interlaceOption = 1, filterOptions = 14, largestOptions = 11;

ColourType colourTypeOf(const imgdes& image) {
    if (image.header->biBitCount == 24) return rgb;
    return image.header->biBitCount == 8 && (image.imgkind & greyMark) ? grey : indexed;
}

// The one filter for all rows, or filterCount for the best in each. An index says nothing about the one
// beside it; filter options out of range are no filter either.
Filter filterOf(int options, ColourType type) {
    if (type == indexed || options < 0 || options > largestOptions) return filterNone;
    const int choice = options & filterOptions;
    return choice == 0 ? filterCount : static_cast<Filter>(choice / 2 - 1);
}

class Writer {
 public:
    Writer(OutputStream& out, const imgdes& image, int options)
        : out_(out),
          image_(image),
          area_(image),
          size_(areaSize(image)),
          bits_(image.header->biBitCount),
          type_(colourTypeOf(image)),
          interlaced_(options & interlaceOption),
          filter_(filterOf(options, type_)),
          rowBytes_(static_cast<std::uint32_t>(bytesFor(size_.width, bits_))),
          step_(filterStep(bits_)),
          current_(MemoryEntry::first, rowBytes_ + 2 * filterMargin),
          previous_(MemoryEntry::first, rowBytes_ + 2 * filterMargin),
          data_(out, filter_ == filterNone ? Z_DEFAULT_STRATEGY : Z_FILTERED) {
        if (!current_ || !previous_) fail(noMemoryToWrite, ERR_MEMORY);
        std::memset(current_.get(), 0, rowBytes_ + 2 * filterMargin);
    }

    void write() {
        if (!out_.write(signature, sizeof signature)) fail(shortWrite, ERR_WRITE);
        writeHeader();
        if (type_ == indexed) writePalette();
        writeResolution();
        for (const Pass& pass : passesOf(interlaced_)) writePass(pass);
        data_.finish();
        std::uint8_t end[chunkFrameBytes];
        writeChunk(out_, chunkType("IEND"), end, 0);
    }

 private:
    void writeHeader() {
        std::uint8_t chunk[chunkFrameBytes + 13];
        std::uint8_t* p = chunk + chunkHeaderBytes;
        storeBigEndian(p, size_.width);
        storeBigEndian(p + 4, size_.height);
        p[8] = static_cast<std::uint8_t>(std::min(bits_, 8u));
        p[9] = type_;
        p[10] = p[11] = 0;  // the only compression and filter method there is
        p[12] = interlaced_;
        writeChunk(out_, chunkType("IHDR"), chunk, 13);
    }

    void writePalette() {
        std::uint8_t chunk[chunkFrameBytes + mostColours * 3];
        const unsigned used = static_cast<unsigned>(std::max(image_.palcolors, 0));
        const unsigned n = std::min({used, paletteRoom(image_), 1u << bits_});
        std::uint8_t* p = chunk + chunkHeaderBytes;
        for (unsigned i = 0; i < n; i++) {
            *p++ = image_.palette[i].rgbRed;
            *p++ = image_.palette[i].rgbGreen;
            *p++ = image_.palette[i].rgbBlue;
        }
        writeChunk(out_, chunkType("PLTE"), chunk, n * 3);
    }

    void writeResolution() {
        std::uint8_t chunk[chunkFrameBytes + 9];
        std::uint8_t* p = chunk + chunkHeaderBytes;
        storeBigEndian(p, static_cast<std::uint32_t>(resolution.x));
        storeBigEndian(p + 4, static_cast<std::uint32_t>(resolution.y));
        p[8] = resolution.unit;
        writeChunk(out_, chunkType("pHYs"), chunk, 9);
    }

    void writePass(const Pass& pass) {
        const std::uint32_t columns = pass.columns(size_.width);
        if (columns == 0) return;
        const std::uint32_t length = static_cast<std::uint32_t>(bytesFor(columns, bits_));
        std::memset(previous_.get(), 0, rowBytes_ + 2 * filterMargin);
        for (std::uint32_t y = pass.firstRow; y < size_.height; y += pass.rowStep) {
            fetchRow(current_.get() + filterMargin, area_[y], pass, columns);
            writeRow(length);
            std::swap(current_, previous_);
        }
    }

    void fetchRow(std::uint8_t* to, const std::uint8_t* row, const Pass& pass, std::uint32_t columns) const {
        const bool whole = pass.columnStep == 1;
        if (bits_ == 1)
            whole ? gatherBits(to, row, area_.bit(), columns) : pickBits(to, row, area_.bit(), pass, columns);
        else if (bits_ == 8)
            pickPixels(to, row, pass, 0, columns, 1);
        else if (whole)
            swapRedAndBlue(to, row, columns);
        else
            pickColours(to, row, pass, columns);
    }

    static void pickColours(std::uint8_t* to, const std::uint8_t* row, const Pass& pass,
                            std::uint32_t columns) {
        constexpr std::uint32_t most = 256;
        std::uint8_t pixels[most * 3];
        for (std::uint32_t at = 0; at < columns; at += most) {
            const std::uint32_t n = std::min(most, columns - at);
            pickPixels(pixels, row, pass, at, n, 3);
            swapRedAndBlue(to + at * 3, pixels, n);
        }
    }

    // Filters piece by piece, so that the row itself stays for the one below.
    void writeRow(std::uint32_t length) {
        const std::uint8_t* row = current_.get() + filterMargin;
        const std::uint8_t* above = previous_.get() + filterMargin;
        const Filter filter = filter_ == filterCount ? bestFilter(row, above, length, step_) : filter_;
        const std::uint8_t filterByte = filter;
        data_.add(&filterByte, 1);
        if (filter == filterNone) return data_.add(row, length);
        constexpr std::uint32_t most = 4096;
        std::uint8_t filtered[most + filterMargin];
        for (std::uint32_t at = 0; at < length; at += most) {
            const std::uint32_t n = std::min(most, length - at);
            applyFilter(filter, filtered, row + at, above + at, n, step_);
            data_.add(filtered, n);
        }
    }

    OutputStream& out_;
    const imgdes& image_;
    AreaRows area_;
    Size size_;
    unsigned bits_;
    ColourType type_;
    bool interlaced_;
    Filter filter_;
    std::uint32_t rowBytes_;
    unsigned step_;
    WorkArray<std::uint8_t> current_, previous_;  // filterMargin bytes on either side
    DataWriter data_;
};

// For a buffer, not being able to write is a lack of memory.
Failure inBuffer(Failure failure) {
    if (failure.code == ERR_WRITE) return {ERR_MEMORY, noMemoryToWrite};
    if (failure.detail == deflateFailed) failure.detail = noMemoryToWrite;
    return failure;
}

void writeTo(OutputStream& out, const imgdes& image, int options) {
    Writer(out, image, options).write();
    if (out.commit() != 0) fail(shortWrite, ERR_WRITE);
}

int save(const Target& target, imgdes* image, int options) {
    if (const int code = checkRange(image, bits1to24)) return code;
    return call([&]() -> int {
        OutputStream out(target);
        if (!out.isOpen()) return ERR_CREATE;
        lastDetail = noDetail;
        try {
            writeTo(out, *image, options);
        } catch (const Failure& failure) {
            throw target.result ? inBuffer(failure) : failure;
        }
        resolution = Resolution();
        return 0;
    });
}

}  // namespace
}  // namespace orn32::png

using namespace orn32;

extern "C" int ORNAPI savepng(const char* name, imgdes* image, int options) {
    return png::save(toFile(name), image, options);
}

extern "C" int ORNAPI savepngW(const WCHAR* name, imgdes* image, int options) {
    return png::save(toFile(name), image, options);
}

extern "C" int ORNAPI savepngtobuffer(void** buffer, imgdes* image, int options) {
    return png::save(toBuffer(buffer), image, options);
}

extern "C" int ORNAPI pngsetxyresolution(int x, int y, int unit) {
    png::resolution.x = x;
    png::resolution.y = y;
    if (unit == 0) png::resolution.unit = 0;
    return 0;
}
