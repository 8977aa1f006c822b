// Arrays of colours between RGB and hue, saturation, value, all in bytes.
#include <algorithm>
#include <array>
#include <cstdint>

#include "orn32.h"
#include "process/colour_key.h"

namespace orn32 {
namespace {

constexpr unsigned rgbBytes = 4, hsvBytes = 3;

constexpr unsigned largestDivisor = 510;

// 2^32 / n, rounded up past the exact value. Its error times a dividend below 2^32 / 510 stays below 1 / n,
// so that the quotient comes out exact; the largest dividend here is 255 * 30720.
constexpr std::array<std::uint32_t, largestDivisor + 1> reciprocals = [] {
    std::array<std::uint32_t, largestDivisor + 1> table{};
    for (unsigned n = 2; n <= largestDivisor; n++)
        table[n] = static_cast<std::uint32_t>((std::uint64_t{1} << 32) / n + 1);
    return table;
}();

unsigned quotient(unsigned dividend, unsigned divisor) {
    if (divisor == 1) return dividend;
    return static_cast<unsigned>(std::uint64_t{dividend} * reciprocals[divisor] >> 32);
}

// The hue of a colour that is not grey: which third of the circle it lies in is told by its smallest channel.
// The last third can reach 256, which becomes 0 as it is stored in a byte.
unsigned hue(unsigned r, unsigned g, unsigned b, unsigned smallest) {
    unsigned base = 240, from = r, to = b;
    if (b == smallest)
        base = 0, from = g, to = r;
    else if (r == smallest)
        base = 120, from = b, to = g;
    const unsigned part = quotient((from - smallest) * 30720, from + to - 2 * smallest);
    return (256 * base + part + 180) / 360;
}

void toHsv(const std::uint8_t* rgb, std::uint8_t* hsv) {
    const unsigned r = rgb[red], g = rgb[green], b = rgb[blue];
    const unsigned largest = std::max({r, g, b}), smallest = std::min({r, g, b});
    hsv[2] = static_cast<std::uint8_t>(largest);
    if (largest == smallest) {
        hsv[0] = hsv[1] = 0;
        return;
    }
    hsv[0] = static_cast<std::uint8_t>(hue(r, g, b, smallest));
    hsv[1] = static_cast<std::uint8_t>(quotient((largest - smallest) * 255 + largest / 2, largest));
}

// Each sixth of the circle mixes one channel in between: the ratio d / (120 - d) undoes the one that the hue
// is made with.
void toRgb(const std::uint8_t* hsv, std::uint8_t* rgb) {
    const unsigned saturation = hsv[1], value = hsv[2];
    if (saturation == 0) {
        rgb[red] = rgb[green] = rgb[blue] = hsv[2];
        return;
    }
    struct Sector {
        Channel full, mixed, empty;
    };
    static constexpr Sector sectors[] = {{red, green, blue}, {green, red, blue}, {green, blue, red},
                                         {blue, green, red}, {blue, red, green}, {red, blue, green}};
    const unsigned degrees = (360 * hsv[0] + 128) >> 8;
    const unsigned index = degrees == 0 ? 0 : (degrees - 1) / 60;
    const unsigned third = degrees - index / 2 * 120;  // 0 to 120 within two sectors that meet at full colour
    const unsigned rising = index % 2 == 0 ? third : 120 - third, falling = 120 - rising;
    const unsigned least = quotient((255 - saturation) * value + 127, 255);
    const unsigned mixed = least + quotient((value - least) * rising + falling / 2, falling);
    const Sector& sector = sectors[index];
    rgb[sector.full] = static_cast<std::uint8_t>(value);
    rgb[sector.mixed] = static_cast<std::uint8_t>(mixed);
    rgb[sector.empty] = static_cast<std::uint8_t>(least);
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" void ORNAPI rgb2hsv(const unsigned char* rgb, unsigned char* hsv, int count) {
    for (; count > 0; count--, rgb += rgbBytes, hsv += hsvBytes) toHsv(rgb, hsv);
}

extern "C" void ORNAPI hsv2rgb(const unsigned char* hsv, unsigned char* rgb, int count) {
    for (; count > 0; count--, hsv += hsvBytes, rgb += rgbBytes) toRgb(hsv, rgb);
}
