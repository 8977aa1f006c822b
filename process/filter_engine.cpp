#include "process/filter_engine.h"

#include <algorithm>
#include <cstring>

#include "core/bits.h"
#include "process/bit_rows.h"

namespace orn32 {
namespace {

// Repeats the first and the last of count elements, which begin at element radius.
template <class T>
void repeatEdges(T* row, unsigned radius, unsigned count) {
    std::fill_n(row, radius, row[radius]);
    std::fill_n(row + radius + count, radius, row[radius + count - 1]);
}

}  // namespace

LevelFormat::Row LevelFormat::at(std::uint8_t* memory, std::size_t) {
    return memory;
}

void LevelFormat::load(Row row, const std::uint8_t* source, unsigned, unsigned radius, unsigned count) {
    std::memcpy(row + radius, source, count);
    repeatEdges(row, radius, count);
}

void LevelFormat::store(std::uint8_t* destination, unsigned, std::uint8_t* result, unsigned count) {
    std::memcpy(destination, result, count);
}

void BitFormat::load(Row row, const std::uint8_t* source, unsigned firstBit, unsigned radius,
                     unsigned count) {
    unpackBits(row + radius, source, firstBit, count);
    repeatEdges(row, radius, count);
}

void BitFormat::store(std::uint8_t* destination, unsigned firstBit, std::uint8_t* result, unsigned count) {
    packBits(result, result, count, [](__m128i levels) { return levels; });
    placeBits(destination, firstBit, result, count);
}

ColourFormat::Row ColourFormat::at(std::uint8_t* memory, std::size_t pixels) {
    auto* const words = reinterpret_cast<std::uint16_t*>(memory);
    return {reinterpret_cast<std::int16_t*>(words), words + pixels};
}

namespace {

template <class Split>
void loadColours(Split split, ColourRow row, const std::uint8_t* source, unsigned radius, unsigned count) {
    split(ColourRow{row.brightness + radius, row.blueRed + radius}, source, count);
    repeatEdges(row.brightness, radius, count);
    repeatEdges(row.blueRed, radius, count);
}

}  // namespace

void ColourFormat::load(Row row, const std::uint8_t* source, unsigned, unsigned radius, unsigned count) {
    loadColours(splitColoursSse2, row, source, radius, count);
}

void ColourFormatAvx2::load(Row row, const std::uint8_t* source, unsigned, unsigned radius, unsigned count) {
    loadColours(splitColoursAvx2, row, source, radius, count);
}

void ColourFormat::store(std::uint8_t* destination, unsigned, std::uint8_t* result, unsigned count) {
    std::memcpy(destination, result, std::size_t{3} * count);
}

}  // namespace orn32
