// What is saved comes back when it is loaded.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/jpeg/saved.h"

using namespace test;

namespace {

// A picture without sharp edges, which costs little at half the colour resolution.
void paintSmoothly(TestImage& image) {
    const unsigned bytes = image.bitsPerPixel() / 8;
    for (int y = 0; y < image.height(); y++)
        for (int x = 0; x < image.width(); x++)
            for (unsigned i = 0; i < bytes; i++)
                image.row(y)[static_cast<unsigned>(x) * bytes + i] =
                    static_cast<std::uint8_t>(128 + 100 * std::sin(x / 17.0 + i) * std::cos(y / 13.0 - i));
}

int largestDifference(const TestImage& a, const TestImage& b) {
    int largest = 0;
    for (int y = 0; y < a.height(); y++)
        for (unsigned i = 0; i < static_cast<unsigned>(a.width()) * a.bitsPerPixel() / 8; i++)
            largest = std::max(largest, std::abs(a.row(y)[i] - b.row(y)[i]));
    return largest;
}

}  // namespace

TEST(SavedJpeg, LoadsAsNearlyThePictureThatWasSaved) {
    for (const unsigned bits : {8u, 24u}) {
        for (const auto& [width, height] : {std::pair{1u, 1u}, {17u, 33u}, {100u, 7u}, {160u, 96u}}) {
            for (const UINT options : {0u, 1u, 2u, 0x10u, 0x11u}) {
                TestImage image(width, height, bits), loaded(width, height, bits);
                paintSmoothly(image);
                const Saved saved(image, 95, options);
                ASSERT_EQ(loadjpgfrombuffer(saved.data(), loaded), 0)
                    << image.describe() << " options " << options;
                EXPECT_LE(largestDifference(image, loaded), bits == 8 ? 6 : 24)
                    << image.describe() << " options " << options;
            }
        }
    }
}

// The same coefficients, whatever way they are coded.
TEST(SavedJpeg, LoadsTheSamePixelsFromEveryCoding) {
    Random random(1);
    for (const unsigned bits : {8u, 24u}) {
        TestImage image(75, 50, bits), plain(75, 50, bits), other(75, 50, bits);
        image.randomise(random);
        for (const int quality : {3, 50, 100}) {
            ASSERT_EQ(loadjpgfrombuffer(Saved(image, quality, 0).data(), plain), 0);
            for (const UINT options : {1u, 2u}) {
                ASSERT_EQ(loadjpgfrombuffer(Saved(image, quality, options).data(), other), 0);
                EXPECT_EQ(largestDifference(plain, other), 0)
                    << bits << " bits, quality " << quality << ", " << options;
            }
        }
    }
}

TEST(SavedJpeg, TellsItsResolutionAndItsThumbnail) {
    TestImage image(200, 100, 24), grey(50, 100, 8);
    JpegInfoEx info;
    jpegsetxyresolution(300, 200, 1);
    ASSERT_EQ(jpeginfofrombufferex(Saved(image, 75, JPEG_PROGRESSIVE | JPEG_THUMBNAIL).data(), &info), 0);
    EXPECT_EQ(info.ftype, 2);
    EXPECT_EQ(info.xdensity, 300u);
    EXPECT_EQ(info.ydensity, 200u);
    EXPECT_EQ(info.densunits, 1u);
    EXPECT_EQ(info.thumbtype, 0x13);
    EXPECT_EQ(info.thumbwidth, 64);
    EXPECT_EQ(info.thumbheight, 32);
    ASSERT_EQ(jpeginfofrombufferex(Saved(grey, 1, JPEG_THUMBNAIL).data(), &info), 0);
    EXPECT_EQ(info.ftype, 1);
    EXPECT_EQ(info.comps, 1u);
    EXPECT_EQ(info.thumbtype, 0x11);
    EXPECT_EQ(info.thumbwidth, 32);
    EXPECT_EQ(info.thumbheight, 64);
}

// A thumbnail of the picture's own size is the picture, without loss.
TEST(SavedJpeg, GivesItsThumbnailBack) {
    Random random(2);
    for (const unsigned bits : {8u, 24u}) {
        TestImage image(64, 40, bits), loaded(64, 40, bits);
        image.randomise(random);
        ASSERT_EQ(loadjpgthumbnailfrombuffer(Saved(image, 10, JPEG_THUMBNAIL).data(), loaded, 0), 0);
        EXPECT_EQ(largestDifference(image, loaded), 0) << bits;
    }
}
