// GIF files put together piece by piece, for tests: sound ones, and any kind of damaged one.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/random.h"

namespace test {

inline void append(Bytes& to, const Bytes& bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

// Cuts bytes into sub-blocks, with the terminator.
inline Bytes subBlocks(const Bytes& bytes, std::size_t size = 255) {
    Bytes out;
    for (std::size_t i = 0; i < bytes.size(); i += size) {
        const std::size_t n = std::min(size, bytes.size() - i);
        out.push_back(static_cast<std::uint8_t>(n));
        append(out, slice(bytes, i, n));
    }
    out.push_back(0);
    return out;
}

// Codes of any width, their lowest bits first.
struct CodeBits {
    Bytes bytes;
    std::size_t bit = 0;

    void put(unsigned code, unsigned width) {
        for (unsigned i = 0; i < width; i++, bit++) {
            if (bit % 8 == 0) bytes.push_back(0);
            bytes.back() = static_cast<std::uint8_t>(bytes.back() | (code >> i & 1) << bit % 8);
        }
    }
};

// Codes as wide as a decoder expects them: from codeSize + 1 bits on, wider as the table of strings fills,
// back at a clear code.
inline Bytes packed(unsigned codeSize, const std::vector<unsigned>& codes) {
    const unsigned clear = 1u << codeSize;
    unsigned width = codeSize + 1, entries = clear + 2;
    CodeBits bits;
    for (const unsigned code : codes) {
        bits.put(code, width);
        if (code == clear)
            width = codeSize + 1, entries = clear + 2;
        else if (++entries > 1u << width && width < 12)
            width++;
    }
    return bits.bytes;
}

// The codes that pixels are written with: a clear code before each 2^codeSize - 2 of them, the end code.
inline std::vector<unsigned> literalCodes(unsigned codeSize, const Bytes& pixels) {
    const unsigned clear = 1u << codeSize;
    std::vector<unsigned> codes;
    for (std::size_t i = 0; i < pixels.size(); i++) {
        if (i % (clear - 2) == 0) codes.push_back(clear);
        codes.push_back(pixels[i]);
    }
    codes.push_back(clear + 1);
    return codes;
}

// The picture's rows in the order of the stream.
inline std::vector<int> rowOrder(int height, bool interlaced) {
    std::vector<int> order;
    const auto pass = [&](int first, int step) {
        for (int y = first; y < height; y += step) order.push_back(y);
    };
    if (!interlaced)
        pass(0, 1);
    else
        pass(0, 8), pass(4, 8), pass(2, 4), pass(1, 2);
    return order;
}

class GifBuilder {
 public:
    Bytes bytes;

    GifBuilder& raw(const Bytes& more) {
        append(bytes, more);
        return *this;
    }
    template <class... Values>
    GifBuilder& put(Values... values) {
        return raw({static_cast<std::uint8_t>(values)...});
    }
    GifBuilder& word(int value) { return put(value, value >> 8); }
    GifBuilder& text(const std::string& more) { return raw({more.begin(), more.end()}); }

    GifBuilder& header(int width, int height, unsigned packedByte = 0, const char* version = "89a",
                       int background = 0, int aspect = 0) {
        return text("GIF").text(version).word(width).word(height).put(packedByte, background, aspect);
    }
    // Entry i is red seed + i, green 2i, blue 3i.
    GifBuilder& table(unsigned bits, unsigned seed = 0) {
        for (unsigned i = 0; i < 1u << bits; i++) put(seed + i, 2 * i, 3 * i);
        return *this;
    }
    GifBuilder& control(unsigned packedByte, int delay = 0, int index = 0) {
        return put(0x21, 0xF9, 4, packedByte).word(delay).put(index, 0);
    }
    GifBuilder& comment(const std::string& words) {
        return put(0x21, 0xFE).raw(subBlocks({words.begin(), words.end()}));
    }
    GifBuilder& loop(int count) {
        return put(0x21, 0xFF, 11).text("NETSCAPE2.0").put(3, 1).word(count).put(0);
    }
    GifBuilder& application(const std::string& name) {
        return put(0x21, 0xFF, 11).text(name).put(3, 7, 8, 9, 0);
    }
    GifBuilder& descriptor(int width, int height, unsigned packedByte = 0, int left = 0, int top = 0) {
        return put(0x2C).word(left).word(top).word(width).word(height).put(packedByte);
    }
    // Image data as it stands behind the descriptor and its table; pixels in the order of the stream.
    GifBuilder& data(unsigned codeSize, const Bytes& pixels) {
        return codes(codeSize, literalCodes(codeSize, pixels));
    }
    GifBuilder& codes(unsigned codeSize, const std::vector<unsigned>& list) {
        return put(codeSize).raw(subBlocks(packed(codeSize, list)));
    }
    GifBuilder& trailer() { return put(0x3B); }
};

// A file with everything in it: two tables, three frames (one interlaced, one of 2 colours), extensions.
inline Bytes richGif() {
    Random random(99);
    Bytes pixels(12 * 9), bits(7 * 5);
    for (auto& p : pixels) p = random.byte() % 16;
    for (auto& b : bits) b = random.byte() % 2;
    GifBuilder gif;
    gif.header(40, 30, 0x80 | 0x70 | 3, "89a", 5, 49).table(4).loop(7);
    gif.control(4 << 2 | 1, 12, 3).application("XMP DataXMP").descriptor(12, 9, 0, 1, 2).data(4, pixels);
    gif.comment("first comment").control(2, 300).descriptor(12, 9, 0x40 | 0x80 | 3, 3, 4).table(4, 100);
    gif.data(4, pixels).raw({0, 0, 77});  // stray bytes
    gif.comment(std::string(300, 'x')).descriptor(7, 5, 0x80, 600, 500).table(1, 200).data(2, bits);
    return gif.trailer().bytes;
}

}  // namespace test
