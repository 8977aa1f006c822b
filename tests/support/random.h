// Repeatable random numbers for tests.
#pragma once

#include <cstdint>
#include <vector>

namespace test {

class Random {
 public:
    explicit Random(std::uint32_t seed) : state_(seed * 2654435761u + 1) {}

    std::uint32_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_ * 0x9E3779B1u >> 3 ^ state_;
    }
    // 0 to bound - 1.
    std::uint32_t below(std::uint32_t bound) {
        return static_cast<std::uint32_t>(std::uint64_t{next()} * bound >> 32);
    }
    int between(int low, int high) {
        return low + static_cast<int>(below(static_cast<std::uint32_t>(high - low + 1)));
    }
    bool oneIn(std::uint32_t n) { return below(n) == 0; }
    std::uint8_t byte() { return static_cast<std::uint8_t>(next() >> 11); }
    std::vector<std::uint8_t> bytes(std::size_t n) {
        std::vector<std::uint8_t> v(n);
        for (auto& b : v) b = byte();
        return v;
    }

 private:
    std::uint32_t state_;
};

}  // namespace test
