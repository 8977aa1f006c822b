#include "png/filter.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>

#include "png/adler.h"
#include "png/copy.h"
#include "png/crc.h"
#include "png/swap.h"
#include "png/unfilter.h"
#include "tests/png/plain_codec.h"
#include "tests/support/guarded.h"

using namespace test;
using namespace orn32::png;

namespace {

// A row for the writer's filters: margins on both sides, the one behind up to an unreadable page.
class MarginRow {
 public:
    explicit MarginRow(const Bytes& bytes) : memory_(bytes.size() + 2 * filterMargin) {
        std::memset(memory_.data(), 0, filterMargin);
        std::memset(memory_.data() + filterMargin, 0xEE, bytes.size() + filterMargin);
        std::copy(bytes.begin(), bytes.end(), memory_.data() + filterMargin);
    }
    std::uint8_t* pixels() { return memory_.data() + filterMargin; }

 private:
    GuardedBytes memory_;
};

}  // namespace

TEST(Unfilter, UndoesEveryFilterAtEveryLengthAndStep) {
    Random random(1);
    for (const unsigned step : {1u, 2u, 3u, 4u, 6u, 8u})
        for (std::size_t length = step; length <= 111; length += step)
            for (unsigned filter = 0; filter <= 6; filter++)
                for (const bool first : {false, true}) {
                    const Bytes row = random.bytes(length);
                    const Bytes above = first ? Bytes(length) : random.bytes(length);
                    const Bytes want = plainUnfilter(filter, row, above, step);
                    // Bytes behind a row belong to the next one.
                    Bytes memory = row + Bytes(16, 0xEE);
                    const Bytes aboveMemory = above + Bytes(16, 0xDD);
                    unfilter(filter, memory.data(), first ? nullptr : aboveMemory.data(), length, step);
                    ASSERT_EQ(Bytes(memory.begin(), memory.end() - 16), want)
                        << "filter " << filter << " step " << step << " length " << length << " first "
                        << first;
                    ASSERT_EQ(Bytes(memory.end() - 16, memory.end()), Bytes(16, 0xEE)) << "behind the row";
                }
}

// Pairs of pixels, the first of which makes up-left and left, the second up: millions of mixtures.
TEST(Filters, PaethChoosesRightWhateverTheNeighbours) {
    constexpr unsigned pairs = 65536;
    for (const unsigned step : {1u, 3u, 4u}) {
        const unsigned stride = step == 1 ? 1 : 15;  // the others only wander through the cube
        for (unsigned up = 0; up < 256; up += stride) {
            Bytes above(pairs * 2 * step), row(pairs * 2 * step);
            above.reserve(above.size() + 8);  // what may be read behind the end
            for (unsigned i = 0; i < pairs; i++)
                for (unsigned c = 0; c < step; c++) {
                    above[(2 * i) * step + c] = static_cast<std::uint8_t>(i);
                    above[(2 * i + 1) * step + c] = static_cast<std::uint8_t>(up + c);
                    row[(2 * i) * step + c] = static_cast<std::uint8_t>((i >> 8) + c);
                }
            Bytes got = row;
            got.reserve(got.size() + 8);
            unfilter(filterPaeth, got.data(), above.data(), got.size(), step);
            ASSERT_TRUE(got == plainUnfilter(4, row, above, step)) << "step " << step << " up " << up;
            MarginRow r(row), a(above), out((Bytes(row.size())));
            applyFilter(filterPaeth, out.pixels(), r.pixels(), a.pixels(), row.size(), step);
            ASSERT_TRUE(Bytes(out.pixels(), out.pixels() + row.size()) == plainFilter(4, row, above, step))
                << "step " << step << " up " << up;
        }
    }
}

// Rows of all filters, chosen from a few kinds of mixtures, under a row that is turned back already or none.
// Behind the bytes wanted the rows may go on.
TEST(Unfilter, RowsTurnedBackTogetherAreThoseTurnedBackOneByOne) {
    const struct {
        const char* name;
        std::vector<std::uint8_t> filters;
    } mixtures[] = {{"Average", {3}},
                    {"Paeth", {4}},
                    {"all but Average", {0, 1, 2, 4, 4, 4}},
                    {"all", {0, 1, 2, 3, 4, 4, 5, 255}}};
    Random random(7);
    int together = 0, alone = 0;
    for (std::size_t bytes = 1; bytes <= 180; bytes++)
        for (unsigned count = 1; count <= rowsTogether; count++)
            for (const auto& mixture : mixtures) {
                const std::size_t stride = 1 + bytes + (random.oneIn(2) ? random.below(20) : 0);
                const GuardedBytes memory(random.bytes(count * stride + 16));
                for (unsigned r = 0; r < count; r++)
                    memory.data()[r * stride] =
                        mixture.filters[random.below(static_cast<std::uint32_t>(mixture.filters.size()))];
                if (random.oneIn(2)) memory.data()[0] = filterNone;
                const Bytes before(memory.data(), memory.data() + count * stride + 16);
                Bytes want = before, above(bytes);
                for (unsigned r = 0; r < count; r++) {
                    const auto row = want.begin() + static_cast<std::ptrdiff_t>(r * stride);
                    const auto end = row + 1 + static_cast<std::ptrdiff_t>(bytes);
                    above = plainUnfilter(*row, Bytes(row + 1, end), above, 1);
                    *row = filterNone;
                    std::copy(above.begin(), above.end(), row + 1);
                }
                const bool done = unfilterTogether({memory.data(), count, stride}, bytes);
                (done ? together : alone)++;
                ASSERT_TRUE(std::equal(before.begin(), before.end(), memory.data()) || done)
                    << "touched, but not turned back";
                ASSERT_TRUE(!done || std::equal(want.begin(), want.end(), memory.data()))
                    << mixture.name << ", " << count << " rows of " << bytes << " bytes, stride " << stride;
            }
    EXPECT_GT(together, 1000);
    EXPECT_GT(alone, 1000);
}

