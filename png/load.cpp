// PNG: loading pixels and colours into an image.
#include <algorithm>

#include "core/area.h"
#include "core/bits.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "png/detail.h"
#include "png/format.h"
#include "png/interlace.h"
#include "png/palette.h"
#include "png/rows.h"
#include "png/unfilter.h"

namespace orn32::png {
namespace {

// Rows below the area are checked like the others, but a few bytes in a file can stand for gigabytes of them.
constexpr std::uint64_t mostCheckedBelow = 64 << 20;

class Loader {
 public:
    Loader(InputStream& in, const PngInfo& info, const Place& data, const imgdes& image)
        : info_(info),
          format_(formats[info.formatindex]),
          area_(image),
          width_(std::min(areaSize(image).width, info.width)),
          height_(std::min(areaSize(image).height, info.height)),
          convert_(converterFor(format_, std::uint64_t{height_} * image.rowbytes)),
          rows_(in, data, bytesFor(info.width, info.bitsperpixel),
                rowsTogetherFor(filterStep(info.bitsperpixel))) {}

    void run() {
        const Passes passes = passesOf(info_.interlaced);
        for (const Pass& pass : passes) loadPass(pass);
        const Pass& last = passes.end()[-1];
        if (checkBelow(last)) rows_.finish();
    }

 private:
    static bool isWhole(const Pass& pass) { return pass.columnStep == 1; }

    std::uint32_t rowBytes(const Pass& pass) const {
        return static_cast<std::uint32_t>(bytesFor(pass.columns(info_.width), info_.bitsperpixel));
    }

    // The rows of the last pass are left to checkBelow where they are below the area.
    void loadPass(const Pass& pass) {
        if (pass.columns(info_.width) == 0) return;
        const std::uint32_t length = rowBytes(pass), shown = pass.rows(height_);
        rows_.startPass();
        for (std::uint32_t i = 0; i < shown; i++) {
            std::uint8_t* row = rows_.next(length);
            const std::uint32_t columns = pass.columns(width_);
            turnBack(row, length, columns, shown - i);
            place(area_[pass.firstRow + i * pass.rowStep], pass, row + 1, columns);
        }
        if (isWhole(pass)) return;
        for (std::uint32_t i = shown, n = pass.rows(info_.height); i < n; i++) rows_.next(length);
    }

    // A row may have been turned back together with one above it.
    void turnBack(std::uint8_t* row, std::uint32_t length, std::uint32_t columns, std::uint32_t rowsLeft) {
        if (row[0] == filterNone) return;
        const unsigned bits = info_.bitsperpixel, step = filterStep(bits);
        const std::size_t bytes = static_cast<std::size_t>(bytesFor(columns, bits));
        if (unfilterTogether(rows_.atHand(length, rowsLeft), bytes, step)) return;
        unfilter(row[0], row + 1, rows_.previous(), bytes, step);
        row[0] = filterNone;
    }

    void place(std::uint8_t* to, const Pass& pass, const std::uint8_t* row, std::uint32_t columns) {
        if (format_.dibBits == 1)
            isWhole(pass) ? placeBits(to, area_.bit(), row, columns)
                          : spreadBits(to, area_.bit(), pass, row, columns);
        else if (isWhole(pass))
            convert_(to, row, columns);
        else
            placeSpread(to, pass, row, columns);
    }

    void placeSpread(std::uint8_t* to, const Pass& pass, const std::uint8_t* row, std::uint32_t columns) {
        constexpr std::uint32_t most = 256;
        std::uint8_t pixels[most * 3];
        for (std::uint32_t at = 0; at < columns; at += most) {
            const std::uint32_t n = std::min(most, columns - at);
            format_.convert(pixels, row + bytesFor(at, info_.bitsperpixel), n);
            spreadPixels(to, pass, at, pixels, n, format_.dibBits / 8);
        }
    }

    // Returns whether all rows were gone through.
    bool checkBelow(const Pass& last) {
        const std::uint32_t length = rowBytes(last);
        std::uint64_t bytes = 0;
        for (std::uint32_t i = last.rows(height_), n = last.rows(info_.height); i < n; i++) {
            if ((bytes += length + 1) > mostCheckedBelow) return false;
            rows_.next(length);
        }
        return true;
    }

    const PngInfo& info_;
    const Format& format_;
    AreaRows area_;
    std::uint32_t width_, height_;  // what file and area both have
    Converter convert_;             // for rows that are whole
    RowSource rows_;
};

// A grey file has no palette; the image's is then the ramp that its pixels mean.
void loadColours(InputStream& in, const PngInfo& info, const Place& palette, imgdes& image) {
    if (!image.palette || info.colortype == grey || info.colortype == greyAlpha) {
        CreateDefaultPalette_(&image);
        return;
    }
    image.palcolors = readPalette(in, info, palette, image.palette, paletteRoom(image));
    image.imgkind &= ~greyMark;
    if (isgrayscaleimage(&image)) image.imgkind |= greyMark;
    if (image.hbitmap) updatebitmapcolortable(&image);
}

int load(const Source& source, imgdes* image) {
    if (const int code = checkRange(image, bits1to24)) return code;
    return call([&]() -> int {
        InputStream in(source);
        if (!in.isOpen()) return ERR_OPEN;
        PngInfo info;
        const Places places = walk(in, info);
        if (image->header->biBitCount != info.dibbits) return ERR_BITS;
        Loader(in, info, places.data, *image).run();
        loadColours(in, info, places.palette, *image);
        return 0;
    });
}

}  // namespace
}  // namespace orn32::png

using namespace orn32;

extern "C" int ORNAPI loadpng(const char* name, imgdes* image) {
    return png::load(fromFile(name), image);
}

extern "C" int ORNAPI loadpngW(const WCHAR* name, imgdes* image) {
    return png::load(fromFile(name), image);
}

extern "C" int ORNAPI loadpngfrombuffer(const void* buffer, imgdes* image) {
    return png::load(fromBuffer(buffer), image);
}
