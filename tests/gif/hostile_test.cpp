#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <optional>

#include "orn32.h"
#include "tests/gif/gif_builder.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

// An image whose area is the middle of the picture, and which notices when anything around it changes.
class FramedImage {
 public:
    explicit FramedImage(unsigned bits) : image_(29, 25, bits), bits_(bits) {
        Random random(bits);
        image_.randomise(random);
        before_.resize(29 * 25);
        for (int y = 0; y < 25; y++)
            for (int x = 0; x < 29; x++) before_[at(x, y)] = static_cast<std::uint8_t>(image_.pixel(x, y));
        setimagearea(image_, 5, 6, 21, 17);
    }
    operator imgdes*() { return image_; }

    // Row padding is nobody's pixel.
    bool frameIsWhole() {
        for (int y = 0; y < 25; y++) {
            const bool areaRow = y >= 6 && y <= 17;
            for (int x = 0; x < 29; x++)
                if (!(areaRow && x >= 5 && x <= 21) && image_.pixel(x, y) != before_[at(x, y)]) return false;
        }
        return true;
    }
    bool paletteFits() const {
        return image_.image.palcolors >= 0 && image_.image.palcolors <= (bits_ == 1 ? 2 : 256);
    }

 private:
    static std::size_t at(int x, int y) { return static_cast<std::size_t>(y * 29 + x); }

    TestImage image_;
    unsigned bits_;
    Bytes before_;
};

bool isInfoCode(int code) {
    return code == 0 || code == ERR_BAD_GIF || code == ERR_TRUNCATED || code == ERR_NO_FRAME;
}
bool isLoadCode(int code) {
    return isInfoCode(code) || code == ERR_LZW_CODE;
}

// Asks everything there is to ask about a file in memory that ends at an unreadable page. Working memory is
// guarded as well unless that would take too long.
void askEverything(const Bytes& gif, const std::string& what, bool guardWork = true) {
    const GuardedBytes source(gif);
    std::optional<MemoryWatch> watch;
    if (guardWork) watch.emplace();
    GifFileInfo file;
    GifGlobalInfo global;
    GifFrameInfo frame, frames[4];
    int count = 0;
    EXPECT_PRED1(isInfoCode, gifinfofrombuffer(source.data(), &file)) << what;
    EXPECT_PRED1(isInfoCode, gifframecountfrombuffer(source.data(), &count)) << what;
    EXPECT_GE(count, 0) << what;
    EXPECT_LE(count, static_cast<int>(gif.size())) << what;
    EXPECT_PRED1(isInfoCode, gifinfoallframesfrombuffer(source.data(), &global, frames, 4)) << what;
    RGBQUAD palette[256];
    for (const int number : {0, 1, 2, 5}) {
        const int n = loadgifframepalettefrombuffer(source.data(), palette, number);
        EXPECT_TRUE(n >= 0 ? n <= 256 : isInfoCode(n)) << what << ": " << n;
    }
    EXPECT_LE(loadgifglobalpalettefrombuffer(source.data(), palette), 256) << what;
    EXPECT_LE(loadgifpalettefrombuffer(source.data(), palette), 256) << what;
    for (const unsigned bits : {1u, 8u}) {
        FramedImage image(bits);
        EXPECT_PRED1(isLoadCode, loadgiffrombuffer(source.data(), image)) << what;
        for (int k = 0; k < 3; k++)
            if (gifinfoframefrombuffer(source.data(), &file, &global, &frame, k) == 0) {
                EXPECT_PRED1(isLoadCode, loadgifframefrombuffer(source.data(), image, &global, &frame))
                    << what;
            }
        EXPECT_TRUE(image.frameIsWhole()) << what;
        EXPECT_TRUE(image.paletteFits()) << what;
    }
    if (watch) {
        EXPECT_EQ(watch->live(), 0) << what;
    }
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

Bytes mutated(Random& random, Bytes gif) {
    for (int i = random.between(1, 4); i > 0; i--) {
        const std::size_t at = random.oneIn(2)
                                   ? random.below(static_cast<unsigned>(gif.size()))
                                   : random.below(std::min<unsigned>(160, static_cast<unsigned>(gif.size())));
        switch (random.below(5)) {
            case 0:
                gif[at] = static_cast<std::uint8_t>(gif[at] ^ 1u << random.below(8));
                break;
            case 1:
                gif[at] = std::array<std::uint8_t, 6>{0, 255, 0x21, 0x2C, 0x3B, 0xF9}[random.below(6)];
                break;
            case 2:
                gif[at] = random.byte();
                break;
            case 3:
                gif.erase(gif.begin() + static_cast<std::ptrdiff_t>(at));
                break;
            default:
                gif.insert(gif.begin() + static_cast<std::ptrdiff_t>(at), random.byte());
        }
    }
    if (random.oneIn(8)) gif.resize(100 + random.below(static_cast<unsigned>(gif.size())));
    gif.resize(std::max<std::size_t>(gif.size(), 100));
    return gif;
}

}  // namespace

