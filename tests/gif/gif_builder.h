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

// Codes one bit after the other, each as wide as a decoder expects it: from codeSize + 1 bits on, wider as
// the table of strings fills, back at a clear code.
class CodeBits {
 public:
    explicit CodeBits(unsigned codeSize) : clear_(1u << codeSize), start_(codeSize + 1) { restart(); }

    void put(unsigned code) {
        for (unsigned i = 0; i < width_; i++) {
            if (bit_ % 8 == 0) bytes_.push_back(0);
            bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | (code >> i & 1) << bit_ % 8);
            bit_++;
        }
        if (code == clear_)
            restart();
        else if (++entries_ > 1u << width_ && width_ < 12)
            width_++;
    }
    const Bytes& bytes() const { return bytes_; }

 private:
    void restart() {
        width_ = start_;
        entries_ = clear_ + 2;
    }
    Bytes bytes_;
    std::size_t bit_ = 0;
    unsigned clear_, start_, width_, entries_;
};

inline Bytes packed(unsigned codeSize, const std::vector<unsigned>& codes) {
    CodeBits bits(codeSize);
    for (const unsigned code : codes) bits.put(code);
    return bits.bytes();
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

    GifBuilder& header(int width, int height, unsigned packedByte = 0, const char* version = "89a",
                       std::uint8_t background = 0, std::uint8_t aspect = 0) {
        text("GIF").text(version).word(width).word(height);
        return raw({static_cast<std::uint8_t>(packedByte), background, aspect});
    }
    GifBuilder& raw(const Bytes& more) {
        append(bytes, more);
        return *this;
    }
    GifBuilder& text(const std::string& more) { return raw({more.begin(), more.end()}); }
    GifBuilder& word(int value) {
        return raw({static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8)});
    }
    // Entry i is red seed + i, green 2i, blue 3i.
    GifBuilder& table(unsigned bits, unsigned seed = 0) {
        for (unsigned i = 0; i < 1u << bits; i++)
            raw({static_cast<std::uint8_t>(seed + i), static_cast<std::uint8_t>(2 * i),
                 static_cast<std::uint8_t>(3 * i)});
        return *this;
    }
    GifBuilder& control(unsigned packedByte, int delay = 0, std::uint8_t index = 0) {
        return raw({0x21, 0xF9, 4, static_cast<std::uint8_t>(packedByte)}).word(delay).raw({index, 0});
    }
    GifBuilder& comment(const std::string& words) {
        return raw({0x21, 0xFE}).raw(subBlocks({words.begin(), words.end()}));
    }
    GifBuilder& loop(int count) {
        return raw({0x21, 0xFF, 11}).text("NETSCAPE2.0").raw({3, 1}).word(count).raw({0});
    }
    GifBuilder& application(const std::string& name) {
        return raw({0x21, 0xFF, 11}).text(name).raw({3, 7, 8, 9, 0});
    }
    GifBuilder& descriptor(int width, int height, unsigned packedByte = 0, int left = 0, int top = 0) {
        return raw({0x2C}).word(left).word(top).word(width).word(height).raw(
            {static_cast<std::uint8_t>(packedByte)});
    }
    // Image data as it stands behind the descriptor and its table; pixels in the order of the stream.
    GifBuilder& data(unsigned codeSize, const Bytes& pixels) {
        return codes(codeSize, literalCodes(codeSize, pixels));
    }
    GifBuilder& codes(unsigned codeSize, const std::vector<unsigned>& list) {
        return raw({static_cast<std::uint8_t>(codeSize)}).raw(subBlocks(packed(codeSize, list)));
    }
    GifBuilder& trailer() { return raw({0x3B}); }
};

// A file with everything in it: two tables, three frames (one interlaced, one of 2 colours), extensions.
inline Bytes richGif() {
    Random random(99);
    Bytes pixels(12 * 9), bits(7 * 5);
    for (auto& p : pixels) p = static_cast<std::uint8_t>(random.below(16));
    for (auto& b : bits) b = static_cast<std::uint8_t>(random.below(2));
    GifBuilder gif;
    gif.header(40, 30, 0x80 | 0x70 | 3, "89a", 5, 49).table(4).loop(7);
    gif.control(4 << 2 | 1, 12, 3).application("XMP DataXMP").descriptor(12, 9, 0, 1, 2).data(4, pixels);
    gif.comment("first comment").control(2, 300).descriptor(12, 9, 0x40 | 0x80 | 3, 3, 4).table(4, 100);
    gif.data(4, pixels).raw({0, 0, 77});  // stray bytes
    gif.comment(std::string(300, 'x')).descriptor(7, 5, 0x80, 600, 500).table(1, 200).data(2, bits);
    return gif.trailer().bytes;
}

}  // namespace test
