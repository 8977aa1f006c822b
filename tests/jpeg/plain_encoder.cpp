#include "tests/jpeg/plain_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace test {
namespace {

const int lumaTable[64] = {16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
                           14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
                           18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
                           49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};

int chromaEntry(unsigned x, unsigned y) {
    const int corner[4][4] = {{17, 18, 24, 47}, {18, 21, 26, 66}, {24, 26, 56, 99}, {47, 66, 99, 99}};
    return x < 4 && y < 4 ? corner[y][x] : 99;
}

// Eight times the value that goes into the file, and at most 32767.
int tableEntry(unsigned table, unsigned i, int quality) {
    const int q = std::min(std::max(quality, 1), 100);
    const int scale = q < 50 ? 5000 / q : 200 - 2 * q;
    const int base = table == 0 ? lumaTable[i] : chromaEntry(i % 8, i / 8);
    return std::min(std::max((base * scale + 50) / 100, 1) * 8, 32767);
}

Colour colourAt(const TestImage& image, int x, int y) {
    const unsigned value =
        image.pixel(static_cast<int>(image.image.left) + x, static_cast<int>(image.image.top) + y);
    if (image.bitsPerPixel() == 24)
        return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                static_cast<std::uint8_t>(value >> 16)};
    const RGBQUAD c = image.image.palette[value];
    return {c.rgbBlue, c.rgbGreen, c.rgbRed};
}

bool isGrey(const TestImage& image) {
    return image.bitsPerPixel() == 8 && (image.image.imgkind & 1);
}

int component(Colour c, unsigned which) {
    const int r = c.red, g = c.green, b = c.blue;
    if (which == 0) return (19595 * r + 38470 * g + 7471 * b + 32768) >> 16;
    if (which == 1) return (32768 * b - 21709 * g - 11059 * r + 8421375) >> 16;
    return (32768 * r - 27439 * g - 5329 * b + 8421375) >> 16;
}

int sampleAt(const TestImage& image, int x, int y, unsigned which) {
    x = std::min(x, image.areaWidth() - 1), y = std::min(y, image.areaHeight() - 1);
    if (!isGrey(image)) return component(colourAt(image, x, y), which);
    return static_cast<int>(
        image.pixel(static_cast<int>(image.image.left) + x, static_cast<int>(image.image.top) + y));
}

// A sample of a plane, which is of half the size if it has chroma.
int planeSample(const TestImage& image, int x, int y, unsigned which) {
    if (which == 0) return sampleAt(image, x, y, 0);
    int sum = x % 2 == 0 ? 1 : 2;
    for (int i = 0; i < 4; i++) sum += sampleAt(image, 2 * x + i % 2, 2 * y + i / 2, which);
    return sum >> 2;
}

// One pass of the flow graph over eight values a step apart.
void transformLine(int* v, int step, bool first) {
    const auto scaled = [](double c) { return static_cast<int>(std::lround(c * 8192)); };
    const auto at = [&](int i) -> int& { return v[i * step]; };
    const int shift = first ? 11 : 15;
    const auto down = [&](int sum) { return (sum + (1 << (shift - 1))) >> shift; };
    int s[4], d[4];
    for (int i = 0; i < 4; i++) s[i] = at(i) + at(7 - i), d[i] = at(i) - at(7 - i);
    const int e0 = s[0] + s[3], e3 = s[0] - s[3], e1 = s[1] + s[2], e2 = s[1] - s[2];
    at(0) = first ? (e0 + e1) * 4 : (e0 + e1 + 2) >> 2;
    at(4) = first ? (e0 - e1) * 4 : (e0 - e1 + 2) >> 2;
    const int z = (e2 + e3) * scaled(0.541196100);
    at(2) = down(z + e3 * scaled(0.765366865));
    at(6) = down(z - e2 * scaled(1.847759065));
    const int z5 = (d[3] + d[1] + d[2] + d[0]) * scaled(1.175875602);
    const int z1 = -(d[3] + d[0]) * scaled(0.899976223), z2 = -(d[2] + d[1]) * scaled(2.562915447);
    const int z3 = -(d[3] + d[1]) * scaled(1.961570560) + z5, z4 = -(d[2] + d[0]) * scaled(0.390180644) + z5;
    at(7) = down(d[3] * scaled(0.298631336) + z1 + z3);
    at(5) = down(d[2] * scaled(2.053119869) + z2 + z4);
    at(3) = down(d[1] * scaled(3.072711026) + z2 + z3);
    at(1) = down(d[0] * scaled(1.501321110) + z1 + z4);
}

