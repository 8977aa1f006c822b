// Filters that make every pixel of an area from the k x k pixels around it. Beyond the area's edges its
// border pixels repeat: pixels of the picture outside the area are never read.
//
// The engine holds the k rows around the one at work, widened by k / 2 pixels on both sides and in the form
// that a row format gives them; a filter makes one row from them at a time. Column c of the neighbourhood of
// pixel x is element x + c of a row. Rows may be read, and the result may be written, in sixteens of pixels.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>

#include "core/area.h"
#include "core/memory.h"
#include "orn32.h"
#include "process/colour_planes.h"

namespace orn32 {

constexpr unsigned largestNeighbourhood = 63;

// 8-bit pixels as they are.
struct LevelFormat {
    using Row = std::uint8_t*;
    static constexpr unsigned rowBytes = 1, resultBytes = 1;  // per pixel
    static Row at(std::uint8_t* memory, std::size_t pixels);
    static void load(Row row, const std::uint8_t* source, unsigned firstBit, unsigned radius, unsigned count);
    static void store(std::uint8_t* destination, unsigned firstBit, std::uint8_t* result, unsigned count);
};

// 1-bit pixels as bytes of 0 and 255.
struct BitFormat : LevelFormat {
    static void load(Row row, const std::uint8_t* source, unsigned firstBit, unsigned radius, unsigned count);
    static void store(std::uint8_t* destination, unsigned firstBit, std::uint8_t* result, unsigned count);
};

// 24-bit pixels as brightness and blue with red; the result is blue, green, red again.
struct ColourFormat {
    using Row = ColourRow;
    static constexpr unsigned rowBytes = 4, resultBytes = 3;
    static Row at(std::uint8_t* memory, std::size_t pixels);
    static void load(Row row, const std::uint8_t* source, unsigned firstBit, unsigned radius, unsigned count);
    static void store(std::uint8_t* destination, unsigned firstBit, std::uint8_t* result, unsigned count);
};

// The same for filters that use AVX2 themselves: SSE2 code among it would be slow until leaveAvx2.
struct ColourFormatAvx2 : ColourFormat {
    static void load(Row row, const std::uint8_t* source, unsigned firstBit, unsigned radius, unsigned count);
};

// Calls each(row, column) for the nine places of a 3 x 3 neighbourhood in the order in which ties are
// decided, as straight code.
template <class Each>
void forNine(Each each) {
    [&]<unsigned... i>(std::integer_sequence<unsigned, i...>) {
        (each(i / 3, i % 3), ...);
    }
    (std::make_integer_sequence<unsigned, 9>());
}

// The row that will be read next, and the one that will be written after the one at work.
struct RowsAhead {
    const std::uint8_t* source = nullptr;
    const std::uint8_t* destination = nullptr;
};

// The buffered rows, the topmost first, and a row for the filter's result of resultBytes per pixel.
template <class Format>
class NeighbourRows {
 public:
    NeighbourRows(unsigned columns, unsigned size, unsigned resultBytes) : size_(size) {
        const std::size_t pixels = (std::size_t{columns} + 15) / 16 * 16;
        // Rows that lie a little off a multiple of 4 kB apart would compete for the same lines of the cache.
        const std::size_t rowPixels = (pixels + (size + 15) / 16 * 16 + 159) / 512 * 512 + 352;
        const std::size_t rowBytes = rowPixels * Format::rowBytes;
        const std::size_t bytes = rowBytes * size + pixels * resultBytes + 16 + cacheLine;
        memory_ = WorkArray<std::uint8_t>(MemoryEntry::second, bytes);
        if (!memory_) return;
        std::fill_n(memory_.get(), bytes, std::uint8_t{0});
        std::uint8_t* const first =
            memory_.get() + (0 - reinterpret_cast<std::size_t>(memory_.get())) % cacheLine;
        for (unsigned i = 0; i < size; i++) rows_[i] = Format::at(first + rowBytes * i, rowPixels);
        result_ = first + rowBytes * size;
    }
    explicit operator bool() const { return static_cast<bool>(memory_); }

    const typename Format::Row* rows() const { return rows_; }
    std::uint8_t* result() const { return result_; }

    // All rows move up by one; the topmost comes back as the lowest, to be loaded.
    typename Format::Row advance() {
        std::rotate(rows_, rows_ + 1, rows_ + size_);
        return rows_[size_ - 1];
    }

 private:
    static constexpr std::size_t cacheLine = 64;  // registers read from two lines take longer

    unsigned size_;
    WorkArray<std::uint8_t> memory_;
    typename Format::Row rows_[largestNeighbourhood];
    std::uint8_t* result_ = nullptr;
};

// Runs a filter with neighbourhoods of size x size over what both areas have; an even size is taken one
// smaller. Source and destination may be the same area. The filter has
//   bool prepare(unsigned columns, unsigned size)                      false: no memory
//   void row(const Format::Row* rows, std::uint8_t* result, unsigned count)
// or, if it writes not a byte more than the pixels, so that the destination can take them without a copy,
//   void exactRow(const Format::Row* rows, std::uint8_t* destination, unsigned count, RowsAhead ahead)
// which may fetch the rows ahead into the cache meanwhile.
// Returns 0, ERR_ARGUMENT (size), ERR_BITS (bit counts differ), ERR_RANGE (the area is smaller than the
// neighbourhood), ERR_MEMORY.
template <class Format, class Filter>
[[nodiscard]] int filterengine_(const imgdes& source, const imgdes& destination, Filter&& filter, int k) {
    if (k < 3 || k > static_cast<int>(largestNeighbourhood)) return ERR_ARGUMENT;
    if (source.header->biBitCount != destination.header->biBitCount) return ERR_BITS;
    const unsigned size = static_cast<unsigned>(k - 1) | 1, radius = size / 2;
    const Size area = commonSize(source, destination);
    if (size > area.width || size > area.height) return ERR_RANGE;
    constexpr bool isExact = requires(typename Format::Row * rows, std::uint8_t * line) {
        filter.exactRow(rows, line, 1u, RowsAhead());
    };
    NeighbourRows<Format> window(area.width, size, isExact ? 0 : Format::resultBytes);
    if (!window || !filter.prepare(area.width, size)) return ERR_MEMORY;

    const AreaRows from(source), to(destination);
    unsigned y = 0;
    for (unsigned pass = 0; pass < area.height + size - 1; pass++) {
        Format::load(window.advance(), from[y], from.bit(), radius, area.width);
        if (pass >= radius && y + 1 < area.height) y++;
        if (pass + 1 < size) continue;
        const unsigned row = pass + 1 - size;
        std::uint8_t* const line = to[row];
        const RowsAhead ahead = {from[y], to[std::min(row + 1, area.height - 1)]};
        if constexpr (isExact) {
            filter.exactRow(window.rows(), line, area.width, ahead);
        } else {
            filter.row(window.rows(), window.result(), area.width);
            Format::store(line, to.bit(), window.result(), area.width);
        }
    }
    return 0;
}

}  // namespace orn32
