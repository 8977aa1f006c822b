// The matrix of thresholds that ordered dithering lays over a picture.
#pragma once

#include <cstdint>

namespace orn32 {

// 0 to 50, for the 51 values between two levels of the colour cube; times 5 for those of a whole byte.
// Repeated and uneven entries are as they are: programs compare the results.
constexpr std::uint8_t ditherMatrix[8][8] = {
    {0, 38, 9, 47, 2, 40, 11, 50},    {25, 12, 35, 22, 27, 15, 37, 24}, {6, 44, 3, 41, 8, 47, 5, 43},
    {31, 19, 28, 15, 34, 21, 31, 18}, {1, 39, 11, 49, 0, 39, 10, 48},   {27, 14, 36, 23, 26, 13, 35, 23},
    {7, 46, 4, 43, 7, 45, 3, 42},     {33, 20, 30, 17, 32, 19, 29, 16}};
constexpr unsigned ditherMatrixTop = 50, ditherScale = 5;

}  // namespace orn32
