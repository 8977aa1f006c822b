// Median cut on colours of 5 bits per channel: the box with most pixels is cut at its median along its
// longest side until there are as many boxes as colours are wanted.
#include "process/median_cut.h"

#include <algorithm>
#include <cstdint>

#include "core/area.h"
#include "core/memory.h"
#include "process/colour_key.h"
#include "process/shell_sort.h"

namespace orn32 {
namespace {

// Counters count all pixels, but none stands for more than this many.
using Counter = std::uint32_t;
constexpr Counter fullCounter = 65534;

// A run of the colour list, first to last, and the pixels that have its colours.
struct Box {
    std::uint32_t count;
    std::uint32_t first;
    std::uint32_t last;

    std::uint32_t span() const { return last - first + 1; }
};

void countColours(Counter* histogram, const imgdes& source, Size size) {
    const AreaRows rows(source);
    for (unsigned y = 0; y < size.height; y++)
        forEachKey(rows[y], size.width, [histogram](unsigned, unsigned key) { histogram[key]++; });
    for (unsigned key = 0; key < colourKeys; key++) histogram[key] = std::min(histogram[key], fullCounter);
}

class MedianCut {
 public:
    // colours: the keys that occur, ascending. boxes: room for as many as will be asked for.
    MedianCut(const Counter* histogram, std::uint16_t* colours, std::uint32_t colourCount, Box* boxes)
        : histogram_(histogram), colours_(colours), boxes_(boxes), boxCount_(1) {
        boxes[0] = {0, 0, colourCount - 1};
        for (std::uint32_t i = 0; i < colourCount; i++) boxes[0].count += histogram[colours[i]];
    }

    void cut(unsigned wanted) {
        while (boxCount_ < wanted) {
            Box* box = fullestBox();
            if (!box) return;
            split(*box);
        }
    }

    unsigned boxCount() const { return boxCount_; }

    // The mean colour of a box, widened to 8 bits; reserved stays.
    void mean(const Box& box, RGBQUAD& entry) const {
        // A box may hold 2^31 pixels, of components up to 31.
        std::uint64_t sum[3] = {};
        for (std::uint32_t i = box.first; i <= box.last; i++)
            for (const Channel channel : {blue, green, red})
                sum[channel] += std::uint64_t{keyChannel(colours_[i], channel)} * histogram_[colours_[i]];
        const auto widened = [&](Channel channel) {
            const auto v = static_cast<unsigned>(sum[channel] / box.count);
            return static_cast<BYTE>(v << 3 | v >> 2);
        };
        entry.rgbBlue = widened(blue);
        entry.rgbGreen = widened(green);
        entry.rgbRed = widened(red);
    }

 private:
    // Of the boxes that can be cut, the one with most pixels; the first of equals.
    Box* fullestBox() {
        Box* fullest = nullptr;
        std::uint32_t most = 0;
        for (Box* box = boxes_; box < boxes_ + boxCount_; box++)
            if (box->first != box->last && box->count > most) {
                fullest = box;
                most = box->count;
            }
        return fullest;
    }

    Channel longestSide(const Box& box) const {
        int low[3] = {31, 31, 31}, high[3] = {};
        for (std::uint32_t i = box.first; i <= box.last; i++)
            for (const Channel channel : {blue, green, red}) {
                const int v = static_cast<int>(keyChannel(colours_[i], channel));
                low[channel] = std::min(low[channel], v);
                high[channel] = std::max(high[channel], v);
            }
        return widestChannel(high[red] - low[red], high[green] - low[green], high[blue] - low[blue]);
    }

    // The lower half keeps its place among the boxes, the upper one becomes the last.
    void split(Box& box) {
        const unsigned shift = 5 * longestSide(box);
        std::uint16_t* run = colours_ + box.first;
        shellSortDescending(run, box.span(), [shift](std::uint16_t key) { return key >> shift & 31; });
        const std::uint32_t half = box.count / 2;
        std::uint32_t taken = 0, pixels = 0;
        while (taken < box.span() - 1 && pixels < half) pixels += histogram_[run[taken++]];
        boxes_[boxCount_++] = {box.count - pixels, box.first + taken, box.last};
        box = {pixels, box.first, box.first + taken - 1};
    }

    const Counter* histogram_;
    std::uint16_t* colours_;
    Box* boxes_;
    unsigned boxCount_;
};

}  // namespace

int mediancutpalette_(const imgdes& source, imgdes& destination, unsigned colours) {
    const WorkArray<Counter> histogram(MemoryEntry::counted, colourKeys);
    if (!histogram) return ERR_MEMORY;
    countColours(histogram.get(), source, commonSize(source, destination));

    const WorkArray<Box> boxes(MemoryEntry::counted, colours + 2);
    if (!boxes) return ERR_MEMORY;
    const auto isUsed = [](Counter counter) { return counter != 0; };
    const auto used = std::count_if(histogram.get(), histogram.get() + colourKeys, isUsed);
    const WorkArray<std::uint16_t> list(MemoryEntry::first, static_cast<std::uint64_t>(used));
    if (!list) return ERR_MEMORY;
    std::uint16_t* end = list.get();
    for (unsigned key = 0; key < colourKeys; key++)
        if (histogram[key]) *end++ = static_cast<std::uint16_t>(key);

    MedianCut cutter(histogram.get(), list.get(), static_cast<std::uint32_t>(used), boxes.get());
    cutter.cut(colours);
    RGBQUAD* palette = destination.palette;
    for (unsigned i = 0; i < cutter.boxCount(); i++) cutter.mean(boxes[i], palette[i]);
    std::fill(palette + cutter.boxCount(), palette + colours, palette[0]);
    destination.palcolors = static_cast<int>(colours);
    return 0;
}

}  // namespace orn32
