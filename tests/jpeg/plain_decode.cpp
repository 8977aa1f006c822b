// The plain second opinion on transform, upsampling and colour.
#include <algorithm>
#include <cmath>

#include "tests/jpeg/plain_jpeg.h"

namespace test {
namespace {

// What each coefficient contributes to the first four samples of a line, times 8192: the field's usual figure
// multiplied out. To the other four, in reverse, odd ones contribute the opposite.
constexpr int basis[8][4] = {{8192, 8192, 8192, 8192},     {11363, 9633, 6437, 2260},
                             {10703, 4433, -4433, -10703}, {9633, -2259, -11362, -6436},
                             {8192, -8192, -8192, 8192},   {6437, -11362, 2261, 9633},
                             {4433, -10704, 10704, -4433}, {2260, -6436, 9633, -11363}};

std::uint32_t factor(unsigned coefficient, unsigned sample) {
    const int f = basis[coefficient][std::min(sample, 7 - sample)];
    return std::uint32_t(coefficient % 2 && sample > 3 ? -f : f);
}

// One of the two passes over a block, whose sums are taken modulo 2^32.
enum class Lines { rows, columns };
template <class Factor>
void transformLines(std::array<int, 64>& block, Lines lines, int shift, Factor factorOf) {
    for (unsigned n = 0; n < 8; n++) {
        const auto at = [&](unsigned i) -> int& {
            return block[lines == Lines::rows ? 8 * n + i : 8 * i + n];
        };
        std::uint32_t sums[8];
        for (unsigned to = 0; to < 8; to++) {
            sums[to] = 1u << (shift - 1);
            for (unsigned from = 0; from < 8; from++)
                sums[to] += std::uint32_t(at(from)) * factorOf(from, to);
        }
        for (unsigned to = 0; to < 8; to++) at(to) = int(sums[to]) >> shift;
    }
}

// A sample that was centred on 0: far outside its range it wraps around.
std::uint8_t rangeLimited(int x) {
    const int wrapped = ((x + 512) & 1023) - 512;
    return std::uint8_t(std::clamp(wrapped + 128, 0, 255));
}

int clamp(int x) {
    return std::clamp(x, 0, 255);
}

}  // namespace

std::array<std::uint8_t, 64> transformPlainly(const Block& coefs, const Quantisers& quant) {
    std::array<int, 64> block;
    for (unsigned i = 0; i < 64; i++) block[i] = std::int16_t(coefs[i] * quant[i]);
    transformLines(block, Lines::columns, 11, factor);
    transformLines(block, Lines::rows, 18, factor);
    std::array<std::uint8_t, 64> samples;
    std::transform(block.begin(), block.end(), samples.begin(), rangeLimited);
    return samples;
}

std::array<int, 64> transformPlainly(std::array<int, 64> samples) {
    const auto transposed = [](unsigned sample, unsigned coefficient) { return factor(coefficient, sample); };
    for (int& sample : samples) sample -= 128;
    transformLines(samples, Lines::rows, 11, transposed);
    transformLines(samples, Lines::columns, 15, transposed);
    return samples;
}

PlainPlanes decodePlainly(const CoefPicture& picture) {
    PlainPlanes result{picture.width, picture.height, {}};
    for (const CoefComponent& c : picture.components) {
        std::vector<std::array<std::uint8_t, 64>> blocks;
        for (const Block& block : c.blocks) blocks.push_back(transformPlainly(block, picture.quant[c.tq]));
        Bytes& plane = result.planes.emplace_back();
        for (unsigned y = 0; y < picture.height; y++)
            for (unsigned x = 0; x < picture.width; x++) {
                const unsigned column = x * c.h / picture.hMax, row = y * c.v / picture.vMax;
                plane.push_back(blocks[row / 8 * c.across + column / 8][row % 8 * 8 + column % 8]);
            }
    }
    return result;
}

std::vector<unsigned> plainPixels(const CoefPicture& picture) {
    const PlainPlanes planes = decodePlainly(picture);
    std::vector<unsigned> pixels;
    for (unsigned i = 0; i < picture.width * picture.height; i++)
        pixels.push_back(plainPixel(planes, Colours::ycbcr, i % picture.width, i / picture.width));
    return pixels;
}

unsigned plainPixel(const PlainPlanes& planes, Colours colours, unsigned x, unsigned y) {
    int sample[4] = {};
    for (unsigned c = 0; c < planes.planes.size(); c++) sample[c] = planes.planes[c][y * planes.width + x];
    auto [red, green, blue, k] = sample;
    if (colours == Colours::grey) return unsigned(red);
    if (colours == Colours::cmyk)
        for (int* const ink : {&red, &green, &blue}) *ink = clamp(255 - *ink + k * 75 / 100);
    if (colours == Colours::ycbcr || colours == Colours::ycck) {
        const double cb = green - 128, cr = blue - 128;
        const int base = red + (colours == Colours::ycck ? (255 - k) * 50 / 100 : 0);
        red = clamp(base + int(std::trunc((91881 * cr + 32768) / 65536)));
        green = clamp(base + int(std::floor((-22554 * cb - 46802 * cr + 32768) / 65536)));
        blue = clamp(base + int(std::trunc((116130 * cb + 32768) / 65536)));
    }
    return unsigned(blue | green << 8 | red << 16);
}

}  // namespace test
