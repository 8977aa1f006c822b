#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "orn32.h"
#include "tests/support/guarded.h"

namespace {

using Three = std::array<int, 3>;  // hue, saturation, value; or red, green, blue

// The formulas, with plain divisions.
Three plainHsv(int r, int g, int b) {
    const int high = std::max({r, g, b}), low = std::min({r, g, b});
    if (high == low) return {0, 0, high};
    int base, x, y;
    if (b == low)
        base = 0, x = g, y = r;
    else if (r == low)
        base = 120, x = b, y = g;
    else
        base = 240, x = r, y = b;
    const int hue = (256 * base + (x - low) * 30720 / (x + y - 2 * low) + 180) / 360;
    return {hue & 255, ((high - low) * 255 + high / 2) / high, high};
}

Three plainRgb(int h, int s, int v) {
    const int d = (360 * h + 128) / 256;
    if (s == 0) return {v, v, v};
    const int p = ((255 - s) * v + 127) / 255, q = v - p;
    const auto part = [&](int rising, int falling) { return p + (q * rising + falling / 2) / falling; };
    if (d <= 60) return {v, part(d, 120 - d), p};
    if (d <= 120) return {part(120 - d, d), v, p};
    if (d <= 180) return {p, v, part(d - 120, 240 - d)};
    if (d <= 240) return {p, part(240 - d, d - 120), v};
    if (d <= 300) return {part(d - 240, 360 - d), p, v};
    return {v, p, part(360 - d, d - 240)};
}

}  // namespace

TEST(Hsv, EveryColourAgreesWithThePlainFormulas) {
    std::vector<std::uint8_t> rgb(65536 * 4), hsv(65536 * 3);
    for (int a = 0; a < 256; a++) {
        for (std::size_t i = 0; i < 65536; i++) {
            rgb[4 * i] = std::uint8_t(i), rgb[4 * i + 1] = std::uint8_t(i >> 8);
            rgb[4 * i + 2] = std::uint8_t(a), rgb[4 * i + 3] = 0x77;
        }
        rgb2hsv(rgb.data(), hsv.data(), 65536);
        for (int i = 0; i < 65536; i++) {
            std::uint8_t* p = &hsv[std::size_t(3 * i)];
            ASSERT_EQ((Three{p[0], p[1], p[2]}), plainHsv(a, i >> 8, i & 255)) << a << "," << i;
            p[0] = std::uint8_t(a), p[1] = std::uint8_t(i >> 8), p[2] = std::uint8_t(i);
        }
        hsv2rgb(hsv.data(), rgb.data(), 65536);
        for (int i = 0; i < 65536; i++) {
            const std::uint8_t* p = &rgb[std::size_t(4 * i)];
            ASSERT_EQ((Three{p[2], p[1], p[0]}), plainRgb(a, i >> 8, i & 255)) << a << "," << i;
            ASSERT_EQ(p[3], 0x77);
        }
    }
}

TEST(Hsv, CountsOfZeroAndLessDoNothingAndOthersStayInTheArrays) {
    rgb2hsv(nullptr, nullptr, 0);
    hsv2rgb(nullptr, nullptr, -5);
    for (int count = 1; count < 40; count++) {
        const test::GuardedBytes rgb(std::size_t(4 * count)), hsv(std::size_t(3 * count));
        rgb2hsv(rgb.data(), hsv.data(), count);
        hsv2rgb(hsv.data(), rgb.data(), count);
    }
}
