// BMP: saving the area of an image.
#include <algorithm>
#include <cstring>

#include "core/area.h"
#include "core/bits.h"
#include "core/boundary.h"
#include "core/memory.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "io/bmp_format.h"
#include "io/bmp_rle.h"
#include "orn32.h"

namespace orn32::bmp {
namespace {

class Writer {
 public:
    Writer(OutputStream& out, const imgdes& image, bool rle)
        : out_(out),
          image_(image),
          size_(areaSize(image)),
          rle_(rle),
          rowLength_(static_cast<std::uint32_t>(rowBytes(size_.width, image.header->biBitCount))) {
        const int colours = std::min(static_cast<int>(colourCount(*image.header)), image.palcolors);
        colours_ = image.palette && colours > 0 ? static_cast<std::uint32_t>(colours) : 0;
    }

    int write() {
        if (!rle_) out_.reserve(headerBytes + colours_ * sizeof(RGBQUAD) + rowLength_ * size_.height);
        if (const int code = out_.status()) return code;
        out_.seek(headerBytes);
        if (colours_) out_.write(image_.palette, colours_ * sizeof(RGBQUAD));
        const int code = writeRows();
        writeHeaders();
        return code ? code : out_.status();
    }

 private:
    // Rows are gathered and written out whenever the next one might not fit.
    int writeRows() {
        const std::uint32_t longest = rle_ ? 2 * rowLength_ + 2 : rowLength_;
        const std::uint32_t full = std::max(rle_ ? 2 * rowLength_ : rowLength_, bufferBytes);
        const WorkArray<std::uint8_t> buffer(MemoryEntry::counted, full + rowLength_ + 4);
        if (!buffer) return ERR_MEMORY;
        if (rle_)
            writeRunLengths(buffer.get(), full - longest);
        else
            writePlainRows(buffer.get(), full / rowLength_);
        return 0;
    }

    void writeRunLengths(std::uint8_t* buffer, std::uint32_t roomForOneMore) {
        const AreaRows area(image_);
        std::uint32_t used = 0;
        for (unsigned y = size_.height; y-- > 0;) {
            if (used > roomForOneMore) {
                out_.write(buffer, used);
                used = 0;
            }
            used += encodeRle8Row(buffer + used, area[y], size_.width);
        }
        buffer[used++] = 0;
        buffer[used++] = 1;
        out_.write(buffer, used);
    }

    // Rows that lie in memory as they will in the file are written from there.
    void writePlainRows(std::uint8_t* buffer, unsigned rowsAtOnce) {
        const AreaRows area(image_);
        const bool asInFile =
            rowLength_ == image_.rowbytes && size_.width * image_.header->biBitCount == rowLength_ * 8;
        for (unsigned left = size_.height; left > 0;) {
            const unsigned n = std::min(left, rowsAtOnce);
            if (!asInFile)
                for (unsigned i = 0; i < n; i++)
                    putRow(buffer + i * rowLength_, area[left - 1 - i], area.bit());
            out_.write(asInFile ? area[left - 1] : buffer, n * rowLength_);
            left -= n;
        }
    }

    void putRow(std::uint8_t* to, const std::uint8_t* row, unsigned bit) const {
        const unsigned bits = image_.header->biBitCount;
        const std::uint32_t pixelBytes = (size_.width * bits + 7) / 8;
        if (bits == 1)
            gatherBits(to, row, bit, size_.width);
        else
            std::memcpy(to, row, pixelBytes);
        std::memset(to + pixelBytes, 0, rowLength_ - pixelBytes);
    }

    void writeHeaders() {
        const std::uint32_t fileSize = out_.position();
        const std::uint32_t pixelsAt = headerBytes + colours_ * static_cast<std::uint32_t>(sizeof(RGBQUAD));
        const BITMAPFILEHEADER file = {signature, fileSize, 0, 0, pixelsAt};
        BITMAPINFOHEADER info = {};
        info.biSize = infoHeaderBytes;
        info.biWidth = static_cast<LONG>(size_.width);
        info.biHeight = static_cast<LONG>(size_.height);
        info.biPlanes = 1;
        info.biBitCount = image_.header->biBitCount;
        info.biCompression = rle_ ? BI_RLE8 : BI_RGB;
        info.biSizeImage = fileSize - pixelsAt;
        info.biXPelsPerMeter = image_.header->biXPelsPerMeter;
        info.biYPelsPerMeter = image_.header->biYPelsPerMeter;
        info.biClrUsed = info.biClrImportant = colours_;
        out_.seek(0);
        out_.write(&file, fileHeaderBytes);
        out_.write(&info, infoHeaderBytes);
    }

    OutputStream& out_;
    const imgdes& image_;
    Size size_;
    bool rle_;
    std::uint32_t rowLength_;
    std::uint32_t colours_;
};

int save(const Target& target, imgdes* image, bool rle) {
    if (const int code = checkRange(image, bits1to24)) return code;
    return guarded(Module::bmp, [&]() -> int {
        OutputStream out(target);
        if (!out.isOpen()) return ERR_CREATE;
        if (rle && image->header->biBitCount != 8) return ERR_UNSUPPORTED;
        if (const int code = Writer(out, *image, rle).write()) return code;
        return out.commit();
    });
}

}  // namespace
}  // namespace orn32::bmp

using namespace orn32;

extern "C" int ORNAPI savebmp(const char* name, imgdes* image, int rle) {
    return bmp::save(toFile(name), image, rle != 0);
}

extern "C" int ORNAPI savebmpW(const WCHAR* name, imgdes* image, int rle) {
    return bmp::save(toFile(name), image, rle != 0);
}

extern "C" int ORNAPI savebmptobuffer(void** buffer, imgdes* image, int rle) {
    return bmp::save(toBuffer(buffer), image, rle != 0);
}
