#include "png/unfilter.h"

#include <algorithm>
#include <cstdlib>

namespace orn32::png {
namespace {

std::uint8_t sum(unsigned a, unsigned b) {
    return static_cast<std::uint8_t>(a + b);
}

// Of left, up and up-left, the one nearest to left + up - upleft.
unsigned paeth(int left, int up, int upLeft) {
    const int a = std::abs(up - upLeft), b = std::abs(left - upLeft), c = std::abs(left + up - 2 * upLeft);
    return static_cast<unsigned>(a <= b && a <= c ? left : b <= c ? up : upLeft);
}

void unfilterSub(std::uint8_t* row, std::size_t count, unsigned step) {
    for (std::size_t i = step; i < count; i++) row[i] = sum(row[i], row[i - step]);
}

void unfilterUp(std::uint8_t* row, const std::uint8_t* previous, std::size_t count) {
    for (std::size_t i = 0; i < count; i++) row[i] = sum(row[i], previous[i]);
}

void unfilterAverage(std::uint8_t* row, const std::uint8_t* previous, std::size_t count, unsigned step) {
    const std::size_t first = std::min<std::size_t>(step, count);
    for (std::size_t i = 0; i < first; i++) row[i] = sum(row[i], previous[i] / 2u);
    for (std::size_t i = first; i < count; i++) row[i] = sum(row[i], (row[i - step] + previous[i]) / 2u);
}

void unfilterPaeth(std::uint8_t* row, const std::uint8_t* previous, std::size_t count, unsigned step) {
    const std::size_t first = std::min<std::size_t>(step, count);
    for (std::size_t i = 0; i < first; i++) row[i] = sum(row[i], previous[i]);
    for (std::size_t i = first; i < count; i++)
        row[i] = sum(row[i], paeth(row[i - step], previous[i], previous[i - step]));
}

// Below a row of zeros the average is half of what is to the left, and that is also Paeth's guess.
void unfilterFirstRow(unsigned filter, std::uint8_t* row, std::size_t count, unsigned step) {
    if (filter == filterSub || filter == filterPaeth) unfilterSub(row, count, step);
    if (filter == filterAverage)
        for (std::size_t i = step; i < count; i++) row[i] = sum(row[i], row[i - step] / 2u);
}

}  // namespace

void unfilter(unsigned filter, std::uint8_t* row, const std::uint8_t* previous, std::size_t count,
              unsigned step) {
    if (!previous) return unfilterFirstRow(filter, row, count, step);
    switch (filter) {
        case filterSub:
            return unfilterSub(row, count, step);
        case filterUp:
            return unfilterUp(row, previous, count);
        case filterAverage:
            return unfilterAverage(row, previous, count, step);
        case filterPaeth:
            return unfilterPaeth(row, previous, count, step);
    }
}

}  // namespace orn32::png