TEST(GifHostile, FilesCutAtEveryLength) {
    const Bytes gif = richGif();
    for (std::size_t length = 100; length <= gif.size(); length++)
        ASSERT_NO_FATAL_FAILURE(
            askEverything(Bytes(gif.begin(), gif.begin() + static_cast<std::ptrdiff_t>(length)),
                          "cut to " + std::to_string(length)));
    for (std::size_t length = 0; length <= gif.size(); length++) {
        const TempFile file(".gif");
        writeFile(file.name(), Bytes(gif.begin(), gif.begin() + static_cast<std::ptrdiff_t>(length)));
        FramedImage image(8);
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
        ASSERT_NO_FATAL_FAILURE(askEverything(gif, "round " + std::to_string(round), round % 8 == 0));
        decodeFrames(gif);
        if (HasFailure()) FAIL() << "round " << round;
    }
}

TEST(GifHostile, ConstructedFiles) {
    const auto start = [](unsigned packedByte = 0) { return GifBuilder().header(9, 9, packedByte); };
    Bytes endless;
    for (int i = 0; i < 3000; i++) append(endless, {1, 0xAA});
    const struct {
        const char* what;
        Bytes bytes;
    } cases[] = {
        {"nothing but zeros behind the header", start().raw(Bytes(200, 0)).bytes},
        {"a table that is not there", start(0x87).raw(Bytes(90, 0)).bytes},
        {"blocks that never end in an extension", start().raw({0x21, 0x55}).raw(Bytes(5000, 255)).bytes},
        {"blocks that never end in image data", start().descriptor(9, 9).raw({8}).raw(endless).bytes},
        {"a huge frame with a byte of data",
         start().descriptor(65535, 65535).raw({8, 1, 7, 0}).raw(Bytes(90, 0)).bytes},
        {"only clear codes", start().descriptor(9, 9).codes(8, std::vector<unsigned>(5000, 256)).bytes},
        {"a local table that is not there",
         start().raw(Bytes(90, 7)).descriptor(9, 9, 0x87).raw({1, 2}).bytes},
        {"extensions and nothing else", start()
                                            .raw([] {
                                                Bytes all;
                                                for (int i = 0; i < 2000; i++) append(all, {0x21, 0xFE, 0});
                                                return all;
                                            }())
                                            .bytes},
    };
    for (const auto& c : cases) ASSERT_NO_FATAL_FAILURE(askEverything(c.bytes, c.what));
}

TEST(GifHostile, EveryFailedAllocationIsAMemoryError) {
    const GuardedBytes source(richGif());
    const TempFile file(".gif");
    writeFile(file.name(), richGif());
    RGBQUAD palette[256];
    TestImage image(12, 9, 8);
    int count;
    const std::function<int()> calls[] = {
        [&] { return gifinfofrombuffer(source.data(), nullptr); },
        [&] { return gifframecountfrombuffer(source.data(), &count); },
        [&] { return std::min(0, loadgifframepalettefrombuffer(source.data(), palette, 2)); },
        [&] { return std::min(0, getgifcomment(file.name(), nullptr, 0)); },
        [&] { return loadgiffrombuffer(source.data(), image); },
    };
    for (const auto& call : calls)
        failEveryAllocation(call, [&](int n, int code, const MemoryWatch& watch) {
            EXPECT_EQ(code, ERR_MEMORY) << n;
            EXPECT_EQ(watch.live(), 0) << n;
            EXPECT_EQ(image->palcolors, 256) << n;
        });
}
