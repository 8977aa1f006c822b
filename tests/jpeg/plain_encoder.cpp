#include "tests/jpeg/plain_encoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace test {
namespace {

// ---- from pixels to quantised coefficients ---------------------------------------------------------------

using Block = std::array<int, 64>;  // in zigzag order

struct Plane {
    int factor = 1, table = 0;
    int columns = 0, rows = 0;        // blocks, of whole MCUs
    int ownColumns = 0, ownRows = 0;  // those that hold samples of the picture
    std::vector<int> samples;         // columns * 8 in a row
    std::vector<Block> blocks;
    const Block& at(int x, int y) const { return blocks[static_cast<std::size_t>(y * columns + x)]; }
};

struct Picture {
    int width, height;
    std::vector<Plane> planes;
    int mcuSize() const { return planes.size() == 1 ? 8 : 16; }
    int mcusPerRow() const { return (width + mcuSize() - 1) / mcuSize(); }
    int mcuRows() const { return (height + mcuSize() - 1) / mcuSize(); }
};

std::array<int, 64> zigzag() {
    std::array<int, 64> order{};
    int x = 0, y = 0;
    for (int k = 0; k < 64; k++) {
        order[static_cast<unsigned>(k)] = y * 8 + x;
        const bool up = (x + y) % 2 == 0;
        if (up ? x == 7 : y == 7)
            up ? y++ : x++;
        else if (up ? y == 0 : x == 0)
            up ? x++ : y++;
        else
            x += up ? 1 : -1, y += up ? -1 : 1;
    }
    return order;
}

const int lumaTable[64] = {16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
                           14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
                           18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
                           49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};

int chromaEntry(int x, int y) {
    const int corner[4][4] = {{17, 18, 24, 47}, {18, 21, 26, 66}, {24, 26, 56, 99}, {47, 66, 99, 99}};
    return x < 4 && y < 4 ? corner[y][x] : 99;
}

// Eight times the value that goes into the file, and at most 32767.
int tableEntry(int table, int i, int quality) {
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

int component(Colour c, int which) {
    const int r = c.red, g = c.green, b = c.blue;
    if (which == 0) return (19595 * r + 38470 * g + 7471 * b + 32768) >> 16;
    if (which == 1) return (32768 * b - 21709 * g - 11059 * r + 8421375) >> 16;
    return (32768 * r - 27439 * g - 5329 * b + 8421375) >> 16;
}

Picture sample(const TestImage& image) {
    Picture picture = {image.areaWidth(), image.areaHeight(), {}};
    const bool grey = image.bitsPerPixel() == 8 && (image.image.imgkind & 1);
    picture.planes.resize(grey ? 1 : 3);
    const auto at = [&](int x, int y, int which) {
        x = std::min(x, picture.width - 1), y = std::min(y, picture.height - 1);
        if (!grey) return component(colourAt(image, x, y), which);
        return static_cast<int>(
            image.pixel(static_cast<int>(image.image.left) + x, static_cast<int>(image.image.top) + y));
    };
    for (int c = 0; c < static_cast<int>(picture.planes.size()); c++) {
        Plane& plane = picture.planes[static_cast<unsigned>(c)];
        plane.factor = !grey && c == 0 ? 2 : 1;
        plane.table = c > 0;
        plane.columns = picture.mcusPerRow() * plane.factor;
        plane.rows = picture.mcuRows() * plane.factor;
        const int pixelsPerBlock = picture.mcuSize() / plane.factor;
        plane.ownColumns = (picture.width + pixelsPerBlock - 1) / pixelsPerBlock;
        plane.ownRows = (picture.height + pixelsPerBlock - 1) / pixelsPerBlock;
        for (int y = 0; y < plane.rows * 8; y++) {
            for (int x = 0; x < plane.columns * 8; x++) {
                if (c == 0) {
                    plane.samples.push_back(at(x, y, 0));
                    continue;
                }
                const int sum = at(2 * x, 2 * y, c) + at(2 * x + 1, 2 * y, c) + at(2 * x, 2 * y + 1, c) +
                                at(2 * x + 1, 2 * y + 1, c);
                plane.samples.push_back((sum + (x % 2 == 0 ? 1 : 2)) >> 2);
            }
        }
    }
    return picture;
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

void quantise(Picture& picture, int quality) {
    static const auto order = zigzag();
    for (Plane& plane : picture.planes) {
        for (int i = 0; i < plane.columns * plane.rows; i++) {
            int samples[64], coefficients[64];
            const int left = i % plane.columns * 8, top = i / plane.columns * 8;
            for (int n = 0; n < 64; n++)
                samples[n] =
                    plane.samples[static_cast<unsigned>((top + n / 8) * plane.columns * 8 + left + n % 8)];
            transformPlainly(samples, coefficients);
            Block block;
            for (unsigned k = 0; k < 64; k++) {
                const int c = coefficients[order[k]], q = tableEntry(plane.table, order[k], quality);
                const int m = (std::abs(c) + q / 2) / q;
                block[k] = c < 0 ? -m : m;
            }
            plane.blocks.push_back(block);
        }
    }
}

// ---- scans as lists of symbols ---------------------------------------------------------------------------

struct Symbol {
    int table;  // 0, 1: DC; 2, 3: AC; -1: only bits
    int symbol;
    std::vector<bool> bits;
};

struct Scan {
    std::vector<int> components;
    int ss, se, ah, al;
};

std::vector<bool> bitsOf(int value, int count) {
    std::vector<bool> bits;
    for (int i = count - 1; i >= 0; i--) bits.push_back(value >> i & 1);
    return bits;
}

int bitLength(int value) {
    int n = 0;
    for (value = std::abs(value); value; value >>= 1) n++;
    return n;
}

std::vector<bool> magnitudeBits(int value) {
    return bitsOf(value < 0 ? value - 1 : value, bitLength(value));
}

class ScanLister {
 public:
    ScanLister(const Picture& picture, const Scan& scan) : picture_(picture), scan_(scan) {
        if (scan.ss == 0)
            listMcus();
        else
            listBand();
    }
    std::vector<Symbol> symbols;

 private:
    void add(int table, int symbol, std::vector<bool> bits = {}) {
        symbols.push_back({table, symbol, std::move(bits)});
    }

    void listMcus() {
        std::vector<int> predictors(3);
        for (int my = 0; my < picture_.mcuRows(); my++)
            for (int mx = 0; mx < picture_.mcusPerRow(); mx++)
                for (const int c : scan_.components) {
                    const Plane& plane = picture_.planes[static_cast<unsigned>(c)];
                    for (int i = 0; i < plane.factor * plane.factor; i++)
                        listMcuBlock(plane,
                                     plane.at(mx * plane.factor + i % plane.factor,
                                              my * plane.factor + i / plane.factor),
                                     predictors[static_cast<unsigned>(c)]);
                }
    }

    void listMcuBlock(const Plane& plane, const Block& block, int& predictor) {
        if (scan_.ah) return add(-1, 0, bitsOf(block[0] >> scan_.al, 1));
        const int dc = block[0] >> scan_.al;
        add(plane.table, bitLength(dc - predictor), magnitudeBits(dc - predictor));
        predictor = dc;
        if (scan_.se == 0) return;
        int zeros = 0;
        for (unsigned k = 1; k < 64; k++) {
            if (block[k] == 0) {
                zeros++;
                continue;
            }
            for (; zeros > 15; zeros -= 16) add(2 + plane.table, 0xF0);
            add(2 + plane.table, zeros * 16 + bitLength(block[k]), magnitudeBits(block[k]));
            zeros = 0;
        }
        if (zeros) add(2 + plane.table, 0);
    }

    void listBand() {
        const Plane& plane = picture_.planes[static_cast<unsigned>(scan_.components[0])];
        table_ = 2 + plane.table;
        for (int y = 0; y < plane.ownRows; y++)
            for (int x = 0; x < plane.ownColumns; x++) {
                Block block = plane.at(x, y);
                for (int& c : block) c = c < 0 ? -(-c >> scan_.al) : c >> scan_.al;
                scan_.ah ? refine(block) : first(block);
            }
        endRun();
    }

    void endRun() {
        if (run_ == 0) return;
        const int n = bitLength(run_) - 1;
        add(table_, n * 16, bitsOf(run_ - (1 << n), n));
        add(-1, 0, std::move(runBits_));
        run_ = 0;
        runBits_.clear();
    }

    void extendRun(const std::vector<bool>& bits) {
        runBits_.insert(runBits_.end(), bits.begin(), bits.end());
        if (++run_ == 32767) endRun();
    }

    void first(const Block& block) {
        int zeros = 0;
        for (int k = scan_.ss; k <= scan_.se; k++) {
            const int c = block[static_cast<unsigned>(k)];
            if (c == 0) {
                zeros++;
                continue;
            }
            endRun();
            for (; zeros > 15; zeros -= 16) add(table_, 0xF0);
            add(table_, zeros * 16 + bitLength(c), magnitudeBits(c));
            zeros = 0;
        }
        if (zeros) extendRun({});
    }

    void refine(const Block& block) {
        int lastNew = 0, zeros = 0;
        for (int k = scan_.ss; k <= scan_.se; k++)
            if (std::abs(block[static_cast<unsigned>(k)]) == 1) lastNew = k;
        std::vector<bool> pending;
        const auto flush = [&] {
            add(-1, 0, pending);
            pending.clear();
        };
        for (int k = scan_.ss; k <= scan_.se; k++) {
            const int c = block[static_cast<unsigned>(k)];
            if (c == 0) {
                zeros++;
                continue;
            }
            for (; zeros > 15 && k <= lastNew; zeros -= 16) {
                endRun();
                add(table_, 0xF0);
                flush();
            }
            if (std::abs(c) > 1) {
                pending.push_back(std::abs(c) & 1);
                continue;
            }
            endRun();
            add(table_, zeros * 16 + 1, {c > 0});
            flush();
            zeros = 0;
        }
        if (zeros || !pending.empty()) extendRun(pending);
    }

    const Picture& picture_;
    const Scan& scan_;
    int table_ = 0, run_ = 0;
    std::vector<bool> runBits_;
};

std::vector<Scan> scansOf(bool grey, Coding coding) {
    if (coding != Coding::progressive)
        return {{grey ? std::vector<int>{0} : std::vector<int>{0, 1, 2}, 0, 63, 0, 0}};
    if (grey)
        return {{{0}, 0, 0, 0, 1},  {{0}, 1, 5, 0, 2}, {{0}, 6, 63, 0, 2},
                {{0}, 1, 63, 2, 1}, {{0}, 0, 0, 1, 0}, {{0}, 1, 63, 1, 0}};
    return {{{0, 1, 2}, 0, 0, 0, 1}, {{0}, 1, 5, 0, 2},  {{2}, 1, 63, 0, 1},      {{1}, 1, 63, 0, 1},
            {{0}, 6, 63, 0, 2},      {{0}, 1, 63, 2, 1}, {{0, 1, 2}, 0, 0, 1, 0}, {{2}, 1, 63, 1, 0},
            {{1}, 1, 63, 1, 0},      {{0}, 1, 63, 1, 0}};
}

// ---- tables ----------------------------------------------------------------------------------------------

struct Table {
    int counts[17] = {};
    std::vector<int> values;
    std::vector<bool> code[256];

    void assignCodes() {
        int code_ = 0;
        unsigned next = 0;
        for (int length = 1; length <= 16; length++, code_ <<= 1)
            for (int i = 0; i < counts[length]; i++) code[values[next++]] = bitsOf(code_++, length);
    }
};

// The values of the usual AC tables have a pattern only in their ends, so that they are spelled out.
Table standardTable(int which) {
    static const int counts[4][16] = {{0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0},
                                      {0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0},
                                      {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125},
                                      {0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 119}};
    // The codes of up to 15 bits; those of 16 bits follow in the order of their symbols.
    static const std::vector<int> shortOnes[4] = {
        {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11},
        {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11},
        {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13,
         0x51, 0x61, 0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xA1, 0x08, 0x23, 0x42,
         0xB1, 0xC1, 0x15, 0x52, 0xD1, 0xF0, 0x24, 0x33, 0x62, 0x72, 0x82},
        {0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61,
         0x71, 0x13, 0x22, 0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xA1, 0xB1, 0xC1, 0x09, 0x23, 0x33,
         0x52, 0xF0, 0x15, 0x62, 0x72, 0xD1, 0x0A, 0x16, 0x24, 0x34, 0xE1, 0x25, 0xF1}};
    Table table;
    std::copy_n(counts[which], 16, table.counts + 1);
    table.values = shortOnes[which];
    for (int symbol = 1; which >= 2 && symbol < 256; symbol++) {
        const bool exists = symbol % 16 >= 1 && symbol % 16 <= 10;
        if (exists &&
            std::find(shortOnes[which].begin(), shortOnes[which].end(), symbol) == shortOnes[which].end())
            table.values.push_back(symbol);
    }
    table.assignCodes();
    return table;
}

Table optimalTable(const std::vector<unsigned>& counts) {
    const std::vector<int> lengths = codeLengthsPlainly(counts);
    Table table;
    std::vector<int> byLength(300);
    for (const int n : lengths) byLength[static_cast<unsigned>(n)]++;
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
    std::copy_n(byLength.begin() + 1, 16, table.counts + 1);
    for (int n = 1; n < 300; n++)
        for (int symbol = 0; symbol < 256; symbol++)
            if (lengths[static_cast<unsigned>(symbol)] == n) table.values.push_back(symbol);
    table.assignCodes();
    return table;
}

// ---- the file --------------------------------------------------------------------------------------------

struct File {
    Bytes bytes;
    void byte(int value) { bytes.push_back(static_cast<std::uint8_t>(value)); }
    void word(int value) { byte(value >> 8), byte(value); }
    void segment(int marker, int length) { byte(0xFF), byte(marker), word(length); }

    void entropy(const std::vector<Symbol>& symbols, const std::array<Table, 4>& tables) {
        std::vector<bool> bits;
        for (const Symbol& s : symbols) {
            if (s.table >= 0) {
                const auto& code = tables[static_cast<unsigned>(s.table)].code[s.symbol];
                bits.insert(bits.end(), code.begin(), code.end());
            }
            bits.insert(bits.end(), s.bits.begin(), s.bits.end());
        }
        while (bits.size() % 8) bits.push_back(true);
        for (std::size_t i = 0; i < bits.size(); i += 8) {
            int value = 0;
            for (std::size_t j = 0; j < 8; j++) value = value * 2 + bits[i + j];
            byte(value);
            if (value == 0xFF) byte(0);
        }
    }

    void huffman(int which, const Table& table) {
        segment(0xC4, 19 + static_cast<int>(table.values.size()));
        byte((which >= 2 ? 0x10 : 0) + which % 2);
        for (int n = 1; n <= 16; n++) byte(table.counts[n]);
        for (const int value : table.values) byte(value);
    }

    void scanHeader(const Scan& scan, bool progressive) {
        segment(0xDA, 6 + 2 * static_cast<int>(scan.components.size()));
        byte(static_cast<int>(scan.components.size()));
        for (const int c : scan.components) {
            const bool dc = !progressive || (scan.ss == 0 && scan.ah == 0), ac = !progressive || scan.ss > 0;
            byte(c + 1);
            byte(c > 0 ? (dc ? 0x10 : 0) + (ac ? 1 : 0) : 0);
        }
        byte(scan.ss), byte(scan.se), byte(scan.ah * 16 + scan.al);
    }
};

void writeFrame(File& file, const Picture& picture, int quality, bool progressive) {
    static const auto order = zigzag();
    bool extended = false;
    for (int table = 0; table < (picture.planes.size() == 1 ? 1 : 2); table++) {
        bool wide = false;
        for (int i = 0; i < 64; i++) wide |= tableEntry(table, i, quality) / 8 > 255;
        extended |= wide;
        file.segment(0xDB, wide ? 131 : 67);
        file.byte((wide ? 0x10 : 0) + table);
        for (const int i : order)
            wide ? file.word(tableEntry(table, i, quality) / 8)
                 : file.byte(tableEntry(table, i, quality) / 8);
    }
    file.segment(progressive ? 0xC2
                 : extended  ? 0xC1
                             : 0xC0,
                 8 + 3 * static_cast<int>(picture.planes.size()));
    file.byte(8), file.word(picture.height), file.word(picture.width);
    file.byte(static_cast<int>(picture.planes.size()));
    for (int c = 0; c < static_cast<int>(picture.planes.size()); c++) {
        const Plane& plane = picture.planes[static_cast<unsigned>(c)];
        file.byte(c + 1), file.byte(plane.factor * 17), file.byte(plane.table);
    }
}

}  // namespace

void transformPlainly(const int (&samples)[64], int (&coefficients)[64]) {
    for (int i = 0; i < 64; i++) coefficients[i] = samples[i] - 128;
    for (int y = 0; y < 8; y++) transformLine(coefficients + 8 * y, 1, true);
    for (int x = 0; x < 8; x++) transformLine(coefficients + x, 8, false);
}

std::vector<int> codeLengthsPlainly(const std::vector<unsigned>& counts) {
    struct Tree {
        std::uint64_t weight;
        int head;
        std::vector<int> symbols;
    };
    std::vector<Tree> trees;
    for (int i = 0; i < 256; i++)
        if (counts[static_cast<unsigned>(i)]) trees.push_back({counts[static_cast<unsigned>(i)], i, {i}});
    trees.push_back({1, 256, {256}});
    std::vector<int> lengths(257);
    while (trees.size() > 1) {
        std::sort(trees.begin(), trees.end(), [](const Tree& a, const Tree& b) {
            return a.weight != b.weight ? a.weight > b.weight : a.head < b.head;
        });
        Tree first = std::move(trees.back());
        trees.pop_back();
        Tree& second = trees.back();
        first.symbols.insert(first.symbols.end(), second.symbols.begin(), second.symbols.end());
        second = {first.weight + second.weight, first.head, std::move(first.symbols)};
        for (const int symbol : second.symbols) lengths[static_cast<unsigned>(symbol)]++;
    }
    return lengths;
}

Bytes encodePlainly(const TestImage& image, int quality, Coding coding) {
    Picture picture = sample(image);
    quantise(picture, quality);
    const bool grey = picture.planes.size() == 1, progressive = coding == Coding::progressive;
    File file;
    file.bytes = {0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 2, 0, 0, 1, 0, 1, 0, 0};
    writeFrame(file, picture, quality, progressive);
    for (const Scan& scan : scansOf(grey, coding)) {
        const auto symbols = ScanLister(picture, scan).symbols;
        std::array<Table, 4> tables;
        for (const int which : {0, 2, 1, 3}) {
            std::vector<unsigned> counts(256);
            for (const Symbol& s : symbols)
                if (s.table == which) counts[static_cast<unsigned>(s.symbol)]++;
            const bool standard = coding == Coding::standard;
            if (standard ? grey && which % 2 : std::count(counts.begin(), counts.end(), 0u) == 256) continue;
            Table& table = tables[static_cast<unsigned>(which)];
            table = standard ? standardTable(which) : optimalTable(counts);
            file.huffman(which, table);
        }
        file.scanHeader(scan, progressive);
        file.entropy(symbols, tables);
    }
    file.byte(0xFF), file.byte(0xD9);
    return file.bytes;
}

}  // namespace test
