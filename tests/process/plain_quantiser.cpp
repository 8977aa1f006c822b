#include "tests/process/plain_quantiser.h"

#include <functional>
#include <memory>

namespace test {
namespace {

int channelOf(Colour colour, int channel) {
    return channel == 0 ? colour.blue : channel == 1 ? colour.green : colour.red;
}

int squaredDistance(Colour a, Colour b) {
    int sum = 0;
    for (int c = 0; c < 3; c++)
        sum += (channelOf(a, c) - channelOf(b, c)) * (channelOf(a, c) - channelOf(b, c));
    return sum;
}

// Largest first. Gaps are found by climbing 1, 4, 13, ... past span / 9; exchanges instead of moves.
template <class T>
void exchangeSort(std::vector<T>& list, const std::function<int(const T&)>& key) {
    const int n = int(list.size());
    int gap = 1;
    while (gap <= n / 9) gap = gap * 3 + 1;
    while (gap > 0) {
        for (int start = gap; start < n; start++)
            for (int at = start; at - gap >= 0; at -= gap) {
                T& left = list[std::size_t(at - gap)];
                T& right = list[std::size_t(at)];
                if (!(key(left) < key(right))) break;
                std::swap(left, right);
            }
        gap /= 3;
    }
}

struct PlainBox {
    std::vector<int> keys;
    unsigned count = 0;
};

int component(int key, int channel) {
    return key / (channel == 2 ? 1024 : channel == 1 ? 32 : 1) % 32;
}

// The nearest leaf of an octree of 4-bit cells. A leaf is named by its path, three bits a level, and keeps
// the colour that came first and the index that came last.
class PlainOctree {
 public:
    explicit PlainOctree(const std::vector<Colour>& palette) {
        for (std::size_t i = 0; i < palette.size(); i++) {
            auto [leaf, isNew] = leaves_.try_emplace(path(palette[i]), Leaf{palette[i], 0});
            leaf->second.index = int(i);
        }
    }
    int find(Colour colour) const {
        int shared = 0;  // levels of the path that some leaf shares
        for (const auto& [leafPath, leaf] : leaves_)
            for (int levels = 1; levels <= 4; levels++)
                if (leafPath >> (12 - 3 * levels) == path(colour) >> (12 - 3 * levels))
                    shared = std::max(shared, levels);
        const int shift = 12 - 3 * std::min(shared, 3);
        int best = 196608, index = -1;
        for (auto leaf = leaves_.rbegin(); leaf != leaves_.rend(); ++leaf) {
            if (leaf->first >> shift != path(colour) >> shift) continue;
            const int d = squaredDistance(leaf->second.colour, colour);
            if (d < best) best = d, index = leaf->second.index;
        }
        return index;
    }

 private:
    struct Leaf {
        Colour colour;
        int index;
    };
    static int path(Colour colour) {
        int p = 0;
        for (int bit = 7; bit >= 4; bit--)
            p = p * 8 + (colour.red >> bit & 1) * 4 + (colour.green >> bit & 1) * 2 +
                (colour.blue >> bit & 1);
        return p;
    }
    std::map<int, Leaf> leaves_;
};

// The first of the nearest colours in the order of a walk from the start of a pixel's value on the axis up to
// the list's beginning, then down to its end.
class PlainAxis {
 public:
    explicit PlainAxis(const std::vector<Colour>& palette) : palette_(palette) {
        int range[3];
        for (int c = 0; c < 3; c++) {
            int low = 255, high = 0;
            for (const Colour colour : palette)
                low = std::min(low, channelOf(colour, c)), high = std::max(high, channelOf(colour, c));
            range[c] = high - low;
        }
        axis_ = plainAxis(range[2], range[1], range[0]);
        for (std::size_t i = 0; i < palette.size(); i++) order_.push_back(int(i));
        exchangeSort<int>(order_, [this](const int& i) { return valueOf(i); });
    }
    int find(Colour colour) const {
        const int start = startFor(channelOf(colour, axis_)), n = int(order_.size());
        std::vector<int> walk;
        for (int i = start; i >= 0; i--) walk.push_back(order_[std::size_t(i)]);
        for (int i = start + 1; i < n; i++) walk.push_back(order_[std::size_t(i)]);
        int best = walk[0];
        for (const int i : walk)
            if (distanceTo(i, colour) < distanceTo(best, colour)) best = i;
        return best;
    }

