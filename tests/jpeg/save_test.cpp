// What a save writes, compared with a plain encoder and pinned down to the byte.
#include <gtest/gtest.h>

#include "tests/jpeg/plain_jpeg.h"
#include "tests/jpeg/saved.h"
#include "tests/process/pictures.h"
#include "tests/support/guarded.h"

using namespace test;

namespace {

constexpr Coding codings[] = {Coding::standard, Coding::progressive, Coding::optimised};

void expectAsPlainly(TestImage& image, int quality, Coding coding) {
    const Bytes have = saved(image, quality, UINT(coding));
    if (const DWORD used = image->header->biClrUsed; used && image.bitsPerPixel() == 8)
        std::fill(image->palette + used, image->palette + 256, RGBQUAD{});  // entries beyond are black
    const Bytes want = encodePlainly(image, quality, coding);
    ASSERT_EQ(have, want) << image.describe() << " kind " << image->imgkind << " quality " << quality
                          << " options " << UINT(coding);
}

}  // namespace

// Noise makes every symbol, smooth pictures make end-of-band runs.
TEST(SaveJpeg, WritesWhatThePlainEncoderWritesForAreasOfAnySize) {
    Random random(1);
    for (int round = 0; round < 400; round++) {
        const MemoryWatch watch;  // the pixels end at an unreadable page
        TestImage image(1 + random.below(70), 1 + random.below(50), random.oneIn(2) ? 24 : 8);
        paint(image, random);
        if (random.oneIn(2)) paintPalette(image, random);
        if (random.oneIn(2)) image->header->biClrUsed = 1 + random.below(256);
        image.randomArea(random);
        const int quality = random.oneIn(3) ? random.between(1, 10) : random.between(1, 100);
        ASSERT_NO_FATAL_FAILURE(expectAsPlainly(image, quality, codings[random.below(3)]));
    }
}

// Long enough for end-of-band runs to reach their limit of 32767 blocks and for the output buffer to be
// written out many times.
TEST(SaveJpeg, WritesWhatThePlainEncoderWritesForLargePictures) {
    Random random(3);
    TestImage flat(1800, 1208, 8), noise(400, 300, 24);
    for (int i = 0; i < 40; i++) flat.setPixel(random.between(0, 1799), random.between(1190, 1207), 255);
    expectAsPlainly(flat, 95, Coding::progressive);
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
                image.setPixel(x, y, unsigned((x * x + 3 * y) | (x * y << 9) | ((255 - 4 * x) << 16)));
        const Bytes bytes = saved(image, file.quality, file.options);
        std::uint32_t checksum = 2166136261u;
        for (const auto b : bytes) checksum = (checksum ^ b) * 16777619u;
        EXPECT_EQ(std::pair(bytes.size(), checksum), std::pair(file.size, file.checksum))
            << file.bits << " bits, quality " << file.quality << ", " << file.options;
    }
}

TEST(SaveJpeg, OtherOptionsAreAPlainFileAndQualitiesHaveLimits) {
    TestImage image(20, 20, 24);
    for (const UINT options : {3u, 5u, 8u, 0x22u, 0x80000001u})
        EXPECT_EQ(saved(image, 70, options), saved(image, 70, 0)) << options;
    for (const auto& [quality, same] : {std::pair{-3, 1}, {0, 1}, {150, 100}})
        EXPECT_EQ(saved(image, quality, 0), saved(image, same, 0)) << quality;
}

TEST(SaveJpeg, AllFormsWriteTheSame) {
    const MemoryWatch watch;
    TestImage image(30, 20, 24);
    Random random(5);
    image.randomise(random);
    const TempFile file(".jpg");
    for (const UINT options : {0u, 0x11u}) {
        const Bytes want = saved(image, 60, options);
        const auto expectWritten = [&](int code) {
            EXPECT_EQ(code, 0);
            EXPECT_EQ(readFile(file.name()), want) << options;
            DeleteFileA(file.name());
        };
        const auto expectIn = [&](void* buffer) {
            EXPECT_EQ(std::memcmp(buffer, want.data(), want.size()), 0) << options;
            freeGuarded(buffer);
        };
        void* buffer = nullptr;
        ASSERT_EQ(savejpgtobufferex(&buffer, image, 60, options), 0);
        expectIn(buffer);
        expectWritten(savejpgexW(file.wideName(), image, 60, options));
        if (options != 0) continue;
        expectWritten(savejpg(file.name(), image, 60));
        expectWritten(savejpgW(file.wideName(), image, 60));
        ASSERT_EQ(savejpgtobuffer(&buffer, image, 60), 0);
        expectIn(buffer);
    }
}
