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
