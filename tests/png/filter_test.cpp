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
    explicit MarginRow(const Bytes& bytes)
        : memory_(Bytes(filterMargin, 0) + bytes + Bytes(filterMargin, 0xEE)) {}
    std::uint8_t* pixels() { return memory_.data() + filterMargin; }

 private:
    GuardedBytes memory_;
};

}  // namespace

// Pairs of pixels, the first of which makes up-left and left, the second up: millions of mixtures.
TEST(Filters, PaethChoosesRightWhateverTheNeighbours) {
    constexpr unsigned pairs = 65536;
    for (const unsigned step : {1u, 2u, 3u, 4u, 6u, 8u}) {
        const unsigned stride = step == 1 ? 1 : 45;  // the others only wander through the cube
        for (unsigned up = 0; up < 256; up += stride) {
            Bytes above(pairs * 2 * step), row(pairs * 2 * step);
            for (unsigned i = 0; i < pairs; i++)
                for (unsigned c = 0; c < step; c++) {
                    above[(2 * i) * step + c] = static_cast<std::uint8_t>(i);
                    above[(2 * i + 1) * step + c] = static_cast<std::uint8_t>(up + c);
                    row[(2 * i) * step + c] = static_cast<std::uint8_t>((i >> 8) + c);
                }
            MarginRow from(row), over(above), to((Bytes(row.size())));
            const auto bytesOf = [&](MarginRow& r) { return Bytes(r.pixels(), r.pixels() + row.size()); };
            applyFilter(filterPaeth, to.pixels(), from.pixels(), over.pixels(), row.size(), step);
            ASSERT_TRUE(bytesOf(to) == plainFilter(filterPaeth, row, above, step)) << step << " up " << up;
            unfilter(filterPaeth, from.pixels(), over.pixels(), row.size(), step);
            ASSERT_TRUE(bytesOf(from) == plainUnfilter(filterPaeth, row, above, step))
                << step << " up " << up;
        }
    }
}

// Rows of all filters, chosen from a few kinds of mixtures, under a row that is turned back already or none.
// Behind the bytes wanted the rows may go on.
TEST(Unfilter, RowsTurnedBackTogetherAreThoseTurnedBackOneByOne) {
    // one filter only, all but Average, all
    const Bytes mixtures[] = {{1}, {3}, {4}, {0, 1, 2, 4, 4, 4}, {0, 1, 2, 3, 4, 4, 5, 255}};
    Random random(7);
    for (const unsigned step : {1u, 3u, 4u, 6u}) {
        const unsigned most = step == 1 ? rowsTogether : 3;  // rows that are turned back
        int together = 0, alone = 0;
        for (std::size_t bytes = step; bytes <= 180; bytes += step)
            for (unsigned count = 1; count <= rowsTogether; count++)
                for (const Bytes& filters : mixtures) {
                    const std::size_t stride = 1 + bytes + (random.oneIn(2) ? random.below(20) : 0);
                    Bytes before = random.bytes(count * stride + 16), above(bytes);
                    for (unsigned r = 0; r < count; r++)
                        before[r * stride] = filters[random.below(filters.size())];
                    if (random.oneIn(2)) before[0] = filterNone;
                    Bytes want = before;
                    for (unsigned r = 0; r < std::min(count, most); r++) {
                        above =
                            plainUnfilter(want[r * stride], slice(want, r * stride + 1, bytes), above, step);
                        want[r * stride] = filterNone;
                        std::copy(above.begin(), above.end(), &want[r * stride + 1]);
                    }
                    const GuardedBytes memory(before);
                    const bool done = unfilterTogether({memory.data(), count, stride}, bytes, step);
                    (done ? together : alone)++;
                    ASSERT_TRUE(std::equal(memory.data(), memory.data() + memory.size(),
                                           (done ? want : before).data()))
                        << (done ? "" : "not turned back, but touched: ") << "filter " << int{filters.back()}
                        << ", " << count << " rows of " << bytes << " bytes, stride " << stride << ", step "
                        << step;
                }
        EXPECT_EQ(together > 500, step != 6) << "step " << step;
        EXPECT_GT(alone, 500) << "step " << step;
    }
}

TEST(BestFilter, SumsOfTheLongestRowsDoNotOverflow) {
    const Bytes longest(32768 * 3, 0x80), above(longest.size(), 0);
    MarginRow r(longest), a(above);
    EXPECT_EQ(bestFilter(r.pixels(), a.pixels(), longest.size(), 3), filterSub);
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
            const Bytes bytes = random.bytes(count), want = Bytes(place, 0xEE) + bytes;
            const GuardedBytes from(bytes), to(Bytes(place + count, 0xEE));
            copyPastCaches(to.data() + place, from.data(), count);
            ASSERT_TRUE(std::equal(want.begin(), want.end(), to.data())) << count << " at " << place;
        }
}

namespace {

// Both sums of bytes that are added in two pieces.
void expectSums(const Bytes& bytes, std::size_t offset, std::size_t half) {
    const GuardedBytes guarded(bytes);
    const std::uint8_t* p = guarded.data() + offset;
    const std::size_t n = bytes.size() - offset;
    Crc crc;
    Adler adler;
    for (const auto& [from, to] : {std::pair{std::size_t{0}, half}, {half, n}})
        crc.add(p + from, to - from), adler.add(p + from, to - from);
    ASSERT_EQ(crc.value(), plainCrc(p, n)) << n << " at " << offset;
    ASSERT_EQ(adler.value(), adler32(1, p, n)) << n << " at " << offset;
}

}  // namespace

TEST(Checksums, AreThePlainOnesAtEveryLengthAndPlaceAndForLongRunsOfTheLargestBytes) {
    Random random(5);
    for (std::size_t length = 0; length <= 400; length++)
        for (std::size_t offset = 0; offset < 17; offset++)
            expectSums(random.bytes(length + offset), offset, random.below(length + 1));
    for (const std::size_t length : {5551u, 5552u, 5553u, 1000001u})
        expectSums(Bytes(2 * length, 255), 0, length);
}
