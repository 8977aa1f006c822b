#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "orn32.h"
#include "tests/gif/gif_builder.h"
#include "tests/support/damage.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

bool isInfoCode(int code) {
    return code == 0 || code == ERR_BAD_GIF || code == ERR_TRUNCATED || code == ERR_NO_FRAME;
}
bool isLoadCode(int code) {
    return isInfoCode(code) || code == ERR_LZW_CODE;
}
bool isPaletteCode(int code) {
    return code >= 0 ? code <= 256 : isInfoCode(code);
}

// Loads a file's first picture and its frames into the middle of an image.
void loadEverything(const void* source, unsigned bits, const std::string& what) {
    Random random(bits);
    TestImage image(29, 25, bits);
    image.randomise(random);
    const TestImage before(image);
    setimagearea(image, 5, 6, 21, 17);
    EXPECT_PRED1(isLoadCode, loadgiffrombuffer(source, image)) << what;
    for (int k = 0; k < 3; k++) {
        GifGlobalInfo global;
        GifFrameInfo frame;
        if (gifinfoframefrombuffer(source, nullptr, &global, &frame, k) != 0) continue;
        EXPECT_PRED1(isLoadCode, loadgifframefrombuffer(source, image, &global, &frame)) << what;
    }
    EXPECT_TRUE(image.isSameAround(before)) << what;
    EXPECT_TRUE(image->palcolors >= 0 && image->palcolors <= (bits == 1 ? 2 : 256)) << what;
}

// Asks everything there is to ask about a file in memory that ends at an unreadable page. Working memory is
// guarded as well unless that would take too long.
void askEverything(const Bytes& gif, const std::string& what, bool guardWork = true) {
    const GuardedBytes source(gif);
    std::optional<MemoryWatch> watch;
    if (guardWork) watch.emplace();
    GifFileInfo file;
    GifGlobalInfo global;
    GifFrameInfo frames[4];
    int count = 0;
    EXPECT_PRED1(isInfoCode, gifinfofrombuffer(source.data(), &file)) << what;
    EXPECT_PRED1(isInfoCode, gifframecountfrombuffer(source.data(), &count)) << what;
    EXPECT_TRUE(count >= 0 && count <= static_cast<int>(gif.size())) << what << ": " << count << " frames";
    EXPECT_PRED1(isInfoCode, gifinfoallframesfrombuffer(source.data(), &global, frames, 4)) << what;
    RGBQUAD palette[256];
    for (const int number : {0, 1, 2, 5})
        EXPECT_PRED1(isPaletteCode, loadgifframepalettefrombuffer(source.data(), palette, number)) << what;
    EXPECT_PRED1(isPaletteCode, loadgifglobalpalettefrombuffer(source.data(), palette)) << what;
    EXPECT_PRED1(isPaletteCode, loadgifpalettefrombuffer(source.data(), palette)) << what;
    for (const unsigned bits : {1u, 8u}) loadEverything(source.data(), bits, what);
    EXPECT_TRUE(!watch || watch->live() == 0) << what;
}

// The files' own pixels through GifDecode, with the room that the record asks for.
void decodeFrames(const Bytes& gif) {
    const GuardedBytes source(gif);
    for (int k = 0; k < 3; k++) {
        GifFrameInfo frame;
        if (gifinfoframefrombuffer(source.data(), nullptr, nullptr, &frame, k) != 0) return;
        const std::size_t pixels =
            static_cast<std::size_t>(frame.width) * static_cast<std::size_t>(frame.height);
        if (frame.dataoffset < 1 || frame.dataoffset > gif.size() || pixels > 100000) continue;
        const GuardedBytes target(pixels);
        const std::size_t at = frame.dataoffset - 1;
        EXPECT_LE(GifDecode(nullptr, source.data() + at, static_cast<int>(gif.size() - at), target.data(),
                            static_cast<int>(pixels)),
                  gif.size() - at);
    }
}

// Half of the damage goes to the headers.
Bytes mutated(Random& random, Bytes gif) {
    for (int i = random.between(1, 4); i > 0; i--) {
        const unsigned size = static_cast<unsigned>(gif.size());
        damage(gif, random.below(random.oneIn(2) ? size : std::min(160u, size)), random);
    }
    if (random.oneIn(8)) gif.resize(100 + random.below(static_cast<unsigned>(gif.size())));
    gif.resize(std::max<std::size_t>(gif.size(), 100));
    return gif;
}

}  // namespace

TEST(GifHostile, FilesCutAtEveryLength) {
    const Bytes gif = richGif();
    for (std::size_t length = 0; length <= gif.size(); length++) {
        const Bytes cut = slice(gif, 0, length);
        if (length >= 100) askEverything(cut, "cut to " + std::to_string(length));
        const TempFile file(".gif");
        writeFile(file.name(), cut);
        TestImage image(29, 25, 8);
        int count;
        EXPECT_PRED1(isLoadCode, loadgif(file.name(), image)) << length;
        EXPECT_PRED1(isInfoCode, gifframecount(file.name(), &count)) << length;
        EXPECT_LE(getgifcomment(file.name(), nullptr, 0), 300) << length;
    }
}

TEST(GifHostile, MutatedFiles) {
    std::vector<Bytes> seeds = {richGif()};
    for (const auto& name : corpusFiles("gif", ".gif")) seeds.push_back(readFile(name));
    Random random(1);
    for (int round = 0; round < 12000; round++) {
        const Bytes& seed = round % 3 ? seeds[0] : seeds[random.below(static_cast<unsigned>(seeds.size()))];
        const Bytes gif = mutated(random, seed);
        askEverything(gif, "round " + std::to_string(round), round % 8 == 0);
        decodeFrames(gif);
        if (HasFailure()) FAIL() << "round " << round;
    }
}

TEST(GifHostile, EveryFailedAllocationIsAMemoryError) {
    const GuardedBytes source(richGif());
    const TempFile file(".gif");
    writeFile(file.name(), richGif());
    TestImage image(12, 9, 8);
    const std::function<int()> calls[] = {
        [&] { return gifinfofrombuffer(source.data(), nullptr); },
        [&] { return std::min(0, getgifcomment(file.name(), nullptr, 0)); },
        [&] { return loadgiffrombuffer(source.data(), image); },
    };
    for (const auto& call : calls)
        failEveryAllocation(call, [&](int n, int code, const MemoryWatch&) {
            EXPECT_EQ(code, ERR_MEMORY) << n;
            EXPECT_EQ(image->palcolors, 256) << n;
        });
}
