// The photograph with 256 colours of its own, as a program has it that saves a photograph as a GIF.
#include <algorithm>
#include <array>

#include "pictures.h"

namespace bench {
namespace {

// Colours are counted with 5 bits for each channel.
constexpr unsigned bins = 1u << 15;
unsigned binOf(const std::uint8_t* p) {
    return p[0] >> 3 | p[1] >> 3 << 5 | p[2] >> 3 << 10;
}
unsigned channelOf(unsigned bin, unsigned channel) {
    return bin >> 5 * channel & 31;
}

struct Box {
    std::vector<unsigned> colours;  // bins that occur
    std::uint64_t pixels = 0;
    unsigned longest = 0, extent = 0;  // its longest side
};

void measure(Box& box, const std::vector<std::uint32_t>& counts) {
    std::array<unsigned, 3> low = {31, 31, 31}, high = {0, 0, 0};
    box.pixels = 0;
    for (const unsigned bin : box.colours) {
        box.pixels += counts[bin];
        for (unsigned c = 0; c < 3; c++) {
            low[c] = std::min(low[c], channelOf(bin, c));
            high[c] = std::max(high[c], channelOf(bin, c));
        }
    }
    box.longest = 0;
    for (unsigned c = 0; c < 3; c++)
        if (high[c] - low[c] >= high[box.longest] - low[box.longest]) box.longest = c;
    box.extent = high[box.longest] - low[box.longest];
}

// Takes the half with the higher values out of a box.
Box split(Box& box, const std::vector<std::uint32_t>& counts) {
    std::sort(box.colours.begin(), box.colours.end(), [&](unsigned a, unsigned b) {
        const unsigned x = channelOf(a, box.longest), y = channelOf(b, box.longest);
        return x != y ? x < y : a < b;
    });
    std::uint64_t before = 0;
    std::size_t cut = 0;
    while (cut + 2 < box.colours.size() && before + counts[box.colours[cut]] < box.pixels / 2)
        before += counts[box.colours[cut++]];
    Box upper;
    upper.colours.assign(box.colours.begin() + static_cast<std::ptrdiff_t>(cut) + 1, box.colours.end());
    box.colours.resize(cut + 1);
    measure(box, counts);
    measure(upper, counts);
    return upper;
}

std::vector<Box> medianCut(const std::vector<std::uint32_t>& counts) {
    std::vector<Box> boxes(1);
    for (unsigned bin = 0; bin < bins; bin++)
        if (counts[bin]) boxes[0].colours.push_back(bin);
    measure(boxes[0], counts);
    while (boxes.size() < 256) {
        const auto largest = std::max_element(boxes.begin(), boxes.end(), [](const Box& a, const Box& b) {
            return a.pixels * a.extent < b.pixels * b.extent;
        });
        if (largest->extent == 0) break;
        boxes.push_back(split(*largest, counts));
    }
    return boxes;
}

Picture reduce(const Picture& from) {
    std::vector<std::uint32_t> counts(bins);
    const std::size_t pixels = std::size_t{from.width} * from.height;
    for (std::size_t i = 0; i < pixels; i++) counts[binOf(&from.pixels[i * 3])]++;
    const std::vector<Box> boxes = medianCut(counts);
    Picture to = {from.width, from.height, 8, Bytes(pixels), Bytes(256 * 4)};
    std::vector<std::uint8_t> indices(bins);
    for (std::size_t k = 0; k < boxes.size(); k++) {
        std::array<std::uint64_t, 3> sum = {};
        for (const unsigned bin : boxes[k].colours) {
            indices[bin] = static_cast<std::uint8_t>(k);
            for (unsigned c = 0; c < 3; c++)
                sum[c] += std::uint64_t{counts[bin]} * (channelOf(bin, c) * 8 + 4);
        }
        for (unsigned c = 0; c < 3; c++)
            to.palette[k * 4 + c] =
                static_cast<std::uint8_t>(sum[c] / std::max<std::uint64_t>(boxes[k].pixels, 1));
    }
    for (std::size_t i = 0; i < pixels; i++) to.pixels[i] = indices[binOf(&from.pixels[i * 3])];
    return to;
}

}  // namespace

const Picture& photograph256() {
    static const Picture picture = reduce(photograph());
    return picture;
}

}  // namespace bench