TEST(ApplyFilter, IsThePlainFilterAtEveryLengthAndStep) {
    Random random(2);
    for (const unsigned step : {1u, 3u})
        for (std::size_t length = 1; length <= 111; length++)
            for (unsigned filter = 0; filter < filterCount; filter++) {
                const Bytes row = random.bytes(length), above = random.bytes(length);
                MarginRow r(row), a(above), out((Bytes(length)));
                applyFilter(static_cast<Filter>(filter), out.pixels(), r.pixels(), a.pixels(), length, step);
                ASSERT_EQ(Bytes(out.pixels(), out.pixels() + length), plainFilter(filter, row, above, step))
                    << "filter " << filter << " step " << step << " length " << length;
            }
}

TEST(BestFilter, HasTheLeastSumOfMagnitudesAndIsTheFirstOfEquals) {
    Random random(3);
    int chosen[filterCount] = {};
    for (int round = 0; round < 20000; round++) {
        const unsigned step = random.oneIn(2) ? 1 : 3;
        const std::size_t length = 1 + random.below(100);
        Bytes row = random.bytes(length), above = random.bytes(length);
        const std::uint32_t range = 1 + random.below(256);  // narrow ranges make equals
        for (auto& b : row) b = static_cast<std::uint8_t>(b % range + 100);
        for (auto& b : above) b = static_cast<std::uint8_t>(b % range + 100);
        const unsigned want = plainBestFilter(row, above, step);
        MarginRow r(row), a(above);
        ASSERT_EQ(bestFilter(r.pixels(), a.pixels(), length, step), want)
            << "length " << length << " step " << step;
        chosen[want]++;
    }
    EXPECT_GT(*std::min_element(chosen, chosen + filterCount), 0) << "some filter was never the best";
}

TEST(BestFilter, SumsOfTheLongestRowsDoNotOverflow) {
    const Bytes row(32768 * 3, 0x80), above(32768 * 3, 0);
    MarginRow r(row), a(above);
    EXPECT_EQ(bestFilter(r.pixels(), a.pixels(), row.size(), 3), filterSub);
}

TEST(SwapRedAndBlue, ExchangesTheOuterBytesOfEveryPixelAndTouchesNothingElse) {
    Random random(4);
    for (std::uint32_t count = 0; count <= 130; count++) {
        const Bytes from = random.bytes(count * 3);
        const GuardedBytes guarded(from), to(count * 3);
        swapRedAndBlue(to.data(), guarded.data(), count);
        for (std::uint32_t i = 0; i < count * 3; i++)
            ASSERT_EQ(to.data()[i], from[i / 3 * 3 + 2 - i % 3]) << count << " pixels, byte " << i;
    }
}

TEST(CopyPastCaches, CopiesEveryLengthToEveryPlaceAndTouchesNothingElse) {
    Random random(8);
    for (std::uint32_t count = 0; count <= 200; count++)
        for (std::uint32_t place = 0; place < 64; place += 3) {
            const GuardedBytes from(random.bytes(count)), to(Bytes(place + count, 0xEE));
            copyPastCaches(to.data() + place, from.data(), count);
            ASSERT_TRUE(std::equal(from.data(), from.data() + count, to.data() + place))
                << count << " at " << place;
            ASSERT_EQ(std::count(to.data(), to.data() + place, 0xEE), place);
        }
}

TEST(Checksums, AreThePlainOnesAtEveryLengthAndPlace) {
    Random random(5);
    for (std::size_t length = 0; length <= 400; length++)
        for (std::size_t offset = 0; offset < 17; offset++) {
            const Bytes bytes = random.bytes(length + offset);
            const GuardedBytes guarded(bytes);
            const std::uint32_t half = random.below(static_cast<std::uint32_t>(length) + 1);
            Crc crc;
            crc.add(guarded.data() + offset, half);
            crc.add(guarded.data() + offset + half, static_cast<std::uint32_t>(length) - half);
            ASSERT_EQ(crc.value(), plainCrc(bytes.data() + offset, length)) << length << " at " << offset;
            Adler adler;
            adler.add(guarded.data() + offset, half);
            adler.add(guarded.data() + offset + half, length - half);
            ASSERT_EQ(adler.value(), adler32(1, bytes.data() + offset, static_cast<uInt>(length)))
                << length << " at " << offset;
        }
}

TEST(Checksums, HoldForLongRunsOfTheLargestBytes) {
    for (const std::size_t length : {5551u, 5552u, 5553u, 1000001u}) {
        const Bytes bytes(length, 255);
        Crc crc;
        crc.add(bytes.data(), static_cast<std::uint32_t>(length));
        EXPECT_EQ(crc.value(), plainCrc(bytes.data(), length)) << length;
        Adler adler;
        for (int time = 0; time < 2; time++) adler.add(bytes.data(), length);
        const uInt n = static_cast<uInt>(length);
        EXPECT_EQ(adler.value(), adler32(adler32(1, bytes.data(), n), bytes.data(), n)) << length;
    }
}
