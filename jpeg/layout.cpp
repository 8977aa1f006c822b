#include "jpeg/layout.h"

#include <algorithm>

#include "jpeg/error.h"

namespace orn32::jpeg {
namespace {

constexpr unsigned sizeLimit = 32768;
constexpr unsigned maxSamplingFactor = 4;

bool isUsable(const Component& c, const Headers& headers) {
    const bool factors = c.h >= 1 && c.h <= maxSamplingFactor && c.v >= 1 && c.v <= maxSamplingFactor;
    return factors && c.tq < tableSlots && headers.quant[c.tq].present;
}

}  // namespace

int checkBlocksPerMcu(const Headers& headers) {
    int blocks = 0;
    for (unsigned i = 0; i < headers.info.comps; i++)
        blocks += headers.components[i].h * headers.components[i].v;
    return blocks > maxBlocksPerMcu ? refuse(Detail::blocksPerMcu) : 0;
}

int checkFrame(const Headers& headers, unsigned imageBits) {
    const JpegInfo& info = headers.info;
    if (info.ftype < 0 || info.ftype > 2) return refuse(Detail::frameType);
    if (info.width >= sizeLimit || info.height >= sizeLimit || !info.width || !info.height) return ERR_RANGE;
    if (info.comps != 1 && info.comps != 3 && info.comps != 4) return refuse(Detail::componentCount);
    if (info.precision != 8) return refuse(Detail::precision);
    for (unsigned i = 0; i < info.comps; i++)
        if (!isUsable(headers.components[i], headers)) return refuse(Detail::components);
    return (info.comps == 1) == (imageBits == 8) ? 0 : ERR_BITS;
}

Layout layoutOf(const Headers& headers) {
    const JpegInfo& info = headers.info;
    Layout layout;
    layout.count = info.comps;
    const bool alone = info.comps == 1;
    if (alone) layout.mcusPerRestartStep = headers.components[0].h * headers.components[0].v;
    for (unsigned i = 0; i < info.comps; i++) {
        ComponentLayout& c = layout.components[i];
        c.h = alone ? 1 : headers.components[i].h;
        c.v = alone ? 1 : headers.components[i].v;
        layout.hMax = std::max(layout.hMax, c.h);
        layout.vMax = std::max(layout.vMax, c.v);
    }
    layout.mcuWidth = layout.hMax * 8;
    layout.mcuHeight = layout.vMax * 8;
    layout.mcusPerRow = ceilDivide(info.width, layout.mcuWidth);
    layout.mcuRows = ceilDivide(info.height, layout.mcuHeight);
    for (unsigned i = 0; i < info.comps; i++) {
        ComponentLayout& c = layout.components[i];
        c.blocksAcross = ceilDivide(ceilDivide(info.width * c.h, layout.hMax), 8);
        c.blocksDown = ceilDivide(ceilDivide(info.height * c.v, layout.vMax), 8);
    }
    return layout;
}

}  // namespace orn32::jpeg
