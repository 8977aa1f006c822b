// What happens to files on their way.
#pragma once

#include "tests/support/files.h"
#include "tests/support/random.h"

namespace test {

// One byte changed, lost or come in from nowhere.
inline void damage(Bytes& file, std::size_t at, Random& random) {
    static constexpr std::uint8_t marks[] = {0,    255,  0x21,
                                             0x2C, 0x3B, 0xF9};  // of a GIF's blocks, and borders
    const auto place = file.begin() + static_cast<std::ptrdiff_t>(at);
    switch (random.below(5)) {
        case 0:
            *place = static_cast<std::uint8_t>(*place ^ 1u << random.below(8));
            break;
        case 1:
            *place = marks[random.below(sizeof marks)];
            break;
        case 2:
            *place = random.byte();
            break;
        case 3:
            file.erase(place);
            break;
        default:
            file.insert(place, random.byte());
    }
}

}  // namespace test