// From pixels to quantised coefficients.
CoefPicture quantised(const TestImage& image, int quality) {
    CoefPicture picture =
        makePicture(static_cast<unsigned>(image.areaWidth()), static_cast<unsigned>(image.areaHeight()),
                    isGrey(image) ? "11" : "22,11,11");
    for (unsigned which = 0; which < picture.components.size(); which++) {
        CoefComponent& c = picture.components[which];
        c.tq = which > 0;
        c.slot = which > 0;
        for (unsigned i = 0; i < c.blocks.size(); i++) {
            const int left = static_cast<int>(i % c.across * 8), top = static_cast<int>(i / c.across * 8);
            int samples[64], coefficients[64];
            for (int n = 0; n < 64; n++) samples[n] = planeSample(image, left + n % 8, top + n / 8, which);
            transformPlainly(samples, coefficients);
            for (unsigned n = 0; n < 64; n++) {
                const int q = tableEntry(c.tq, n, quality), m = (std::abs(coefficients[n]) + q / 2) / q;
                c.blocks[i][n] = static_cast<std::int16_t>(coefficients[n] < 0 ? -m : m);
                picture.quant[c.tq][n] = static_cast<std::uint16_t>(q / 8);
            }
        }
    }
    return picture;
}

StreamPlan planOf(const CoefPicture& picture, Coding coding) {
    if (coding != Coding::progressive) return oneScan(picture);
    StreamPlan plan;
    plan.progressive = true;
    if (picture.components.size() == 1)
        plan.scans = {{{0}, 0, 0, 0, 1},  {{0}, 1, 5, 0, 2}, {{0}, 6, 63, 0, 2},
                      {{0}, 1, 63, 2, 1}, {{0}, 0, 0, 1, 0}, {{0}, 1, 63, 1, 0}};
    else
        plan.scans = {{{0, 1, 2}, 0, 0, 0, 1}, {{0}, 1, 5, 0, 2},  {{2}, 1, 63, 0, 1},
                      {{1}, 1, 63, 0, 1},      {{0}, 6, 63, 0, 2}, {{0}, 1, 63, 2, 1},
                      {{0, 1, 2}, 0, 0, 1, 0}, {{2}, 1, 63, 1, 0}, {{1}, 1, 63, 1, 0},
                      {{0}, 1, 63, 1, 0}};
    return plan;
}

// The values of the usual AC tables have a pattern only in their ends, so that they are spelled out.
HuffmanTable standardTable(unsigned which) {
    static const Bytes counts[4] = {{0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0},
                                    {0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0},
                                    {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125},
                                    {0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 119}};
    // The codes of up to 15 bits; those of 16 bits follow in the order of their symbols.
    static const Bytes shortOnes[4] = {
        {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11},
        {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11},
        {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13,
         0x51, 0x61, 0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xA1, 0x08, 0x23, 0x42,
         0xB1, 0xC1, 0x15, 0x52, 0xD1, 0xF0, 0x24, 0x33, 0x62, 0x72, 0x82},
        {0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61,
         0x71, 0x13, 0x22, 0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xA1, 0xB1, 0xC1, 0x09, 0x23, 0x33,
         0x52, 0xF0, 0x15, 0x62, 0x72, 0xD1, 0x0A, 0x16, 0x24, 0x34, 0xE1, 0x25, 0xF1}};
    Bytes values = shortOnes[which];
    for (int symbol = 1; which >= 2 && symbol < 256; symbol++) {
        const bool exists = symbol % 16 >= 1 && symbol % 16 <= 10;
        if (exists && std::count(shortOnes[which].begin(), shortOnes[which].end(), symbol) == 0)
            values.push_back(static_cast<std::uint8_t>(symbol));
    }
    return {counts[which], values};
}

