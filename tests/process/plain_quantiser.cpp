#include "tests/process/plain_quantiser.h"

#include <map>

namespace test {
namespace {

// The same colour in 5 bits a channel.
unsigned inFiveBits(unsigned pixel) {
    return byChannel([&](int c) { return channel(pixel, c) / 8; });
}

int squaredDistance(unsigned a, unsigned b) {
    int sum = 0;
    for (int c = 0; c < 3; c++) sum += (channel(a, c) - channel(b, c)) * (channel(a, c) - channel(b, c));
    return sum;
}

// The channel of the largest range.
int longestAxis(const std::vector<unsigned>& colours) {
    int range[3];
    for (int c = 0; c < 3; c++) {
        const auto [low, high] = std::minmax_element(
            colours.begin(), colours.end(), [c](auto a, auto b) { return channel(a, c) < channel(b, c); });
        range[c] = channel(*high, c) - channel(*low, c);
    }
    if (range[0] >= range[2] && range[0] >= range[1]) return 0;
    return range[2] > range[0] && range[2] >= range[1] ? 2 : 1;
}

// Largest first. Gaps are found by climbing 1, 4, 13, ... past span / 9; exchanges instead of moves.
template <class Key>
void exchangeSort(std::vector<unsigned>& list, Key key) {
    const std::size_t n = list.size();
    std::size_t gap = 1;
    while (gap <= n / 9) gap = gap * 3 + 1;
    for (; gap > 0; gap /= 3)
        for (std::size_t start = gap; start < n; start++)
            for (std::size_t at = start; at >= gap && key(list[at - gap]) < key(list[at]); at -= gap)
                std::swap(list[at - gap], list[at]);
}

struct PlainBox {
    std::vector<unsigned> colours;
    unsigned count = 0;
};

// The nearest leaf of an octree of 4-bit cells. A leaf is named by its path, three bits a level, and keeps
// the colour that came first and the index that came last.
class PlainOctree {
 public:
    explicit PlainOctree(const std::vector<unsigned>& palette) {
        for (unsigned i = 0; i < palette.size(); i++)
            leaves_.try_emplace(path(palette[i]), Choice{0, palette[i]}).first->second.index = i;
    }
    unsigned find(unsigned pixel) const {
        for (int shift = 3;; shift += 3) {  // among those that share three levels, or else fewer
            const Choice* best = nullptr;
            const auto distance = [&](const Choice& leaf) { return squaredDistance(leaf.shown, pixel); };
            for (auto leaf = leaves_.rbegin(); leaf != leaves_.rend(); ++leaf)
                if (leaf->first >> shift == path(pixel) >> shift)
                    if (!best || distance(leaf->second) < distance(*best)) best = &leaf->second;
            if (best) return best->index;
        }
    }

 private:
    static int path(unsigned colour) {
        int p = 0;
        for (int bit = 7; bit >= 4; bit--)
            for (const int c : {2, 1, 0}) p = p * 2 + (channel(colour, c) >> bit & 1);
        return p;
    }
    std::map<int, Choice> leaves_;
};

// The first of the nearest colours in the order of a walk from the start of a pixel's value on the axis up to
// the list's beginning, then down to its end.
class PlainAxis {
 public:
    explicit PlainAxis(const std::vector<unsigned>& palette)
        : palette_(palette), axis_(longestAxis(palette)) {
        for (unsigned i = 0; i < palette.size(); i++) order_.push_back(i);
        exchangeSort(order_, [this](unsigned i) { return channel(palette_[i], axis_); });
        for (unsigned i = 0; i < order_.size(); i++) lastPosition_[channel(palette_[order_[i]], axis_)] = i;
    }
    unsigned find(unsigned pixel) const {
        std::vector<unsigned> walk = order_;
        std::reverse(walk.begin(), walk.begin() + startFor(channel(pixel, axis_)) + 1);
        return *std::min_element(walk.begin(), walk.end(), [&](unsigned a, unsigned b) {
            return squaredDistance(palette_[a], pixel) < squaredDistance(palette_[b], pixel);
        });
    }

 private:
    // The last position that holds the value chosen for v, or 0 above all of them.
    int startFor(int v) const {
        if (v > lastPosition_.rbegin()->first) return 0;
        const auto above = lastPosition_.lower_bound(v);
        if (above->first == v || above == lastPosition_.begin()) return above->second;
        const auto below = std::prev(above);
        return v <= below->first + (above->first - below->first) / 2 ? below->second : above->second;
    }
    const std::vector<unsigned>& palette_;
    const int axis_;
    std::vector<unsigned> order_;
    std::map<int, int> lastPosition_;  // of a value on the axis
};

// Colours of the same 15 bits get what the first of them got.
template <class Finder>
Grid matchWith(const Finder& finder, const Grid& picture, const std::vector<unsigned>& palette,
               bool diffused) {
    std::map<unsigned, unsigned> known;
    const auto choose = [&](unsigned pixel) {
        const auto [found, isNew] = known.try_emplace(inFiveBits(pixel));
        if (isNew) found->second = finder.find(pixel);
        return Choice{found->second, diffused ? palette[found->second] : pixel};
    };
    return diffuseInSixteenths(picture, choose);
}

}  // namespace

std::vector<unsigned> plainMedianCut(const Grid& picture, unsigned wanted) {
    std::map<unsigned, unsigned> histogram;
    for (const unsigned pixel : picture.pixels) {
        unsigned& n = histogram[inFiveBits(pixel)];
        n = std::min(n + 1, 65534u);
    }
    std::vector<PlainBox> boxes(1);
    for (const auto& [colour, n] : histogram) boxes[0].colours.push_back(colour), boxes[0].count += n;

    while (boxes.size() < wanted) {
        PlainBox* fullest = nullptr;
        for (PlainBox& box : boxes)
            if (box.colours.size() > 1 && (!fullest || box.count > fullest->count)) fullest = &box;
        if (!fullest) break;
        const int axis = longestAxis(fullest->colours);
        exchangeSort(fullest->colours, [axis](unsigned colour) { return channel(colour, axis); });
        PlainBox lower, upper;
        for (const unsigned colour : fullest->colours) {
            const bool isFull =
                lower.colours.size() == fullest->colours.size() - 1 || lower.count >= fullest->count / 2;
            PlainBox& box = isFull ? upper : lower;
            box.colours.push_back(colour);
            box.count += histogram[colour];
        }
        *fullest = lower;
        boxes.push_back(upper);
    }

    std::vector<unsigned> palette;
    for (const PlainBox& box : boxes)
        palette.push_back(byChannel([&](int c) {
            std::uint64_t sum = 0;
            for (const unsigned colour : box.colours)
                sum += std::uint64_t{histogram[colour]} * unsigned(channel(colour, c));
            const unsigned level = unsigned(sum / box.count);
            return level * 8 + level / 4;
        }));
    return palette;
}

Grid plainMatch(const Grid& picture, const std::vector<unsigned>& palette, int mode) {
    const bool diffused = mode == 1 || mode == 3;
    if (mode < 2) return matchWith(PlainOctree(palette), picture, palette, diffused);
    return matchWith(PlainAxis(palette), picture, palette, diffused);
}

}  // namespace test
