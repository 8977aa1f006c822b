// Builds bitmap files, good and bad, field by field.
#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

namespace test {

struct BmpBuilder {
    int width = 4, height = 3;
    unsigned bits = 24, compression = BI_RGB;
    unsigned headerSize = 40;                // 12 or less writes a core header
    unsigned colours = 0;                    // biClrUsed
    std::vector<std::uint32_t> masks = {};   // behind the first 40 header bytes
    std::vector<std::uint8_t> palette = {};  // as in the file
    unsigned gap = 0;                        // bytes between palette and pixels
    std::vector<std::uint8_t> pixels = {};

    std::vector<std::uint8_t> build() const {
        std::vector<std::uint8_t> file;
        const auto put = [&](int bytes, auto... values) {
            for (const std::uint32_t value : {static_cast<std::uint32_t>(values)...})
                for (int i = 0; i < bytes; i++) file.push_back(static_cast<std::uint8_t>(value >> 8 * i));
        };
        const bool core = headerSize <= 12;
        const std::size_t headBytes = core ? 12 : headerSize < 40 ? 40 : headerSize;
        const std::size_t pixelsAt =
            14 + (headBytes > 40 ? headBytes : headBytes + masks.size() * 4) + palette.size() + gap;
        put(2, 0x4D42);
        put(4, pixelsAt + pixels.size(), 0, pixelsAt, headerSize);
        put(core ? 2 : 4, width, height);
        put(2, 1, bits);
        if (!core) {
            put(4, compression, 0, 2835, 2835, colours, 0);
            for (const std::uint32_t mask : masks) put(4, mask);
            if (headBytes > 40) file.resize(14 + headBytes);
        }
        file.insert(file.end(), palette.begin(), palette.end());
        file.resize(pixelsAt);
        file.insert(file.end(), pixels.begin(), pixels.end());
        return file;
    }
};

}  // namespace test
