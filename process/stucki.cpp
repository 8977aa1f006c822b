#include "process/stucki.h"

#include <emmintrin.h>

#include <array>

namespace orn32 {
namespace {

// The error of a pixel of the given level.
constexpr int errorOf(unsigned level) {
    return level < 128 ? static_cast<int>(level) : static_cast<int>(level) - 255;
}

// The shares of an error, looked up by the pixel's level. Those for the rows below are bytes to be added and
// bytes to be subtracted with saturation, for five pixels of each row: one of the two is all zeros.
struct Shares {
    struct alignas(16) Below {
        std::uint8_t gain[16], loss[16];
    };
    Below below[256];
    std::int8_t next[256], afterNext[256];
};

constexpr Shares shares = [] {
    constexpr int firstRow[5] = {2, 4, 8, 4, 2}, secondRow[5] = {1, 2, 4, 2, 1};
    Shares table{};
    for (unsigned level = 0; level < 256; level++) {
        const int error = errorOf(level), magnitude = error < 0 ? -error : error;
        auto& bytes = error < 0 ? table.below[level].loss : table.below[level].gain;
        for (unsigned i = 0; i < 5; i++) {
            bytes[i] = static_cast<std::uint8_t>(magnitude * firstRow[i] / 42);
            bytes[8 + i] = static_cast<std::uint8_t>(magnitude * secondRow[i] / 42);
        }
        table.next[level] = static_cast<std::int8_t>(error * 8 / 42);
        table.afterNext[level] = static_cast<std::int8_t>(error * 4 / 42);
    }
    return table;
}();

int clamped(int level) {
    return level < 0 ? 0 : level > 255 ? 255 : level;
}

// The pixels of the two rows below that are in reach, from two to the left of the pixel at work to two to the
// right of it: one row in the low bytes of each half of a register.
class Reach {
 public:
    Reach(std::uint8_t* below, std::uint8_t* secondBelow)
        : below_(below),
          secondBelow_(secondBelow),
          pixels_(_mm_unpacklo_epi64(five(below), five(secondBelow))) {}

    void spread(unsigned level) {
        const Shares::Below& share = shares.below[level];
        pixels_ = _mm_adds_epu8(pixels_, _mm_load_si128(reinterpret_cast<const __m128i*>(share.gain)));
        pixels_ = _mm_subs_epu8(pixels_, _mm_load_si128(reinterpret_cast<const __m128i*>(share.loss)));
    }
    // Stores the leftmost pixels and moves on by one.
    void letGo() {
        below_[-2] = static_cast<std::uint8_t>(_mm_cvtsi128_si32(pixels_));
        secondBelow_[-2] = static_cast<std::uint8_t>(_mm_extract_epi16(pixels_, 4));
        pixels_ = _mm_srli_epi64(pixels_, 8);
        below_++;
        secondBelow_++;
    }
    void takeIn() {
        pixels_ = _mm_insert_epi16(pixels_, below_[2], 2);
        pixels_ = _mm_insert_epi16(pixels_, secondBelow_[2], 6);
    }

 private:
    static __m128i five(const std::uint8_t* row) {
        const __m128i low = _mm_cvtsi32_si128(row[-2] | row[-1] << 8 | row[0] << 16 | row[1] << 24);
        return _mm_insert_epi16(low, row[2], 2);
    }

    std::uint8_t *below_, *secondBelow_;  // at the pixel below the one at work
    __m128i pixels_;
};

}  // namespace

void diffuseStuckiRow(std::uint8_t* row, std::uint8_t* below, std::uint8_t* secondBelow, unsigned count) {
    Reach reach(below, secondBelow);
    int level = row[0], next = row[1];
    for (unsigned x = 0; x < count; x++) {
        row[x] = static_cast<std::uint8_t>(level);
        const int afterNext = clamped(row[x + 2] + shares.afterNext[level]);
        reach.spread(static_cast<unsigned>(level));
        reach.letGo();
        reach.takeIn();
        level = clamped(next + shares.next[level]);
        next = afterNext;
    }
    // The last pixels of the rows below are still in reach.
    for (unsigned i = 0; i < 2; i++) reach.letGo();
}

}  // namespace orn32
