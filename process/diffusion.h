// Floyd-Steinberg error diffusion over rows of blue, green, red bytes.
//
// An error is spread to the neighbours that are still to come as 7/16, 3/16, 5/16 and 1/16, each share
// rounded down on its own and each sum clamped to a byte at once, so that the order of additions matters:
//
//              pixel   7
//         3      5     1
#pragma once

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "core/memory.h"

namespace orn32 {

// A colour that takes a pixel's place, its channels in 16-bit lanes.
class PixelLanes {
 public:
    // blue | green << 8 | red << 16
    explicit PixelLanes(std::uint32_t bgr)
        : lanes_(_mm_unpacklo_epi8(_mm_cvtsi32_si128(static_cast<int>(bgr)), _mm_setzero_si128())) {}
    __m128i lanes() const { return lanes_; }

 private:
    __m128i lanes_;
};

// A row while its errors are spread, pixel by pixel. Both rows need a spare pixel at each end.
//
// Four pixels are held, each in a word of a byte per channel and a fourth byte that means nothing: the pixel
// at work; of the row below the one to the left, which still misses one share, and the one straight below,
// which misses two; and one that has all its shares and is stored. That runs one byte into the next pixel,
// which has been read by then.
class RowDiffusion {
 public:
    RowDiffusion(const std::uint8_t* current, std::uint8_t* below)
        : current_(current),
          below_(below),
          held_(_mm_unpacklo_epi64(loadWord(current), _mm_slli_epi64(loadWord(below), 32))) {}

    // The pixel at work with the errors so far, as blue | green << 8 | red << 16 | noise << 24.
    std::uint32_t value() const { return static_cast<std::uint32_t>(_mm_cvtsi128_si32(held_)); }

    // The pixel at work becomes that colour, and the one to its right is the next.
    void replaceBy(PixelLanes chosen) {
        const __m128i error = _mm_sub_epi16(widened(held_), chosen.lanes());
        const __m128i twice = _mm_unpacklo_epi64(error, error);
        const __m128i rightAndBelow = _mm_unpacklo_epi32(loadWord(current_ + 3), heldAt<straightBelow>());
        const __m128i leftAndRight = _mm_unpacklo_epi32(heldAt<belowLeft>(), loadWord(below_ + 3));
        held_ = _mm_packus_epi16(_mm_add_epi16(widened(rightAndBelow), sixteenths(twice, 7, 5)),
                                 _mm_add_epi16(widened(leftAndRight), sixteenths(twice, 3, 1)));
        storeWord(below_ - 3, heldAt<complete>());
        current_ += 3;
        below_ += 3;
    }

    // To be called behind the last pixel.
    void finish() { storeWord(below_ - 3, heldAt<belowLeft>()); }

 private:
    // Places of held_ besides 0. They are what packing the sums leaves: the pixel to the right becomes the
    // one at work, the one straight below is then to the left, and the one to the right below is straight
    // below.
    enum Place { belowLeft = 1, complete = 2, straightBelow = 3 };

    template <Place place>
    __m128i heldAt() const {
        return _mm_shuffle_epi32(held_, place);
    }
    static __m128i widened(__m128i bytes) { return _mm_unpacklo_epi8(bytes, _mm_setzero_si128()); }
    static __m128i sixteenths(__m128i twice, short lower, short upper) {
        const __m128i weights = _mm_setr_epi16(lower, lower, lower, 0, upper, upper, upper, 0);
        return _mm_srai_epi16(_mm_mullo_epi16(twice, weights), 4);
    }
    static __m128i loadWord(const std::uint8_t* bgr) {
        int word;
        std::memcpy(&word, bgr, sizeof word);
        return _mm_cvtsi32_si128(word);
    }
    static void storeWord(std::uint8_t* bgr, __m128i pixel) {
        const int word = _mm_cvtsi128_si32(pixel);
        std::memcpy(bgr, &word, sizeof word);
    }

