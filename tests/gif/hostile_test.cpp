#include <gtest/gtest.h>

#include <optional>

#include "orn32.h"
#include "tests/gif/gif_builder.h"
#include "tests/support/damage.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

// Asks a file everything there is to ask, and gives up the program where an answer cannot be.
extern "C" int replay_gif(const std::uint8_t* data, std::size_t size);

namespace {

// Half of the damage goes to the headers. The questions' details come from the last bytes.
Bytes mutated(Random& random, Bytes gif) {
    for (int i = random.between(1, 4); i > 0; i--) {
        const unsigned size = static_cast<unsigned>(gif.size());
        damage(gif, random.below(random.oneIn(2) ? size : std::min(160u, size)), random);
    }
    if (random.oneIn(8)) gif.resize(100 + random.below(static_cast<unsigned>(gif.size())));
    gif.resize(std::max<std::size_t>(gif.size(), 100));
    return gif + random.bytes(4);
}

}  // namespace

TEST(GifHostile, FilesCutAtEveryLength) {
    const Bytes gif = richGif();
    for (std::size_t length = 0; length <= gif.size(); length++) {
        const TempFile file(".gif");
        writeFile(file.name(), slice(gif, 0, length));
        TestImage image(29, 25, 8);
        const int code = loadgif(file.name(), image);
        EXPECT_TRUE(code == 0 || code == ERR_BAD_GIF || code == ERR_TRUNCATED) << length << ": " << code;
        EXPECT_LE(getgifcomment(file.name(), nullptr, 0), 300) << length;
        const MemoryWatch watch;
        replay_gif(gif.data(), length);
        EXPECT_EQ(watch.live(), 0) << length;
    }
}

// Working memory is guarded as well unless that would take too long.
TEST(GifHostile, MutatedFiles) {
    std::vector<Bytes> seeds = {richGif()};
    for (const auto& name : corpusFiles("gif", ".gif")) seeds.push_back(readFile(name));
    Random random(1);
    for (int round = 0; round < 12000; round++) {
        const Bytes& seed = round % 3 ? seeds[0] : seeds[random.below(static_cast<unsigned>(seeds.size()))];
        const Bytes gif = mutated(random, seed);
        std::optional<MemoryWatch> watch;
        if (round % 8 == 0) watch.emplace();
        replay_gif(gif.data(), gif.size());
        ASSERT_TRUE(!watch || watch->live() == 0) << "round " << round;
    }
}

TEST(GifHostile, EveryFailedAllocationIsAMemoryError) {
    const GuardedBytes source(richGif());
    TestImage image(12, 9, 8);
    failEveryAllocation([&] { return loadgiffrombuffer(source.data(), image); },
                        [&](int n, int code, const MemoryWatch&) {
                            EXPECT_EQ(code, ERR_MEMORY) << n;
                            EXPECT_EQ(image->palcolors, 256) << n;
                        });
}