// Code lengths by symbol (0: no code), as T.81 K.2 has it.
std::vector<unsigned> codeLengths(const std::vector<unsigned>& counts) {
    struct Tree {
        std::uint64_t weight;
        unsigned head;
        std::vector<unsigned> symbols;
    };
    std::vector<Tree> trees;
    for (unsigned i = 0; i < 256; i++)
        if (counts[i]) trees.push_back({counts[i], i, {i}});
    trees.push_back({1, 256, {256}});
    std::vector<unsigned> lengths(257);
    while (trees.size() > 1) {
        std::sort(trees.begin(), trees.end(), [](const Tree& a, const Tree& b) {
            return a.weight != b.weight ? a.weight > b.weight : a.head < b.head;
        });
        Tree first = std::move(trees.back());
        trees.pop_back();
        Tree& second = trees.back();
        first.symbols.insert(first.symbols.end(), second.symbols.begin(), second.symbols.end());
        second = {first.weight + second.weight, first.head, std::move(first.symbols)};
        for (const unsigned symbol : second.symbols) lengths[symbol]++;
    }
    return lengths;
}

}  // namespace

void transformPlainly(const int (&samples)[64], int (&coefficients)[64]) {
    for (int i = 0; i < 64; i++) coefficients[i] = samples[i] - 128;
    for (int y = 0; y < 8; y++) transformLine(coefficients + 8 * y, 1, true);
    for (int x = 0; x < 8; x++) transformLine(coefficients + x, 8, false);
}

HuffmanTable optimalTablePlainly(const std::vector<unsigned>& counts) {
    const std::vector<unsigned> lengths = codeLengths(counts);
    std::vector<unsigned> byLength(300);
    for (const unsigned n : lengths) byLength[n]++;
    // The adjustment of T.81 figure K.3.
    for (unsigned i = 299; i > 16;) {
        if (byLength[i] == 0) {
            i--;
            continue;
        }
        unsigned j = i - 1;
        do j--;
        while (byLength[j] == 0);
        byLength[i] -= 2, byLength[i - 1]++, byLength[j + 1] += 2, byLength[j]--;
    }
    unsigned last = 16;
    while (byLength[last] == 0) last--;
    byLength[last]--;
    Bytes values;
    for (unsigned n = 1; n < 300; n++)
        for (unsigned symbol = 0; symbol < 256; symbol++)
            if (lengths[symbol] == n) values.push_back(static_cast<std::uint8_t>(symbol));
    return {Bytes(byLength.begin() + 1, byLength.begin() + 17), values};
}

Bytes encodePlainly(const TestImage& image, int quality, Coding coding) {
    const CoefPicture picture = quantised(image, quality);
    const StreamPlan plan = planOf(picture, coding);
    const bool grey = isGrey(image);
    Bytes file = {0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 2, 0, 0, 1, 0, 1, 0, 0};
    bool extended = false;
    for (unsigned table = 0; table < (grey ? 1 : 2); table++) {
        const auto& quant = picture.quant[table];
        const bool wide = *std::max_element(quant.begin(), quant.end()) > 255;
        extended |= wide;
        file = file + quantSegment(picture, table, wide);
    }
    file = file + frameSegment(picture, plan.progressive ? 0xC2 : 0xC0 + extended);
    for (const ScanPlan& scan : plan.scans) {
        const auto symbols = symbolsOf(picture, plan, scan);
        HuffmanTables tables;
        for (const unsigned which : {0u, 2u, 1u, 3u}) {
            std::vector<unsigned> counts(256);
            for (const Symbol& s : symbols)
                if (s.table == static_cast<int>(which)) counts[s.symbol]++;
            const bool standard = coding == Coding::standard;
            if (standard ? grey && which % 2 : std::count(counts.begin(), counts.end(), 0u) == 256) continue;
            tables[which] = standard ? standardTable(which) : optimalTablePlainly(counts);
            file = file + huffmanSegment(which, tables[which].definition);
        }
        file = file + scanSegment(picture, plan, scan) + entropyCoded(symbols, tables);
    }
    return file + Bytes{0xFF, 0xD9};
}

}  // namespace test
