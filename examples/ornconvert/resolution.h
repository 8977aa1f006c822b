// Resolutions: pictures have pixels per metre, people and many files think in inches.
#pragma once

#include <string>

#include "messages.h"

namespace ornconvert {

constexpr long long perInch(long long perMetre) {
    return (perMetre * 254 + 5000) / 10000;
}

constexpr long long perMetre(long long perInch) {
    return (perInch * 10000 + 127) / 254;
}

inline std::wstring resolutionInWords(long long x, long long y) {
    return text(x, L" x ", y, L" pixels per metre (", perInch(x), L" x ", perInch(y), L" per inch)");
}

}  // namespace ornconvert
