// The coefficients of all blocks that have something to show, for pictures that come in several scans.
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "jpeg/layout.h"

namespace orn32::jpeg {

// Blocks lie at multiples of 16. Written out, as compilers make a string instruction of a loop, which takes
// longer to start than all of this.
inline void clearBlock(std::int16_t* coefs) {
    const __m128i zero = _mm_setzero_si128();
    auto* rows = reinterpret_cast<__m128i*>(coefs);
    _mm_store_si128(rows, zero);
    _mm_store_si128(rows + 1, zero);
    _mm_store_si128(rows + 2, zero);
    _mm_store_si128(rows + 3, zero);
    _mm_store_si128(rows + 4, zero);
    _mm_store_si128(rows + 5, zero);
    _mm_store_si128(rows + 6, zero);
    _mm_store_si128(rows + 7, zero);
}

class Coefficients {
 public:
    Coefficients(const Layout& layout, unsigned mcuRows);
    ~Coefficients();
    Coefficients(const Coefficients&) = delete;
    Coefficients& operator=(const Coefficients&) = delete;

    // False when the memory cannot be had, or a 32-bit process could not hold it.
    [[nodiscard]] bool allocate();

    // The 64 coefficients, in natural order, of a component's block, and how many blocks there are; those
    // that pad the last MCUs are among them.
    std::int16_t* block(unsigned c, unsigned x, unsigned y) const {
        return planes_[c].start + (std::size_t{y} * planes_[c].across + x) * blockSize;
    }
    unsigned across(unsigned c) const { return planes_[c].across; }
    unsigned down(unsigned c) const { return planes_[c].down; }

    // Which AC coefficients of a block are not 0: bit k for the k-th in zigzag order. Kept by whoever changes
    // them; one bit too many does no harm where nothing is refined.
    std::uint64_t& nonzero(unsigned c, unsigned x, unsigned y) const {
        return planes_[c].nonzero[std::size_t{y} * planes_[c].across + x];
    }

    // Whether any block of a row has been given an AC coefficient; kept likewise.
    bool& rowHasAc(unsigned c, unsigned y) const { return planes_[c].rowHasAc[y]; }

 private:
    struct Plane {
        std::int16_t* start;
        unsigned across, down;
        std::uint64_t* nonzero;
        bool* rowHasAc;
    };
    Plane planes_[maxComponents] = {};
    void* memory_ = nullptr;
};

}  // namespace orn32::jpeg