    const std::uint8_t* current_;
    std::uint8_t* below_;
    __m128i held_;
};

// Maps a row of count pixels and spreads their errors. choose(x, value) returns the colour that takes the
// place of pixel x, as PixelLanes; see RowDiffusion::value.
template <class Choose>
void diffuseRow(const std::uint8_t* current, std::uint8_t* below, unsigned count, Choose choose) {
    RowDiffusion row(current, below);
    for (unsigned x = 0; x < count; x++) row.replaceBy(choose(x, row.value()));
    row.finish();
}

// The rows at work: the one being mapped and the one below it, and a third for two at once. Each has room for
// a spare pixel at both ends that takes the errors falling off the area. Pixels may be read in fours of
// bytes.
class DiffusionRows {
 public:
    explicit DiffusionRows(unsigned columns, unsigned rows = 2)
        : bytes_(MemoryEntry::counted, rows * (std::uint64_t{3} * columns + 6) + 1), columns_(columns) {
        for (unsigned i = 0; i < rows && bytes_; i++)
            rows_[i] = bytes_.get() + i * (std::size_t{3} * columns + 6) + 3;
    }
    explicit operator bool() const { return static_cast<bool>(bytes_); }

    // load(bgr, y) stores the area's row y in bgr; map(current, below, y) maps it and spreads its errors. Row
    // y + 1 is loaded before row y is mapped: source and destination may be the same rows. Below the last row
    // errors go where no one reads them.
    template <class Load, class Map>
    void run(unsigned height, Load load, Map map) {
        load(rows_[0], 0u);
        for (unsigned y = 0; y < height; y++) {
            if (y + 1 < height) load(rows_[1], y + 1);
            map(rows_[0], rows_[1], y);
            std::swap(rows_[0], rows_[1]);
        }
    }

    // Maps and diffuses all rows like diffuseRow one after the other, but while a row is mapped the next one
    // follows: a pixel has to wait for the one to its left, and two rows that wait take hardly longer than
    // one. chooser(y) returns a row's choose. A choice may depend on earlier ones; the following row then
    // waits for the end of the one before it as soon as mayChoose(value) is false. Needs three rows; row y +
    // 2 is loaded before row y is mapped.
    template <class Load, class Chooser, class MayChoose>
    void runTwoAtOnce(unsigned height, Load load, Chooser chooser, MayChoose mayChoose) {
        load(rows_[0], 0u);
        if (height > 1) load(rows_[1], 1u);
        RowDiffusion leader(rows_[0], rows_[1]);
        unsigned x = 0;
        for (unsigned y = 0; y < height; y++) {
            if (y + 2 < height) load(rows_[2], y + 2);
            const auto choose = chooser(y);
            for (; x < std::min(columns_, lag); x++) leader.replaceBy(choose(x, leader.value()));
            if (x == columns_) leader.finish();
            RowDiffusion follower(rows_[1], rows_[2]);
            unsigned followerX = 0;
            if (x < columns_) {
                if (y + 1 < height)
                    followerX = inStep(leader, choose, x, follower, chooser(y + 1), mayChoose);
                for (x += followerX; x < columns_; x++) leader.replaceBy(choose(x, leader.value()));
                leader.finish();
            }
            leader = follower;
            x = followerX;
            std::swap(rows_[0], rows_[1]);
            std::swap(rows_[1], rows_[2]);
        }
    }

 private:
    // How far a row stays behind: enough for the overlapping stores of the one before to have reached memory.
    static constexpr unsigned lag = 16;

    // Advances two rows until the first ends or the second has to wait. Returns by how many pixels.
    template <class ChooseFirst, class ChooseSecond, class MayChoose>
    unsigned inStep(RowDiffusion& first, ChooseFirst chooseFirst, unsigned x, RowDiffusion& second,
                    ChooseSecond chooseSecond, MayChoose mayChoose) {
        unsigned done = 0;
        for (; x + done < columns_ && mayChoose(second.value()); done++) {
            first.replaceBy(chooseFirst(x + done, first.value()));
            second.replaceBy(chooseSecond(done, second.value()));
        }
        return done;
    }

    WorkArray<std::uint8_t> bytes_;
    unsigned columns_;
    std::uint8_t* rows_[3] = {};
};

}  // namespace orn32
