// What an encoder knows of its picture before the first pixel: components, sampling, tables.
#pragma once

#include <cstdint>

#include "core/area.h"
#include "jpeg/format.h"
#include "jpeg/quantise.h"

namespace orn32::jpeg {

enum class Coding { standard, optimised, progressive };

struct EncodeFrame {
    Size size;
    Coding coding;
    int componentCount;  // 1 grey; 3: Y, Cb, Cr with colour at half the resolution both ways
    Component components[3];
    QuantisationTable quantisation[2];

    bool grey() const { return componentCount == 1; }
    unsigned mcuSize() const { return grey() ? 8 : 16; }  // in pixels, both ways
    unsigned mcusPerRow() const { return (size.width + mcuSize() - 1) / mcuSize(); }
    unsigned mcuRows() const { return (size.height + mcuSize() - 1) / mcuSize(); }

    // Blocks of a component that hold samples of the picture: what a scan of this component alone codes.
    Size blocksOf(int component) const {
        const unsigned pixels = mcuSize() / components[component].h;
        return {(size.width + pixels - 1) / pixels, (size.height + pixels - 1) / pixels};
    }
};

EncodeFrame encodeFrame(const imgdes& image, int quality, Coding coding);

}  // namespace orn32::jpeg
