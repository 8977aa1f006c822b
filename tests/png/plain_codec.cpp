#include "tests/png/plain_codec.h"

#include <zlib.h>

#include <cstdlib>
#include <stdexcept>

namespace test {
namespace {

// The pass that each pixel of an 8x8 block belongs to.
const int passOf[8][8] = {{1, 6, 4, 6, 2, 6, 4, 6}, {7, 7, 7, 7, 7, 7, 7, 7}, {5, 6, 5, 6, 5, 6, 5, 6},
                          {7, 7, 7, 7, 7, 7, 7, 7}, {3, 6, 4, 6, 3, 6, 4, 6}, {7, 7, 7, 7, 7, 7, 7, 7},
                          {5, 6, 5, 6, 5, 6, 5, 6}, {7, 7, 7, 7, 7, 7, 7, 7}};

int guess(unsigned filter, const Bytes& row, const Bytes& above, std::size_t i, unsigned step) {
    const int a = i >= step ? row[i - step] : 0, b = above[i], c = i >= step ? above[i - step] : 0;
    const int pa = std::abs(b - c), pb = std::abs(a - c), pc = std::abs(a + b - 2 * c);
    const int guesses[] = {0, a, b, (a + b) / 2, pa <= pb && pa <= pc ? a : pb <= pc ? b : c};
    return filter < 5 ? guesses[filter] : 0;
}

// Calls visit(columns of the row's pixels, y, whether the row is its pass's first) for every row in file
// order.
void forEachRow(const Picture& picture,
                const std::function<void(const std::vector<unsigned>&, unsigned, bool)>& visit) {
    for (int pass = 1; pass <= 7; pass++) {
        bool first = true;
        for (unsigned y = 0; y < picture.height; y++) {
            std::vector<unsigned> columns;
            for (unsigned x = 0; x < picture.width; x++)
                if (!picture.interlaced || passOf[y % 8][x % 8] == pass) columns.push_back(x);
            if (columns.empty()) continue;
            visit(columns, y, first);
            first = false;
        }
        if (!picture.interlaced) return;
    }
}

unsigned stepOf(const Picture& picture) {
    return (picture.depth * picture.channels() + 7) / 8;
}

void putBits(Bytes& row, std::size_t at, unsigned depth, unsigned value) {
    for (unsigned i = 0; i < depth; i++, at++)
        if (value >> (depth - 1 - i) & 1)
            row[at / 8] = static_cast<std::uint8_t>(row[at / 8] | 0x80 >> at % 8);
}

unsigned getBits(const Bytes& row, std::size_t at, unsigned depth) {
    unsigned value = 0;
    for (unsigned i = 0; i < depth; i++, at++) value = value << 1 | (row[at / 8] >> (7 - at % 8) & 1);
    return value;
}

}  // namespace

unsigned Picture::dibPixel(unsigned x, unsigned y) {
    const auto byteOf = [&](unsigned c) { return depth == 16 ? sample(x, y, c) >> 8 : sample(x, y, c); };
    if (type == 2 || type == 6) return byteOf(2) | byteOf(1) << 8 | byteOf(0) << 16;
    if (type == 0 && depth == 2) return sample(x, y, 0) * 85;
    if (type == 0 && depth == 4) return sample(x, y, 0) * 17;
    return byteOf(0);
}

Picture randomPicture(Random& random, unsigned width, unsigned height, unsigned depth, unsigned type) {
    Picture picture = {width, height, depth, type, random.oneIn(2), {}};
    picture.samples.resize(std::size_t{width} * height * picture.channels());
    const bool smooth = random.oneIn(2);  // neighbours alike, so that the filters' guesses meet
    unsigned last = 0;
    for (unsigned& s : picture.samples) {
        last = smooth ? last + random.below(5) - 2 : random.next();
        s = last & ((1u << depth) - 1);
    }
    return picture;
}

Bytes fileOf(Picture& p, Random& random, const std::vector<Chunk>& others, std::size_t dataSize) {
    const auto anyFilter = [&](auto&&...) { return random.oneIn(50) ? random.below(256) : random.below(5); };
    std::vector<Chunk> chunks = dataChunks(compressed(filteredRows(p, anyFilter)), dataSize);
    chunks.insert(chunks.begin(), others.begin(), others.end());
    return pngFile(headerChunk(p.width, p.height, p.depth, p.type, p.interlaced), chunks);
}

Bytes plainFilter(unsigned filter, const Bytes& row, const Bytes& above, unsigned step) {
    Bytes out(row.size());
    for (std::size_t i = 0; i < row.size(); i++)
        out[i] = static_cast<std::uint8_t>(row[i] - guess(filter, row, above, i, step));
    return out;
}

Bytes plainUnfilter(unsigned filter, Bytes row, const Bytes& above, unsigned step) {
    for (std::size_t i = 0; i < row.size(); i++)
        row[i] = static_cast<std::uint8_t>(row[i] + guess(filter, row, above, i, step));
    return row;
}

unsigned plainBestFilter(const Bytes& row, const Bytes& above, unsigned step) {
    unsigned best = 0, bestSum = ~0u;
    for (unsigned filter = 0; filter < 5; filter++) {
        unsigned sum = 0;
        for (const std::uint8_t b : plainFilter(filter, row, above, step)) sum += b < 128 ? b : 256u - b;
        if (sum < bestSum) best = filter, bestSum = sum;
    }
    return best;
}

Bytes filteredRows(Picture& picture, const PickFilter& pickFilter) {
    Bytes out, above;
    const unsigned n = picture.channels();
    forEachRow(picture, [&](const std::vector<unsigned>& columns, unsigned y, bool first) {
        Bytes row((columns.size() * picture.depth * n + 7) / 8);
        std::size_t at = 0;
        for (const unsigned x : columns)
            for (unsigned c = 0; c < n; c++, at += picture.depth)
                putBits(row, at, picture.depth, picture.sample(x, y, c));
        if (first) above.assign(row.size(), 0);
        const unsigned filter = pickFilter(row, above, stepOf(picture));
        out.push_back(static_cast<std::uint8_t>(filter));
        out = std::move(out) + plainFilter(filter, row, above, stepOf(picture));
        above = row;
    });
    return out;
}

Bytes rowsOf(const Bytes& file) {
    Bytes data;
    for (const Chunk& chunk : chunksOf(file))
        if (chunk.type == "IDAT") data = std::move(data) + chunk.data;
    Bytes rows;
    int result = Z_BUF_ERROR;
    for (uLongf size = 1 << 17; result == Z_BUF_ERROR && size <= 1 << 28; size *= 2) {
        rows.resize(size);
        uLongf length = size;
        result = uncompress(rows.data(), &length, data.data(), data.size());
        rows.resize(length);
    }
    if (result != Z_OK) throw std::runtime_error("compressed data");
    return rows;
}

Picture decoded(const Bytes& file) {
    const Bytes h = chunksOf(file).at(0).data, rows = rowsOf(file);
    Picture picture = {
        fromBigEndian32(&h.at(0)), fromBigEndian32(&h.at(4)), h.at(8), h.at(9), h.at(12) == 1, {}};
    const unsigned n = picture.channels();
    picture.samples.resize(std::size_t{picture.width} * picture.height * n);
    std::size_t at = 0;
    Bytes above;
    forEachRow(picture, [&](const std::vector<unsigned>& columns, unsigned y, bool first) {
        const std::size_t length = (columns.size() * picture.depth * n + 7) / 8;
        if (at + 1 + length > rows.size()) throw std::runtime_error("too few rows");
        if (first) above.assign(length, 0);
        const Bytes row = plainUnfilter(rows[at], slice(rows, at + 1, length), above, stepOf(picture));
        std::size_t bit = 0;
        for (const unsigned x : columns)
            for (unsigned c = 0; c < n; c++, bit += picture.depth)
                picture.sample(x, y, c) = getBits(row, bit, picture.depth);
        above = row;
        at += 1 + length;
    });
    if (at != rows.size()) throw std::runtime_error("too many rows");
    return picture;
}

}  // namespace test
