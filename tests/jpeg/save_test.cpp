// What a save writes, compared with a plain encoder and pinned down to the byte.
#include <gtest/gtest.h>

#include "tests/jpeg/plain_encoder.h"
#include "tests/jpeg/saved.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"

using namespace test;

namespace {

constexpr Coding codings[] = {Coding::standard, Coding::progressive, Coding::optimised};

UINT optionOf(Coding coding) {
    return static_cast<UINT>(coding);
}

// Pictures of several characters: noise makes every symbol, smooth ones make end-of-band runs.
void paint(TestImage& image, Random& random) {
    const unsigned bytes = image.bitsPerPixel() / 8;
    const int kind = random.between(0, 3);
    const int step = random.between(1, 9);
    for (int y = 0; y < image.height(); y++)
        for (int x = 0; x < image.width(); x++)
            for (unsigned i = 0; i < bytes; i++) {
                int value = 0;
                if (kind == 0) value = random.byte();
                if (kind == 1) value = (x * step + y * 2 + static_cast<int>(i) * 40) / 2;
                if (kind == 2) value = (x / 7 + y / 5) % 2 ? 250 : 20 + random.between(0, step);
                if (kind == 3) value = 128 + (random.oneIn(50) ? random.between(-100, 100) : 0);
                image.row(y)[static_cast<unsigned>(x) * bytes + i] = static_cast<std::uint8_t>(value);
            }
}

void expectAsPlainly(TestImage& image, int quality, Coding coding) {
    const Saved saved(image, quality, optionOf(coding));
    const std::string what = image.describe() + " kind " + std::to_string(image->imgkind) + " quality " +
                             std::to_string(quality) + " options " + std::to_string(optionOf(coding));
    ASSERT_EQ(saved.code, 0) << what;
    const Bytes want = encodePlainly(image, quality, coding);
    ASSERT_EQ(saved.bytes(), want) << what;
}

}  // namespace

TEST(SaveJpeg, WritesWhatThePlainEncoderWritesForAreasOfAnySize) {
    Random random(1);
    for (int round = 0; round < 400; round++) {
        TestImage image(1 + random.below(70), 1 + random.below(50), random.oneIn(2) ? 24 : 8);
        paint(image, random);
        if (image.bitsPerPixel() == 8 && random.oneIn(2)) image.randomisePalette(random);
        image.randomArea(random);
        const int quality = random.oneIn(3) ? random.between(1, 10) : random.between(1, 100);
        expectAsPlainly(image, quality, codings[random.below(3)]);
    }
}

// Long enough for end-of-band runs to reach their limit of 32767 blocks and for the output buffer to be
// written out many times.
TEST(SaveJpeg, WritesWhatThePlainEncoderWritesForLargePictures) {
    Random random(3);
    TestImage flat(1800, 1208, 8);
    for (int i = 0; i < 40; i++) flat.setPixel(random.between(0, 1799), random.between(1190, 1207), 255);
    expectAsPlainly(flat, 95, Coding::progressive);

    TestImage noise(400, 300, 24);
    noise.randomise(random);
    for (const Coding coding : codings) expectAsPlainly(noise, 100, coding);
}

// Any change of these is a change of what every user's files contain.
TEST(SaveJpeg, PinnedChecksumsOfAFewFiles) {
    struct {
        unsigned bits;
        int quality;
        UINT options;
        std::size_t size;
        std::uint32_t checksum;
    } const files[] = {
        {24, 75, 0, 2136, 2163459928u}, {24, 75, 1, 2032, 2185131240u},     {24, 75, 2, 1799, 3461651121u},
        {24, 1, 0, 802, 3211301339u},   {24, 100, 0, 5882, 446555877u},     {8, 75, 0, 1300, 56538491u},
        {8, 75, 1, 1194, 723826730u},   {24, 50, 0x10, 10291, 4004097823u},
    };
    for (const auto& file : files) {
        TestImage image(61, 43, file.bits);
        for (int y = 0; y < 43; y++)
            for (int x = 0; x < 61; x++)
                image.setPixel(x, y,
                               static_cast<unsigned>((x * x + 3 * y) | (x * y << 9) | ((255 - 4 * x) << 16)));
        const Bytes bytes = Saved(image, file.quality, file.options).bytes();
        std::uint32_t checksum = 2166136261u;
        for (const auto b : bytes) checksum = (checksum ^ b) * 16777619u;
        EXPECT_EQ(std::pair(bytes.size(), checksum), std::pair(file.size, file.checksum))
            << file.bits << " bits, quality " << file.quality << ", " << file.options;
    }
}

TEST(SaveJpeg, OtherOptionsAreAPlainFile) {
    TestImage image(20, 20, 24);
    const Bytes plain = Saved(image, 70, 0).bytes();
    for (const UINT options : {3u, 4u, 8u, 0x20u, 0x80000000u})
        EXPECT_EQ(Saved(image, 70, options).bytes(), plain);
    for (const int quality : {-3, 0}) EXPECT_EQ(Saved(image, quality, 0).bytes(), Saved(image, 1, 0).bytes());
    EXPECT_EQ(Saved(image, 150, 0).bytes(), Saved(image, 100, 0).bytes());
}

TEST(SaveJpeg, AllFormsWriteTheSame) {
    TestImage image(30, 20, 24);
    Random random(5);
    image.randomise(random);
    const TempFile file(".jpg");
    for (const UINT options : {0u, 1u}) {
        const Bytes want = Saved(image, 60, options).bytes();
        const auto expectWritten = [&](int code) {
            EXPECT_EQ(code, 0);
            EXPECT_EQ(readFile(file.name()), want) << options;
            DeleteFileA(file.name());
        };
        expectWritten(savejpgex(file.name(), image, 60, options));
        expectWritten(savejpgexW(file.wideName(), image, 60, options));
        if (options != 0) continue;
        expectWritten(savejpg(file.name(), image, 60));
        expectWritten(savejpgW(file.wideName(), image, 60));
    }
}

TEST(SaveJpeg, EntriesBeyondAShortPaletteAreBlack) {
    TestImage image(16, 16, 8);
    image->imgkind = 0;
    image->header->biClrUsed = 4;
    for (int i = 0; i < 4; i++) image->palette[i] = {200, 10, 90, 0};
    Random random(6);
    image.randomise(random);
    const Bytes have = Saved(image, 90, 0).bytes();
    for (int i = 4; i < 256; i++) image->palette[i] = {0, 0, 0, 0};
    EXPECT_EQ(have, encodePlainly(image, 90, Coding::standard));
}

TEST(SaveJpeg, TheAreaMayEndAtUnreadableMemory) {
    const MemoryWatch watch;  // every block ends at an unreadable page
    Random random(7);
    for (unsigned width = 1; width <= 40; width++) {
        TestImage image(width, 9, 24);
        image.randomise(random);
        const Bytes want = encodePlainly(image, 50, Coding::standard);
        void* buffer = nullptr;
        ASSERT_EQ(savejpgtobufferex(&buffer, image, 50, 0x10), 0);
        freeGuarded(buffer);
        ASSERT_EQ(savejpgtobuffer(&buffer, image, 50), 0);
        EXPECT_EQ(std::memcmp(buffer, want.data(), want.size()), 0) << width;
        freeGuarded(buffer);
    }
}
