// What happens to files on their way.
#pragma once

#include <algorithm>

#include "tests/support/files.h"
#include "tests/support/random.h"

namespace test {

// A byte, or now and then a piece, that is changed, lost, doubled, or comes in from nowhere or from another
// file.
inline void damage(Bytes& file, std::size_t at, Random& random, const Bytes& other = {}) {
    static constexpr std::uint8_t marks[] = {0,    1,    0x7F, 0x80, 0xFE,   // borders
                                             0xFF, 0x21, 0x2C, 0x3B, 0xF9};  // of a GIF's blocks
    const std::size_t length =
        std::min<std::size_t>(file.size() - at, random.oneIn(4) ? 1 + random.below(64) : 1);
    const auto place = file.begin() + static_cast<std::ptrdiff_t>(at);
    const auto end = place + static_cast<std::ptrdiff_t>(length);
    switch (random.below(other.empty() ? 6 : 7)) {
        case 0:
            *place = static_cast<std::uint8_t>(*place ^ 1u << random.below(8));
            break;
        case 1:
            std::fill_n(place, std::min<std::size_t>(length, 4), marks[random.below(sizeof marks)]);
            break;
        case 2:
            *place = random.byte();
            break;
        case 3:
            file.erase(place, end);
            break;
        case 4:
            file.insert(place, random.byte());
            break;
        case 5: {
            const Bytes piece(place, end);
            file.insert(place, piece.begin(), piece.end());
            break;
        }
        default:
            std::copy_n(other.begin(), std::min(length, other.size()), place);
    }
}

}  // namespace test
