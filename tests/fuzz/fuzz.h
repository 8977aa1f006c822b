// What the fuzz targets share. A target's input is a file, whole and unchanged, so that real files are seeds
// as they are; what else a target chooses comes from the file's last bytes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "core/library.h"
#include "orn32.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"

namespace fuzz {

using test::Bytes;

// What must hold, whatever the input.
inline void require(bool holds, const char* what, int value = 0) {
    if (holds) return;
    std::fprintf(stderr, "violated: %s (%d)\n", what, value);
    std::abort();
}

// The input as the library gets it: it ends at an unreadable page.
class Input {
 public:
    Input(const std::uint8_t* data, std::size_t size) : bytes_(data, data + size), guarded_(bytes_) {
        static const bool attached = (orn32::attachProcess(nullptr), true);
        (void)attached;
    }
    const void* file() const { return guarded_.data(); }
    const Bytes& bytes() const { return bytes_; }
    unsigned choice(std::size_t fromEnd) const {
        return fromEnd < bytes_.size() ? bytes_[bytes_.size() - 1 - fromEnd] : 0;
    }

 private:
    Bytes bytes_;
    test::GuardedBytes guarded_;
};

// The input as a file on disk.
class File {
 public:
    File(const Input& input, const char* extension) : file_(extension) {
        test::writeFile(file_.name(), input.bytes());
    }
    operator const char*() const { return file_.name(); }

 private:
    test::TempFile file_;
};

// An image to load into, as a packed DIB whose last byte is the last one of its memory. Its area covers a
// part of it, and what is outside must come through unchanged.
class Destination {
 public:
    Destination(unsigned width, unsigned height, unsigned bits, unsigned margins) {
        width = std::clamp(width, 1u, 300u);
        height = std::clamp(height, 1u, 200u);
        const unsigned left = margins & 3, top = margins >> 2 & 3, right = margins >> 4 & 3,
                       bottom = margins >> 6;
        made_ = allocDIB(&image, left + width + right, top + height + bottom, bits) == 0;
        if (!made_) return;
        std::memset(image.bits, filling, image.header->biSizeImage);
        setimagearea(&image, left, top, left + width - 1, top + height - 1);
    }
    ~Destination() {
        if (made_) freeimage(&image);
    }
    Destination(const Destination&) = delete;
    Destination& operator=(const Destination&) = delete;

    bool made() const { return made_; }
    operator imgdes*() { return &image; }

    Bytes pixels() const { return {image.bits, image.bits + image.header->biSizeImage}; }

    void requireMarginsUntouched() const {
        const unsigned bits = image.header->biBitCount,
                       height = static_cast<unsigned>(image.header->biHeight);
        const unsigned rowEnd = static_cast<unsigned>(image.header->biWidth) * bits / 8;
        for (unsigned y = 0; y < height; y++) {
            const bool inside = y >= image.top && y <= image.bottom;
            const unsigned from = image.left * bits / 8, to = ((image.right + 1) * bits + 7) / 8;
            const std::uint8_t* row = image.bits + (height - 1 - y) * image.rowbytes;
            for (unsigned x = 0; x < rowEnd; x++)
                if (!inside || x < from || x >= to)
                    require(row[x] == filling, "nothing outside the area changes", static_cast<int>(y));
        }
        require(image.palcolors >= 0 && image.palcolors <= 256, "palette count", image.palcolors);
    }

    imgdes image;

 private:
    static constexpr std::uint8_t filling = 0xA5;
    bool made_;
};

// A palette whose last entry is the last of its memory.
struct Palette {
    test::GuardedBytes bytes{256 * sizeof(RGBQUAD)};
    RGBQUAD* entries = reinterpret_cast<RGBQUAD*>(bytes.data());
};

inline void requireOneOf(int code, std::initializer_list<int> codes, const char* what) {
    require(std::find(codes.begin(), codes.end(), code) != codes.end(), what, code);
}

}  // namespace fuzz
