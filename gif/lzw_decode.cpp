// GifDecode: image data from memory to memory.
#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "gif/lzw.h"
#include "io/readable.h"
#include "orn32.h"

namespace orn32::gif {
namespace {

constexpr int sourceTooShort = -1;

// Takes codes from a chain of sub-blocks. A block is entered when a code needs the first bit of it.
class CodeReader {
 public:
    CodeReader(const std::uint8_t* chain, std::uint32_t length, CodeSet set)
        : chain_(chain), length_(length), endCode_(static_cast<int>(set.end)) {}

    // The next code; the end code at the chain's terminator.
    int next(unsigned width) {
        while (bit_ + width > bits_)
            if (!enterBlock()) return terminated_ ? endCode_ : sourceTooShort;
        const unsigned code = load32(buffer_ + bit_ / 8) >> bit_ % 8 & maskOf(width);
        bit_ += width;
        return static_cast<int>(code);
    }

    // Length bytes and data bytes of all blocks entered, the terminator included.
    std::uint32_t consumed() const { return consumed_; }

 private:
    bool enterBlock() {
        if (terminated_ || consumed_ >= length_) return false;
        const std::uint8_t* block = chain_ + consumed_;
        const std::uint32_t size = *block;
        if (1 + size > length_ - consumed_) return false;
        consumed_ += 1 + size;
        terminated_ = size == 0;
        const std::uint32_t kept = bits_ / 8 - bit_ / 8;  // the start of a code: two bytes at most
        std::memmove(buffer_, buffer_ + bit_ / 8, kept);
        std::memcpy(buffer_ + kept, block + 1, size);
        bit_ %= 8;
        bits_ = (kept + size) * 8;
        return !terminated_;
    }

    const std::uint8_t* chain_;
    std::uint32_t length_;
    int endCode_;
    std::uint32_t consumed_ = 0;
    bool terminated_ = false;
    std::uint32_t bit_ = 0;   // the next code's place in the buffer,
    std::uint32_t bits_ = 0;  // and how far the buffer is filled
    std::uint8_t buffer_[2 + 255 + 3];
};

enum class Outcome { undecided, done, failed };

// How strings were put together by the encoder: one byte behind an earlier string. This decoder follows codes
// that no encoder would write as well: a code beyond the next free one repeats the previous string, and from
// then on prefixes may point anywhere.
class ChainDecoder {
 public:
    ChainDecoder(CodeReader& codes, CodeSet set, std::uint8_t* out, std::uint32_t room)
        : codes_(codes), set_(set), out_(out), room_(room), slot_(set.firstString), width_(set.width) {}

    Outcome run() {
        for (;;) {
            const int code = codes_.next(width_);
            if (code == sourceTooShort) return Outcome::failed;
            const unsigned c = static_cast<unsigned>(code);
            if (c == set_.end) return Outcome::done;
            const Outcome outcome = c == set_.clear ? restart() : expand(c);
            if (outcome != Outcome::undecided) return outcome;
        }
    }

 private:
    Outcome restart() {
        width_ = set_.width;
        slot_ = set_.firstString;
        int code;
        do code = codes_.next(width_);
        while (code == static_cast<int>(set_.clear));
        if (code == sourceTooShort) return Outcome::failed;
        unsigned c = static_cast<unsigned>(code);
        if (c == set_.end) return Outcome::done;
        if (c >= slot_) c = 0;
        if (room_ == 0) return Outcome::failed;
        previous_ = c;
        first_ = c;
        *out_++ = static_cast<std::uint8_t>(c);
        room_--;
        return Outcome::undecided;
    }

    Outcome expand(unsigned c) {
        std::uint8_t stack[tableSize];
        unsigned depth = 0;
        unsigned code = c;
        if (code >= slot_) {
            code = previous_;
            stack[depth++] = static_cast<std::uint8_t>(first_);
        }
        if (code >= slot_) return Outcome::failed;
        while (code >= set_.firstString) {
            if (prefix_[code] == code || depth == tableSize - 1) return Outcome::failed;  // goes in circles
            stack[depth++] = suffix_[code];
            code = prefix_[code];
        }
        stack[depth++] = static_cast<std::uint8_t>(code);
        if (slot_ < 1u << width_) {
            first_ = code;
            suffix_[slot_] = static_cast<std::uint8_t>(code);
            prefix_[slot_] = static_cast<std::uint16_t>(previous_);
            slot_++;
            previous_ = c;
        }
        if (slot_ >= 1u << width_ && width_ < widestCode) width_++;
        const unsigned fits = std::min(depth, room_);
        out_ = std::reverse_copy(stack + depth - fits, stack + depth, out_);
        room_ -= fits;
        return fits == depth ? Outcome::undecided : Outcome::failed;
    }