 private:
    int valueOf(int i) const { return channelOf(palette_[std::size_t(i)], axis_); }
    int distanceTo(int i, Colour colour) const { return squaredDistance(palette_[std::size_t(i)], colour); }
    // The last position that holds the value chosen for v, or 0 above all of them.
    int startFor(int v) const {
        std::map<int, int> lastPosition;
        for (std::size_t i = 0; i < order_.size(); i++) lastPosition[valueOf(order_[i])] = int(i);
        if (v > lastPosition.rbegin()->first) return 0;
        auto above = lastPosition.lower_bound(v);
        if (above->first == v || above == lastPosition.begin()) return above->second;
        const auto below = std::prev(above);
        return v <= below->first + (above->first - below->first) / 2 ? below->second : above->second;
    }
    const std::vector<Colour>& palette_;
    int axis_;
    std::vector<int> order_;
};

// Errors are spread over the whole picture, which is kept in integers.
template <class Find>
Grid<int> matchWith(const Grid<Colour>& picture, const std::vector<Colour>& palette, bool diffused,
                    Find find) {
    Grid<int> indices(picture.width, picture.height);
    Grid<Colour> rest = picture;
    std::map<int, int> known;
    const auto add = [&](int x, int y, int c, int amount) {
        if (x < 0 || x >= rest.width || y >= rest.height) return;
        Colour& colour = rest.at(x, y);
        std::uint8_t& v = c == 0 ? colour.blue : c == 1 ? colour.green : colour.red;
        v = std::uint8_t(std::clamp(v + amount, 0, 255));
    };
    const auto sixteenth = [](int v) { return int(std::floor(v / 16.0)); };
    for (int y = 0; y < picture.height; y++)
        for (int x = 0; x < picture.width; x++) {
            const Colour colour = rest.at(x, y);
            if (!known.count(keyOf(colour))) known[keyOf(colour)] = find(colour);
            const int index = indices.at(x, y) = known[keyOf(colour)];
            if (!diffused) continue;
            for (int c = 0; c < 3; c++) {
                const int e = channelOf(colour, c) - channelOf(palette[std::size_t(index)], c);
                add(x + 1, y, c, sixteenth(7 * e));
                add(x - 1, y + 1, c, sixteenth(3 * e));
                add(x, y + 1, c, sixteenth(5 * e));
                add(x + 1, y + 1, c, sixteenth(e));
            }
        }
    return indices;
}

}  // namespace

int keyOf(Colour colour) {
    return colour.red / 8 * 1024 + colour.green / 8 * 32 + colour.blue / 8;
}

int plainAxis(int redRange, int greenRange, int blueRange) {
    if (blueRange >= redRange && blueRange >= greenRange) return 0;
    return redRange > blueRange && redRange >= greenRange ? 2 : 1;
}

std::vector<Colour> plainMedianCut(const Grid<Colour>& picture, unsigned wanted) {
    std::map<int, unsigned> histogram;
    for (const Colour colour : picture.pixels) {
        unsigned& n = histogram[keyOf(colour)];
        n = std::min(n + 1, 65534u);
    }
    std::vector<PlainBox> boxes(1);
    for (const auto& [key, n] : histogram) boxes[0].keys.push_back(key), boxes[0].count += n;

    while (boxes.size() < wanted) {
        PlainBox* fullest = nullptr;
        for (PlainBox& box : boxes)
            if (box.keys.size() > 1 && (!fullest || box.count > fullest->count)) fullest = &box;
        if (!fullest) break;
        int range[3];
        for (int c = 0; c < 3; c++) {
            const auto [low, high] =
                std::minmax_element(fullest->keys.begin(), fullest->keys.end(),
                                    [c](int a, int b) { return component(a, c) < component(b, c); });
            range[c] = component(*high, c) - component(*low, c);
        }
        const int axis = plainAxis(range[2], range[1], range[0]);
        exchangeSort<int>(fullest->keys, [axis](const int& key) { return component(key, axis); });
        PlainBox lower, upper;
        for (const int key : fullest->keys) {
            const bool full =
                lower.keys.size() == fullest->keys.size() - 1 || lower.count >= fullest->count / 2;
            PlainBox& box = full || !upper.keys.empty() ? upper : lower;
            box.keys.push_back(key);
            box.count += histogram[key];
        }
        *fullest = lower;
        boxes.push_back(upper);
    }

    std::vector<Colour> palette;
    for (const PlainBox& box : boxes) {
        std::uint8_t mean[3];
        for (int c = 0; c < 3; c++) {
            unsigned long long sum = 0;
            for (const int key : box.keys)
                sum += static_cast<unsigned long long>(component(key, c)) * histogram[key];
            const unsigned level = unsigned(sum / box.count);
            mean[c] = std::uint8_t(level * 8 + level / 4);
        }
        palette.push_back({mean[0], mean[1], mean[2]});
    }
    return palette;
}

Grid<int> plainMatch(const Grid<Colour>& picture, const std::vector<Colour>& palette, int mode) {
    const bool diffused = mode == 1 || mode == 3;
    if (mode < 2) {
        const PlainOctree octree(palette);
        return matchWith(picture, palette, diffused, [&](Colour colour) { return octree.find(colour); });
    }
    const PlainAxis axis(palette);
    return matchWith(picture, palette, diffused, [&](Colour colour) { return axis.find(colour); });
}

}  // namespace test
