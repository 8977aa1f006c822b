#include "io/bmp_rle.h"

#include <emmintrin.h>

#include <bit>

namespace orn32::bmp {
namespace {

constexpr unsigned endOfRow = 0, endOfBitmap = 1, delta = 2;
constexpr std::uint32_t longestPiece = 255;
constexpr std::uint32_t shortestAbsolute = 3;

template <class Word>
void store(std::uint8_t* to, std::uint64_t bytes) {
    const Word word = static_cast<Word>(bytes);
    std::memcpy(to, &word, sizeof word);
}

// Most runs are short: two overlapping stores cover any length up to 16.
void fillRun(std::uint8_t* to, std::uint8_t value, std::uint32_t n) {
    const std::uint64_t bytes = value * 0x0101010101010101u;
    if (n > 16) {
        std::memset(to, value, n);
    } else if (n >= 8) {
        store<std::uint64_t>(to, bytes);
        store<std::uint64_t>(to + n - 8, bytes);
    } else if (n >= 4) {
        store<std::uint32_t>(to, bytes);
        store<std::uint32_t>(to + n - 4, bytes);
    } else {
        for (std::uint32_t i = 0; i < n; i++) to[i] = value;
    }
}

struct Rle8 {
    static std::uint32_t absoluteBytes(std::uint32_t n) { return n; }
    static void run(std::uint8_t* to, std::uint8_t colour, std::uint32_t n) { fillRun(to, colour, n); }
    static void absolute(std::uint8_t* to, const std::uint8_t* from, std::uint32_t n) {
        std::memcpy(to, from, n);
    }
};

// Two pixels per byte, the high nibble first.
struct Rle4 {
    static std::uint32_t absoluteBytes(std::uint32_t n) { return (n + 1) / 2; }
    static std::uint8_t nibble(unsigned byte, std::uint32_t i) {
        return static_cast<std::uint8_t>(i & 1 ? byte & 15 : byte >> 4);
    }
    static void run(std::uint8_t* to, std::uint8_t colours, std::uint32_t n) {
        for (std::uint32_t i = 0; i < n; i++) to[i] = nibble(colours, i);
    }
    static void absolute(std::uint8_t* to, const std::uint8_t* from, std::uint32_t n) {
        for (std::uint32_t i = 0; i < n; i++) to[i] = nibble(from[i / 2], i);
    }
};

template <class Rle>
RowEnd decodeRow(FileWindow& in, std::uint8_t* row, std::uint32_t columns, std::uint32_t width) {
    std::uint32_t x = 0;
    const auto stored = [&](std::uint32_t n) { return x < columns ? std::min(n, columns - x) : 0; };
    while (x <= width) {
        if (in.ensure(2) < 2) return RowEnd::data;
        const std::uint32_t count = in.data()[0];
        const std::uint8_t value = in.data()[1];
        in.consume(2);
        if (count > 0) {
            Rle::run(row + x, value, stored(count));
            x += count;
        } else if (value == endOfRow) {
            return RowEnd::row;
        } else if (value == endOfBitmap) {
            return RowEnd::bitmap;
        } else if (value == delta) {
            return RowEnd::unusable;
        } else {
            const std::uint32_t bytes = Rle::absoluteBytes(value);
            if (in.ensure(bytes) < bytes) return RowEnd::data;
            Rle::absolute(row + x, in.data(), stored(value));
            in.consume(bytes);
            // Runs are padded to 16 bits.
            if (bytes & 1 && in.ensure(1)) in.consume(1);
            x += value;
        }
    }
    return RowEnd::unusable;
}

}  // namespace

RowEnd decodeRle8Row(FileWindow& in, std::uint8_t* row, std::uint32_t columns, std::uint32_t width) {
    return decodeRow<Rle8>(in, row, columns, width);
}

RowEnd decodeRle4Row(FileWindow& in, std::uint8_t* row, std::uint32_t columns, std::uint32_t width) {
    return decodeRow<Rle4>(in, row, columns, width);
}

namespace {

// One bit per pixel of a piece, set where the pixel equals the one to its right.
class EqualNeighbours {
 public:
    EqualNeighbours(const std::uint8_t* p, std::uint32_t n) {
        std::uint32_t i = 0;
        for (; i + 17 <= n; i += 16) {
            const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
            const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i + 1));
            const auto mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(here, next)));
            words_[i / 32] |= mask << (i & 16);
        }
        for (; i + 1 < n; i++) words_[i / 32] |= static_cast<std::uint32_t>(p[i] == p[i + 1]) << (i & 31);
    }

    // The first position at or after i whose bit is set (or clear), n if there is none before n.
    std::uint32_t firstSet(std::uint32_t i, std::uint32_t n) const { return first(i, n, 0); }
    std::uint32_t firstClear(std::uint32_t i, std::uint32_t n) const { return first(i, n, ~0u); }

 private:
    std::uint32_t first(std::uint32_t i, std::uint32_t n, std::uint32_t flip) const {
        while (i < n) {
            const std::uint32_t rest = (words_[i / 32] ^ flip) >> (i & 31);
            if (rest) return std::min(n, i + static_cast<std::uint32_t>(std::countr_zero(rest)));
            i = (i | 31) + 1;
        }
        return n;
    }

    std::uint32_t words_[longestPiece / 32 + 1] = {};
};

std::uint8_t* writePair(std::uint8_t* out, std::uint32_t count, std::uint8_t value) {
    *out++ = static_cast<std::uint8_t>(count);
    *out++ = value;
    return out;
}

// Pixels that differ from their neighbours: an absolute run, or pairs where that would not pay.
std::uint8_t* writeSingles(std::uint8_t* out, const std::uint8_t* p, std::uint32_t n) {
    if (n < shortestAbsolute) {
        for (std::uint32_t i = 0; i < n; i++) out = writePair(out, 1, p[i]);
        return out;
    }
    out = writePair(out, 0, static_cast<std::uint8_t>(n));
    std::memcpy(out, p, n);
    out += n;
    if (n & 1) *out++ = 0;
    return out;
}

std::uint8_t* encodePiece(std::uint8_t* out, const std::uint8_t* p, std::uint32_t n) {
    const EqualNeighbours equal(p, n);
    std::uint32_t i = 0;
    while (i < n) {
        const std::uint32_t run = equal.firstSet(i, n);
        out = writeSingles(out, p + i, run - i);
        if (run == n) break;
        i = equal.firstClear(run, n - 1) + 1;
        out = writePair(out, i - run, p[run]);
    }
    return out;
}

}  // namespace

std::uint32_t encodeRle8Row(std::uint8_t* out, const std::uint8_t* row, std::uint32_t width) {
    std::uint8_t* end = out;
    for (std::uint32_t x = 0; x < width; x += longestPiece)
        end = encodePiece(end, row + x, std::min(longestPiece, width - x));
    end = writePair(end, 0, endOfRow);
    return static_cast<std::uint32_t>(end - out);
}

}  // namespace orn32::bmp
