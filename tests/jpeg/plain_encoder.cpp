#include "tests/jpeg/plain_jpeg.h"

#include <algorithm>
#include <cstdlib>
#include <set>
#include <tuple>

#include "jpeg/huffman_codes.h"

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

bool isGrey(const TestImage& image) {
    return image.bitsPerPixel() == 8 && (image.image.imgkind & 1);
}

// A sample of the area, whose last row and column go on for ever.
int sampleAt(const TestImage& image, unsigned x, unsigned y, unsigned component) {
    const int column = int(image.image.left + std::min(x, unsigned(image.areaWidth()) - 1));
    const int row = int(image.image.top + std::min(y, unsigned(image.areaHeight()) - 1));
    const unsigned value = image.pixel(column, row);
    if (isGrey(image)) return int(value);
    const RGBQUAD& entry = image.image.palette[value % 256];
    if (image.bitsPerPixel() == 8)
        return convertPlainly({entry.rgbBlue, entry.rgbGreen, entry.rgbRed})[component];
    return convertPlainly(
        {std::uint8_t(value), std::uint8_t(value >> 8), std::uint8_t(value >> 16)})[component];
}

// A sample of a plane, which is of half the size if it has chroma.
int planeSample(const TestImage& image, unsigned x, unsigned y, unsigned component) {
    if (component == 0) return sampleAt(image, x, y, 0);
    int sum = x % 2 == 0 ? 1 : 2;
    for (unsigned i = 0; i < 4; i++) sum += sampleAt(image, 2 * x + i % 2, 2 * y + i / 2, component);
    return sum >> 2;
}

// From pixels to quantised coefficients.
CoefPicture quantised(const TestImage& image, int quality) {
    CoefPicture picture = makePicture(unsigned(image.areaWidth()), unsigned(image.areaHeight()),
                                      isGrey(image) ? "11" : "22,11,11");
    for (unsigned component = 0; component < picture.components.size(); component++) {
        CoefComponent& c = picture.components[component];
        c.tq = c.slot = component > 0;
        for (unsigned i = 0; i < c.blocks.size(); i++) {
            const unsigned left = i % c.across * 8, top = i / c.across * 8;
            std::array<int, 64> samples;
            for (unsigned n = 0; n < 64; n++)
                samples[n] = planeSample(image, left + n % 8, top + n / 8, component);
            const auto coefficients = transformPlainly(samples);
            for (unsigned n = 0; n < 64; n++) {
                const int q = tableEntry(c.tq, n, quality), m = (std::abs(coefficients[n]) + q / 2) / q;
                c.blocks[i][n] = std::int16_t(coefficients[n] < 0 ? -m : m);
                picture.quant[c.tq][n] = std::uint16_t(q / 8);
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

// The library's own tables; that they are T.81's is seen by other decoders and by pinned files.
HuffmanTable standardTable(unsigned which) {
    const auto& own = which < 2 ? orn32::jpeg::standardDc[which] : orn32::jpeg::standardAc[which - 2];
    return {Bytes(std::begin(own.counts), std::end(own.counts)), Bytes(own.values, own.values + own.total())};
}

// Code lengths by symbol (0: no code), as T.81 K.2 has it.
std::vector<unsigned> codeLengths(const std::vector<unsigned>& counts) {
    using Tree = std::tuple<std::uint64_t, int, std::vector<unsigned>>;  // weight, less the head, symbols
    std::set<Tree> trees = {{1, -256, {256}}};
    for (unsigned i = 0; i < 256; i++)
        if (counts[i]) trees.insert({counts[i], -int(i), {i}});
    std::vector<unsigned> lengths(257);
    while (trees.size() > 1) {
        auto [weight, head, symbols] = trees.extract(trees.begin()).value();
        const auto [otherWeight, otherHead, others] = trees.extract(trees.begin()).value();
        symbols.insert(symbols.end(), others.begin(), others.end());
        for (const unsigned symbol : symbols) lengths[symbol]++;
        trees.insert({weight + otherWeight, head, symbols});
    }
    return lengths;
}

}  // namespace

std::array<int, 3> convertPlainly(Colour colour) {
    const auto [b, g, r] = colour;
    return {(19595 * r + 38470 * g + 7471 * b + 32768) >> 16,
            (32768 * b - 21709 * g - 11059 * r + 8421375) >> 16,
            (32768 * r - 27439 * g - 5329 * b + 8421375) >> 16};
}

HuffmanTable optimalTablePlainly(const std::vector<unsigned>& counts) {
    const std::vector<unsigned> lengths = codeLengths(counts);
    std::vector<unsigned> byLength(300);
    for (const unsigned n : lengths) byLength[n]++;
    // The adjustment of T.81 figure K.3.
    for (unsigned i = 299; i > 16; i--)
        while (byLength[i] > 0) {
            unsigned j = i - 2;
            while (byLength[j] == 0) j--;
            byLength[i] -= 2, byLength[i - 1]++, byLength[j + 1] += 2, byLength[j]--;
        }
    unsigned last = 16;
    while (byLength[last] == 0) last--;
    byLength[last]--;
    Bytes values;
    for (unsigned n = 1; n < 300; n++)
        for (unsigned symbol = 0; symbol < 256; symbol++)
            if (lengths[symbol] == n) values.push_back(std::uint8_t(symbol));
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
                if (s.table == which) counts[s.symbol]++;
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
