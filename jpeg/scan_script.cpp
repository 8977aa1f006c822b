#include "jpeg/scan_script.h"

namespace orn32::jpeg {
namespace {

// Components; spectral selection; successive approximation. A rough picture first, then sharper: low
// frequencies of Y before high ones, colour early and in one go, the lowest bits of Y, which cost most, last.
constexpr Scan colourScript[] = {
    {3, {0, 1, 2}, 0, 0, 0, 1},  //
    {1, {0}, 1, 5, 0, 2},       {1, {2}, 1, 63, 0, 1}, {1, {1}, 1, 63, 0, 1},
    {1, {0}, 6, 63, 0, 2},      {1, {0}, 1, 63, 2, 1},  //
    {3, {0, 1, 2}, 0, 0, 1, 0},                         //
    {1, {2}, 1, 63, 1, 0},      {1, {1}, 1, 63, 1, 0}, {1, {0}, 1, 63, 1, 0},
};

constexpr Scan greyScript[] = {
    {1, {0}, 0, 0, 0, 1},  {1, {0}, 1, 5, 0, 2}, {1, {0}, 6, 63, 0, 2},
    {1, {0}, 1, 63, 2, 1}, {1, {0}, 0, 0, 1, 0}, {1, {0}, 1, 63, 1, 0},
};

constexpr Scan wholeColour[] = {{3, {0, 1, 2}, 0, 63, 0, 0}};
constexpr Scan wholeGrey[] = {{1, {0}, 0, 63, 0, 0}};

}  // namespace

Scan sequentialScan(const EncodeFrame& frame) {
    return frame.grey() ? wholeGrey[0] : wholeColour[0];
}

std::span<const Scan> scanScript(const EncodeFrame& frame) {
    if (frame.coding == Coding::progressive) {
        if (frame.grey()) return greyScript;
        return colourScript;
    }
    if (frame.grey()) return wholeGrey;
    return wholeColour;
}

}  // namespace orn32::jpeg
