#include "process/sorted_axis.h"

#include <algorithm>

#include "process/shell_sort.h"

namespace orn32 {
namespace {

int square(int v) {
    return v * v;
}

int distance(const std::uint8_t* a, const std::uint8_t* b) {
    return square(a[0] - b[0]) + square(a[1] - b[1]) + square(a[2] - b[2]);
}

}  // namespace

SortedAxis::SortedAxis(const PaletteTable& palette, unsigned count) : count_(count) {
    int low[3] = {255, 255, 255}, high[3] = {};
    for (unsigned i = 0; i < count; i++) {
        entries_[i].index = static_cast<std::uint8_t>(i);
        for (const Channel channel : {blue, green, red}) {
            const auto value = static_cast<std::uint8_t>(palette.colour[i] >> 8 * channel);
            entries_[i].bgr[channel] = value;
            low[channel] = std::min<int>(low[channel], value);
            high[channel] = std::max<int>(high[channel], value);
        }
    }
    axis_ = widestChannel(high[red] - low[red], high[green] - low[green], high[blue] - low[blue]);
    shellSortDescending(entries_, count, [this](const Entry& entry) { return entry.bgr[axis_]; });
    fillStarts();
}

// A value starts at the nearest of the palette's values, below the middle between two of them at the lower
// one. Of entries with the same value the last in the list stands for it, except above the largest value.
void SortedAxis::fillStarts() {
    const auto valueAt = [this](unsigned position) -> unsigned { return entries_[position].bgr[axis_]; };
    unsigned filled = 0, position = count_ - 1;
    const auto fillTo = [&](unsigned value) {
        while (filled <= value) starts_[filled++] = static_cast<std::uint8_t>(position);
    };
    for (unsigned next = count_ - 1; next-- > 0;) {
        const unsigned a = valueAt(position), b = valueAt(next);
        if (a == b) continue;
        fillTo(a + (b - a) / 2);
        position = next;
    }
    fillTo(valueAt(position));
    position = 0;
    fillTo(255);
}

std::uint8_t SortedAxis::nearest(const std::uint8_t* bgr) const {
    const int value = bgr[axis_];
    const int start = starts_[value];
    const Entry* best = &entries_[start];
    int bestDistance = distance(best->bgr, bgr);
    // False when no entry further on in this direction can be nearer.
    const auto visit = [&](const Entry& entry) {
        if (square(entry.bgr[axis_] - value) >= bestDistance) return false;
        const int d = distance(entry.bgr, bgr);
        if (d < bestDistance) {
            bestDistance = d;
            best = &entry;
        }
        return true;
    };
    for (int i = start - 1; i >= 0 && visit(entries_[i]); i--) {
    }
    for (int i = start + 1; i < static_cast<int>(count_) && visit(entries_[i]); i++) {
    }
    return best->index;
}

}  // namespace orn32
