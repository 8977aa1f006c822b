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
#include "tests/support/test_image.h"

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

// An image to load into, as a packed DIB whose last byte is the last one of its memory. Its area covers a
// part of it, and what is outside must come through unchanged.
class Destination : public test::TestImage {
 public:
    // The margins are 2 bits each: left, top, right, bottom.
    Destination(unsigned width, unsigned height, unsigned bits, unsigned margins)
        : TestImage((margins & 3) + std::clamp(width, 1u, 300u) + (margins >> 4 & 3),
                    (margins >> 2 & 3) + std::clamp(height, 1u, 200u) + (margins >> 6), bits) {
        if (!made()) return;
        std::memset(image.bits, filling, image.header->biSizeImage);
        image.left = margins & 3;
        image.top = margins >> 2 & 3;
        image.right -= margins >> 4 & 3;
        image.bottom -= margins >> 6;
    }
    bool made() const { return image.header != nullptr; }

    void requireMarginsUntouched() const {
        const unsigned bits = bitsPerPixel(), rowEnd = static_cast<unsigned>(width()) * bits / 8;
        const unsigned from = image.left * bits / 8, to = ((image.right + 1) * bits + 7) / 8;
        for (int y = 0; y < height(); y++) {
            const bool inside = y >= static_cast<int>(image.top) && y <= static_cast<int>(image.bottom);
            for (unsigned x = 0; x < rowEnd; x++)
                if (!inside || x < from || x >= to)
                    require(row(y)[x] == filling, "nothing outside the area changes", y);
        }
        require(image.palcolors >= 0 && image.palcolors <= 256, "palette count", image.palcolors);
    }

 private:
    static constexpr std::uint8_t filling = 0xA5;
};

// A palette whose last entry is the last of its memory.
struct Palette {
    test::GuardedBytes bytes{256 * sizeof(RGBQUAD)};
    RGBQUAD* entries = reinterpret_cast<RGBQUAD*>(bytes.data());
};

using Codes = std::initializer_list<int>;

inline void requireOneOf(int code, Codes codes, const char* what) {
    require(std::find(codes.begin(), codes.end(), code) != codes.end(), what, code);
}

// The input as a file on disk.
class File {
 public:
    explicit File(const Input& input) : file_(".input") { test::writeFile(file_.name(), input.bytes()); }
    operator const char*() const { return file_.name(); }

 private:
    test::TempFile file_;
};

// Loads the input from memory, and one in eight from a file as well, which must come to the same. Returns the
// code.
template <class FromBuffer, class FromFile, class... Arguments>
int load(const Input& input, unsigned width, unsigned height, unsigned bits, Codes codes,
         FromBuffer fromBuffer, FromFile fromFile, Arguments... arguments) {
    Destination image(width, height, bits, input.choice(0));
    if (!image.made()) return 0;
    const int code = fromBuffer(input.file(), image, arguments...);
    requireOneOf(code, codes, "a load's code");
    image.requireMarginsUntouched();
    if (code == ERR_SOURCE_BUFFER || input.choice(1) % 8 != 0) return code;
    Destination other(width, height, bits, input.choice(0));
    require(fromFile(File(input), other, arguments...) == code, "file and buffer give the same code", code);
    require(other.bytes() == image.bytes(), "file and buffer give the same picture");
    return code;
}

}  // namespace fuzz
