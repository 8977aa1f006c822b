// The coefficients of all blocks that have something to show, for pictures that come in several scans.
#pragma once

#include <cstdint>

#include "jpeg/layout.h"

namespace orn32::jpeg {

// Whether a block has an AC coefficient.
bool hasAc(const std::int16_t* coefs);

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

    // Whether any block of a row has been given an AC coefficient; whoever gives it sets this.
    bool& rowHasAc(unsigned c, unsigned y) const { return planes_[c].rowHasAc[y]; }

 private:
    struct Plane {
        std::int16_t* start;
        unsigned across, down;
        bool* rowHasAc;
    };
    Plane planes_[maxComponents] = {};
    void* memory_ = nullptr;
};

}  // namespace orn32::jpeg