    CodeReader& codes_;
    CodeSet set_;
    std::uint8_t* out_;
    std::uint32_t room_;
    unsigned slot_;  // next free code
    unsigned width_;
    unsigned previous_ = 0, first_ = 0;
    std::uint16_t prefix_[tableSize] = {};
    std::uint8_t suffix_[tableSize] = {};
};

constexpr auto pixelBytes = [] {
    std::array<std::uint8_t, 512> bytes{};
    for (unsigned i = 0; i < bytes.size(); i++) bytes[i] = static_cast<std::uint8_t>(i);
    return bytes;
}();

template <class Word>
void copyEnds(std::uint8_t* to, const std::uint8_t* from, std::uint32_t n) {
    Word first, last;
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&last, from + n - sizeof last, sizeof last);
    std::memcpy(to, &first, sizeof first);
    std::memcpy(to + n - sizeof last, &last, sizeof last);
}

// Exactly n bytes, 1 or more, of which most often there are few.
inline void copyString(std::uint8_t* to, const std::uint8_t* from, std::uint32_t n) {
    if (n == 1) {
        *to = *from;
    } else if (n < 4) {
        copyEnds<std::uint16_t>(to, from, n);
    } else if (n < 8) {
        copyEnds<std::uint32_t>(to, from, n);
    } else if (n < 16) {
        copyEnds<std::uint64_t>(to, from, n);
    } else {
        for (std::uint32_t i = 0; i + 16 < n; i += 16) copyEnds<__m128i>(to + i, from + i, 16);
        copyEnds<__m128i>(to + n - 16, from + n - 16, 16);
    }
}

// Every string but the pixels themselves has been put out before, as an earlier string and the first byte of
// the one behind it: the table points there, and expanding a string is one copy. Leaves off undecided at what
// only the chains can follow, and where the room ends.
class CopyDecoder {
 public:
    CopyDecoder(CodeReader& codes, CodeSet set, std::uint8_t* out, std::uint32_t room)
        : codes_(codes), set_(set), out_(out), end_(out + room) {
        for (unsigned i = 0; i < set.clear; i++) strings_[i] = {pixelBytes.data() + i, 1};
        strings_[set.clear] = strings_[set.end] = {nullptr, 0};
    }

    Outcome run() {
        int code = codes_.next(set_.width);
        if (code != sourceTooShort && code != static_cast<int>(set_.clear) &&
            code != static_cast<int>(set_.end))
            return Outcome::undecided;
        for (;;) {
            while (code == static_cast<int>(set_.clear)) code = codes_.next(set_.width);
            if (code == sourceTooShort) return Outcome::failed;
            if (code == static_cast<int>(set_.end)) return Outcome::done;
            if (code >= static_cast<int>(set_.firstString)) code = 0;
            if (out_ == end_) return Outcome::failed;
            *out_++ = static_cast<std::uint8_t>(code);
            code = expandUntilClear();
            if (code == leftOff) return Outcome::undecided;
        }
    }

 private:
    struct String {
        const std::uint8_t* bytes;
        std::uint32_t length;
    };
    static constexpr int leftOff = -2;

    // Returns the code that ended the strings: clear or end, or one of the negative values.
    int expandUntilClear() {
        unsigned width = set_.width, slot = set_.firstString;
        std::uint8_t* out = out_;
        String previous = {out - 1, 1};
        for (;;) {
            const int code = codes_.next(width);
            if (code < 0) return code;
            if (slot < tableSize) strings_[slot] = {previous.bytes, previous.length + 1};
            const unsigned c = static_cast<unsigned>(code);
            if (c > slot) return leftOff;
            const String string = strings_[c];
            if (string.length > static_cast<std::uint32_t>(end_ - out)) return leftOff;
            if (string.length == 0) {
                out_ = out;
                return code;
            }
            copyString(out, string.bytes, string.length);
            if (c == slot) out[string.length - 1] = *out;
            previous = {out, string.length};
            out += string.length;
            if (slot < tableSize && ++slot >= 1u << width && width < widestCode) width++;
        }
    }

    CodeReader& codes_;
    CodeSet set_;
    std::uint8_t* out_;
    std::uint8_t* end_;
    String strings_[tableSize];
};

// The frames of the decoders are kept apart: both are large.
template <class Decoder>
[[gnu::noinline]] std::uint32_t decodeBy(const std::uint8_t* src, std::uint32_t srclen, std::uint8_t* dst,
                                         std::uint32_t dstlen, Outcome& outcome) {
    const CodeSet set(src[0]);
    CodeReader codes(src + 1, srclen - 1, set);
    Decoder decoder(codes, set, dst, dstlen);
    outcome = decoder.run();
    return outcome == Outcome::done ? codes.consumed() : 0;
}

std::uint32_t decode(GifCodeParams* params, const std::uint8_t* src, int srclen, std::uint8_t* dst,
                     int dstlen) {
    if (srclen < 1 || dstlen < 0) return 0;
    const std::uint32_t length = static_cast<std::uint32_t>(srclen),
                        room = static_cast<std::uint32_t>(dstlen);
    if (!isReadable(src, length) || !isReadable(dst, room)) return 0;
    if (src[0] < 2 || src[0] > 9) return 0;
    if (params) params->codesize = src[0];
    Outcome outcome;
    const std::uint32_t consumed = decodeBy<CopyDecoder>(src, length, dst, room, outcome);
    if (outcome != Outcome::undecided) return consumed;
    return decodeBy<ChainDecoder>(src, length, dst, room, outcome);
}

}  // namespace
}  // namespace orn32::gif

extern "C" UINT ORNAPI GifDecode(GifCodeParams* params, const unsigned char* src, int srclen,
                                 unsigned char* dst, int dstlen) {
    return orn32::gif::decode(params, src, srclen, dst, dstlen);
}
