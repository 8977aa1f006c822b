// Dilation of the dark parts and erosion of them: pixels become the darkest or the brightest of their 3 x 3
// neighbourhood, unless the mean around them lies beyond a threshold.
#include <cstdint>

#include "core/range_check.h"
#include "orn32.h"
#include "process/filter_engine.h"
#include "process/lanes.h"
#include "process/palette_row.h"
#include "process/viargb.h"

namespace orn32 {
namespace {

constexpr unsigned neighbours = 9;

// The sum of the neighbourhood's nine levels has to be beyond neighbours * amount for the centre to stay.
struct Dilation {
    unsigned threshold;

    explicit Dilation(int amount) : threshold(neighbours * static_cast<unsigned>(amount)) {}
    static __m128i extremeLevel(__m128i a, __m128i b) { return _mm_min_epu8(a, b); }
    static __m128i extremeBrightness(__m128i a, __m128i b) { return _mm_min_epi16(a, b); }
    // Among equally dark neighbours the first counts.
    static __m128i replaces(__m128i brightness, __m128i darkest) {
        return _mm_cmpgt_epi16(darkest, brightness);
    }
    __m128i staysLevels(__m128i sums) const {
        return _mm_cmpgt_epi16(sums, _mm_set1_epi16(static_cast<short>(threshold)));
    }
    // sum / 100 > threshold, without the division
    __m128i staysBrightness(__m128i sums) const {
        return _mm_cmpgt_epi32(sums, _mm_set1_epi32(static_cast<int>(100 * (threshold + 1) - 1)));
    }
    // Of bits, only a set one can change, and not amid set ones: counts of set neighbours decide.
    __m128i bits(__m128i centre, __m128i counts) const {
        const unsigned most = std::min(threshold / 255, neighbours - 1);
        return _mm_and_si128(centre, _mm_cmpgt_epi8(counts, _mm_set1_epi8(static_cast<char>(most))));
    }
};

struct Erosion {
    unsigned threshold;

    explicit Erosion(int amount) : threshold(neighbours * (255 - static_cast<unsigned>(amount))) {}
    static __m128i extremeLevel(__m128i a, __m128i b) { return _mm_max_epu8(a, b); }
    static __m128i extremeBrightness(__m128i a, __m128i b) { return _mm_max_epi16(a, b); }
    // Among equally bright neighbours the last counts.
    static __m128i replaces(__m128i brightness, __m128i brightest) {
        return _mm_cmpeq_epi16(_mm_max_epi16(brightness, brightest), brightness);
    }
    __m128i staysLevels(__m128i sums) const {
        return _mm_cmplt_epi16(sums, _mm_set1_epi16(static_cast<short>(threshold)));
    }
    // sum / 100 < threshold
    __m128i staysBrightness(__m128i sums) const {
        return _mm_cmplt_epi32(sums, _mm_set1_epi32(static_cast<int>(100 * threshold)));
    }
    __m128i bits(__m128i centre, __m128i counts) const {
        const __m128i least = _mm_set1_epi8(static_cast<char>(threshold / 255));
        return _mm_or_si128(centre, _mm_cmpgt_epi8(counts, least));
    }
};

// The same change for each form of rows.
template <class Change>
struct MorphologyFilter {
    Change change;
    static bool prepare(unsigned, unsigned) { return true; }
};

template <class Change>
struct LevelFilter : MorphologyFilter<Change> {
    void row(std::uint8_t* const* rows, std::uint8_t* result, unsigned count) const {
        const __m128i zero = _mm_setzero_si128();
        for (unsigned x = 0; x < count; x += 16) {
            __m128i extreme = loadLanes(rows[1] + x + 1), low = zero, high = zero;
            forNine([&](unsigned y, unsigned c) {
                const __m128i level = loadLanes(rows[y] + x + c);
                extreme = Change::extremeLevel(extreme, level);
                low = _mm_add_epi16(low, _mm_unpacklo_epi8(level, zero));
                high = _mm_add_epi16(high, _mm_unpackhi_epi8(level, zero));
            });
            const __m128i stays =
                _mm_packs_epi16(this->change.staysLevels(low), this->change.staysLevels(high));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(result + x),
                             select(stays, loadLanes(rows[1] + x + 1), extreme));
        }
    }
};

template <class Change>
struct BitFilter : MorphologyFilter<Change> {
    void row(std::uint8_t* const* rows, std::uint8_t* result, unsigned count) const {
        for (unsigned x = 0; x < count; x += 16) {
            __m128i counts = _mm_setzero_si128();  // a set bit is the byte -1
            forNine(
                [&](unsigned y, unsigned c) { counts = _mm_sub_epi8(counts, loadLanes(rows[y] + x + c)); });
            _mm_storeu_si128(reinterpret_cast<__m128i*>(result + x),
                             this->change.bits(loadLanes(rows[1] + x + 1), counts));
        }
    }
};

template <class Change>
struct ColourFilter : MorphologyFilter<Change> {
    void row(const ColourRow* rows, std::uint8_t* result, unsigned count) const {
        for (unsigned x = 0; x < count; x += 8, result += 24) {
            const __m128i zero = _mm_setzero_si128();
            __m128i extreme = loadLanes(rows[0].brightness + x), blueRed = loadLanes(rows[0].blueRed + x);
            __m128i low = zero, high = zero;
            forNine([&](unsigned y, unsigned c) {
                const __m128i brightness = loadLanes(rows[y].brightness + x + c);
                const __m128i better = Change::replaces(brightness, extreme);
                extreme = Change::extremeBrightness(extreme, brightness);
                blueRed = select(better, loadLanes(rows[y].blueRed + x + c), blueRed);
                low = _mm_add_epi32(low, _mm_unpacklo_epi16(brightness, zero));
                high = _mm_add_epi32(high, _mm_unpackhi_epi16(brightness, zero));
            });
            const __m128i stays =
                _mm_packs_epi32(this->change.staysBrightness(low), this->change.staysBrightness(high));
            joinColours<WordLanes>(result, select(stays, loadLanes(rows[1].brightness + x + 1), extreme),
                                   select(stays, loadLanes(rows[1].blueRed + x + 1), blueRed));
        }
    }
};

template <class Change>
int change(int amount, imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits1to24)) return code;
    if (const int code = checkRange(destination, bits1to24)) return code;
    const Change by(amount);
    switch (source->header->biBitCount) {
        case 1:
            return filterengine_<BitFormat>(*source, *destination, BitFilter<Change>{{by}}, 3);
        case 8:
            return filterengine_<LevelFormat>(*source, *destination, LevelFilter<Change>{{by}}, 3);
        default:
            return filterengine_<ColourFormat>(*source, *destination, ColourFilter<Change>{{by}}, 3);
    }
}

template <class Change>
int changeAnyImage(int amount, imgdes* source, imgdes* destination) {
    if (amount < 0 || amount > 255) return ERR_ARGUMENT;
    if (isColourPaletteImage(source)) return viargb_(change<Change>, source, destination, amount);
    return change<Change>(amount, source, destination);
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" int ORNAPI dilate(int amount, imgdes* source, imgdes* destination) {
    return changeAnyImage<Dilation>(amount, source, destination);
}

extern "C" int ORNAPI erode(int amount, imgdes* source, imgdes* destination) {
    return changeAnyImage<Erosion>(amount, source, destination);
}
