// Grey levels to black and white by threshold, ordered dither or error diffusion, and back.
#include <cstdint>
#include <cstring>

#include "core/area.h"
#include "core/bits.h"
#include "core/memory.h"
#include "core/palette.h"
#include "core/range_check.h"
#include "orn32.h"
#include "process/bit_rows.h"
#include "process/grey.h"
#include "process/lanes.h"
#include "process/ordered_dither.h"
#include "process/stucki.h"

namespace orn32 {
namespace {

enum Mode : int { diffused, ordered };  // all others: threshold

constexpr unsigned smallestSmoothing = 3;  // columns

// The grey levels of an 8-bit image's rows: its pixels, or where they mean colours these colours' levels.
class GreyRows {
 public:
    explicit GreyRows(const imgdes& image)
        : rows_(image), isGrey_((image.imgkind & greyMark) || isgrayscaleimage(&image)), levels_() {
        if (!isGrey_) greyLevelsOfIndices(levels_, image);
    }
    void load(std::uint8_t* levels, unsigned y, unsigned count) const {
        const std::uint8_t* row = rows_[y];
        if (isGrey_)
            std::memcpy(levels, row, count);
        else
            for (unsigned x = 0; x < count; x++) levels[x] = levels_[row[x]];
    }
    // The row itself where it holds levels; else buffer, filled.
    const std::uint8_t* at(unsigned y, unsigned count, std::uint8_t* buffer) const {
        if (isGrey_) return rows_[y];
        load(buffer, y, count);
        return buffer;
    }

 private:
    AreaRows rows_;
    bool isGrey_;
    std::uint8_t levels_[256];
};

__m128i fromHalf(__m128i levels) {
    return levels;  // 128 is the highest bit
}

// Sixteen columns of a row of the matrix, to be compared with whole bytes.
__m128i thresholdRow(unsigned y) {
    const __m128i row = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(ditherMatrix[y & 7]));
    const __m128i words = _mm_mullo_epi16(_mm_unpacklo_epi8(row, _mm_setzero_si128()),
                                          _mm_set1_epi16(static_cast<short>(ditherScale)));
    return _mm_packus_epi16(words, words);
}

// Packs rows of levels and puts them in an area. Its buffer holds a row of levels as well.
class BitTarget {
 public:
    BitTarget(const imgdes& destination, unsigned columns)
        : rows_(destination), columns_(columns), buffer_(MemoryEntry::counted, std::uint64_t{columns} + 16) {}
    explicit operator bool() const { return static_cast<bool>(buffer_); }
    std::uint8_t* levels() const { return buffer_.get(); }

    template <class Flag>
    void place(const std::uint8_t* levels, unsigned y, Flag flag) const {
        packBits(buffer_.get(), levels, columns_, flag);
        placeBits(rows_[y], rows_.bit(), buffer_.get(), columns_);
    }

 private:
    AreaRows rows_;
    unsigned columns_;
    WorkArray<std::uint8_t> buffer_;
};

int diffuse(const GreyRows& from, const BitTarget& to, Size size) {
    StuckiRows rows(size.width);
    if (!rows) return ERR_MEMORY;
    rows.run(
        size.height, [&](std::uint8_t* levels, unsigned y) { from.load(levels, y, size.width); },
        [&](const std::uint8_t* levels, unsigned y) { to.place(levels, y, fromHalf); });
    return 0;
}

int toOneBit(int mode, const imgdes& source, const imgdes& destination) {
    const Size size = commonSize(source, destination);
    const BitTarget to(destination, size.width);
    if (!to) return ERR_MEMORY;
    const GreyRows from(source);
    if (mode == diffused) return diffuse(from, to, size);
    for (unsigned y = 0; y < size.height; y++) {
        const std::uint8_t* levels = from.at(y, size.width, to.levels());
        if (mode == ordered)
            to.place(levels, y, [thresholds = thresholdRow(y)](__m128i v) {
                // Above its threshold something is left of a level; that something is 1 to 255.
                const __m128i none = _mm_cmpeq_epi8(_mm_subs_epu8(v, thresholds), _mm_setzero_si128());
                return _mm_xor_si128(none, _mm_set1_epi8(-1));
            });
        else
            to.place(levels, y, fromHalf);
    }
    return 0;
}

// A pixel between two others, all three 0 or 255, by the pattern that they make. Sixteen at a time.
__m128i smoothed(__m128i left, __m128i centre, __m128i right) {
    // 42 for each neighbour and 170 for itself; one more where both neighbours are set.
    const __m128i neighbour = _mm_set1_epi8(42);
    const __m128i around = _mm_add_epi8(_mm_and_si128(left, neighbour), _mm_and_si128(right, neighbour));
    const __m128i sum = _mm_add_epi8(around, _mm_and_si128(centre, _mm_set1_epi8(static_cast<char>(170))));
    return _mm_add_epi8(sum, _mm_and_si128(_mm_and_si128(left, right), _mm_set1_epi8(1)));
}

// Smooths all but the first and last pixel, in place: left neighbours are kept as they were.
void smoothRow(std::uint8_t* row, unsigned count) {
    unsigned x = 1;
    __m128i before = _mm_set1_epi8(static_cast<char>(row[0]));  // its last byte is the pixel left of x
    for (; x + 16 < count; x += 16) {
        const __m128i centre = loadLanes(row + x);
        const __m128i left = _mm_or_si128(_mm_slli_si128(centre, 1), _mm_srli_si128(before, 15));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(row + x), smoothed(left, centre, loadLanes(row + x + 1)));
        before = centre;
    }
    unsigned left = static_cast<unsigned>(_mm_extract_epi16(before, 7)) >> 8;
    for (; x + 1 < count; x++) {
        const unsigned centre = row[x], right = row[x + 1];
        row[x] = static_cast<std::uint8_t>((left & 42) + (right & 42) + (centre & 170) + (left & right & 1));
        left = centre;
    }
}

int toLevels(imgdes* source, imgdes* destination, bool smoothing) {
    if (const int code = checkRange(source, bits1to24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    if (source->header->biBitCount != 1 || destination->header->biBitCount != 8) return ERR_BITS;
    const Size size = commonSize(*source, *destination);
    if (smoothing && size.width < smallestSmoothing) return ERR_RANGE;
    const AreaRows from(*source), to(*destination);
    for (unsigned y = 0; y < size.height; y++) {
        unpackBits(to[y], from[y], from.bit(), size.width);
        if (smoothing) smoothRow(to[y], size.width);
    }
    CreateDefaultPalette_(destination);
    return 0;
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI convert8bitto1bit(int mode, imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits1to24)) return code;
    if (source->header->biBitCount != 8 || destination->header->biBitCount != 1) return ERR_BITS;
    if (!source->palette && !(source->imgkind & greyMark)) return ERR_RANGE;
    if (const int code = toOneBit(mode, *source, *destination)) return code;
    CreateDefaultPalette_(destination);
    return 0;
}

extern "C" int ORNAPI convert1bitto8bit(imgdes* source, imgdes* destination) {
    return toLevels(source, destination, false);
}

extern "C" int ORNAPI convert1bitto8bitsmooth(imgdes* source, imgdes* destination) {
    return toLevels(source, destination, true);
}
