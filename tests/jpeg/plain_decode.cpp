// The plain second opinion on transform, upsampling and colour.
#include <algorithm>
#include <cmath>

#include "tests/jpeg/stream_builder.h"

namespace test {
namespace {

// One-dimensional inverse transform by the field's usual figure, in arithmetic modulo 2^32.
void transformLine(const std::uint32_t* in, std::uint32_t* out) {
    std::uint32_t z1 = (in[2] + in[6]) * 4433u;
    std::uint32_t tmp2 = z1 + in[6] * static_cast<std::uint32_t>(-15137);
    std::uint32_t tmp3 = z1 + in[2] * 6270u;
    std::uint32_t tmp0 = (in[0] + in[4]) * 8192u;
    std::uint32_t tmp1 = (in[0] - in[4]) * 8192u;
    const std::uint32_t tmp10 = tmp0 + tmp3, tmp13 = tmp0 - tmp3, tmp11 = tmp1 + tmp2, tmp12 = tmp1 - tmp2;
    tmp0 = in[7];
    tmp1 = in[5];
    tmp2 = in[3];
    tmp3 = in[1];
    z1 = tmp0 + tmp3;
    std::uint32_t z2 = tmp1 + tmp2, z3 = tmp0 + tmp2, z4 = tmp1 + tmp3;
    const std::uint32_t z5 = (z3 + z4) * 9633u;
    tmp0 *= 2446u;
    tmp1 *= 16819u;
    tmp2 *= 25172u;
    tmp3 *= 12299u;
    z1 *= static_cast<std::uint32_t>(-7373);
    z2 *= static_cast<std::uint32_t>(-20995);
    z3 = z3 * static_cast<std::uint32_t>(-16069) + z5;
    z4 = z4 * static_cast<std::uint32_t>(-3196) + z5;
    tmp0 += z1 + z3;
    tmp1 += z2 + z4;
    tmp2 += z2 + z3;
    tmp3 += z1 + z4;
    const std::uint32_t even[4] = {tmp10, tmp11, tmp12, tmp13}, odd[4] = {tmp3, tmp2, tmp1, tmp0};
    for (int i = 0; i < 4; i++) {
        out[i] = even[i] + odd[i];
        out[7 - i] = even[i] - odd[i];
    }
}

// The limiting table, indexed modulo 1024 from a sample centred on 0.
std::uint8_t rangeLimited(std::int32_t x) {
    static const std::vector<std::uint8_t> table = [] {
        std::vector<std::uint8_t> t;
        for (int i = 128; i < 256; i++) t.push_back(static_cast<std::uint8_t>(i));
        t.insert(t.end(), 384, 255);
        t.insert(t.end(), 384, 0);
        for (int i = 0; i < 128; i++) t.push_back(static_cast<std::uint8_t>(i));
        return t;
    }();
    return table[static_cast<std::uint32_t>(x) & 1023];
}

int clamp(int x) {
    return std::clamp(x, 0, 255);
}

}  // namespace

std::array<std::uint8_t, 64> transformPlainly(const Block& coefs,
                                              const std::array<std::uint16_t, 64>& quant) {
    std::uint32_t work[64];
    for (unsigned x = 0; x < 8; x++) {
        std::uint32_t in[8], out[8];
        for (unsigned y = 0; y < 8; y++) {
            const int product = coefs[8 * y + x] * quant[8 * y + x];
            in[y] = static_cast<std::uint32_t>(int{static_cast<std::int16_t>(product)});
        }
        transformLine(in, out);
        for (unsigned y = 0; y < 8; y++)
            work[8 * y + x] = static_cast<std::uint32_t>(static_cast<std::int32_t>(out[y] + 1024) >> 11);
    }
    std::array<std::uint8_t, 64> samples;
    for (unsigned y = 0; y < 8; y++) {
        std::uint32_t out[8];
        transformLine(work + 8 * y, out);
        for (unsigned x = 0; x < 8; x++)
            samples[8 * y + x] = rangeLimited(static_cast<std::int32_t>(out[x] + 131072) >> 18);
    }
    return samples;
}

PlainPlanes decodePlainly(const CoefPicture& picture) {
    PlainPlanes result{picture.width, picture.height, {}};
    for (const CoefComponent& c : picture.components) {
        std::vector<std::uint8_t> own(std::size_t{c.across} * c.down * 64);
        for (unsigned by = 0; by < c.down; by++)
            for (unsigned bx = 0; bx < c.across; bx++) {
                const auto samples = transformPlainly(c.at(bx, by), picture.quant[c.tq]);
                for (unsigned i = 0; i < 64; i++)
                    own[(by * 8 + i / 8) * c.across * 8 + bx * 8 + i % 8] = samples[i];
            }
        std::vector<std::uint8_t> full;
        for (unsigned y = 0; y < picture.height; y++)
            for (unsigned x = 0; x < picture.width; x++)
                full.push_back(own[y * c.v / picture.vMax() * c.across * 8 + x * c.h / picture.hMax()]);
        result.planes.push_back(full);
    }
    return result;
}

unsigned plainPixel(const PlainPlanes& planes, Colours colours, unsigned x, unsigned y) {
    const int p0 = planes.at(0, x, y);
    if (colours == Colours::grey) return static_cast<unsigned>(p0);
    const int p1 = planes.at(1, x, y), p2 = planes.at(2, x, y);
    const int k = planes.planes.size() > 3 ? planes.at(3, x, y) : 0;
    int red = p0, green = p1, blue = p2;
    if (colours == Colours::cmyk) {
        red = clamp(255 - p0 + k * 75 / 100);
        green = clamp(255 - p1 + k * 75 / 100);
        blue = clamp(255 - p2 + k * 75 / 100);
    }
    if (colours == Colours::ycbcr || colours == Colours::ycck) {
        const double cb = p1 - 128, cr = p2 - 128;
        const int base = p0 + (colours == Colours::ycck ? (255 - k) * 50 / 100 : 0);
        red = clamp(base + static_cast<int>(std::trunc((91881 * cr + 32768) / 65536)));
        green = clamp(base + static_cast<int>(std::floor((-22554 * cb - 46802 * cr + 32768) / 65536)));
        blue = clamp(base + static_cast<int>(std::trunc((116130 * cb + 32768) / 65536)));
    }
    return static_cast<unsigned>(blue | green << 8 | red << 16);
}

}  // namespace test
