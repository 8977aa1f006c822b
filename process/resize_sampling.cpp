// Scaling by leaving out pixels, or by repeating them.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/area.h"
#include "core/memory.h"
#include "core/range_check.h"
#include "process/resize.h"

namespace orn32 {
namespace {

// Spreads the smaller of two lengths evenly over the larger one, one bit for each place, highest bit first:
// enlarging, a set bit takes the next source pixel and a clear one repeats the last; reducing, a set bit
// keeps the source pixel and a clear one drops it.
class SelectionMask {
 public:
    SelectionMask(unsigned from, unsigned to)
        : places_(std::max(from, to)), enlarging_(to >= from), bits_(MemoryEntry::counted, places_) {
        if (!bits_) return;
        const std::uint64_t step = std::min(from, to);
        std::uint64_t sum = step, threshold = places_;
        set(0);
        for (unsigned i = 1; i < places_; i++) {
            sum += step;
            if (sum <= threshold) continue;
            threshold += places_;
            set(i);
        }
    }
    explicit operator bool() const { return static_cast<bool>(bits_); }

    // Calls pick(destination, source) for every destination place.
    template <class Pick>
    void forEach(Pick pick) const {
        unsigned next = 0;
        for (unsigned i = 0; i < places_; i++) {
            if (enlarging_) {
                next += isSet(i);
                pick(i, next - 1);
            } else if (isSet(i)) {
                pick(next++, i);
            }
        }
    }

 private:
    void set(unsigned i) { bits_[i / 8] |= static_cast<std::uint8_t>(0x80 >> i % 8); }
    unsigned isSet(unsigned i) const { return bits_[i / 8] >> (7 - i % 8) & 1u; }

    unsigned places_;
    bool enlarging_;
    WorkArray<std::uint8_t> bits_;
};

// Pixels of a row that begins `bit` bits into its first byte (1-bit images; else 0).
void pickBit(std::uint8_t* to, unsigned toBit, const std::uint8_t* from, unsigned fromBit) {
    const unsigned mask = 0x80u >> toBit % 8;
    const bool white = from[fromBit / 8] >> (7 - fromBit % 8) & 1;
    std::uint8_t& byte = to[toBit / 8];
    byte = static_cast<std::uint8_t>(white ? byte | mask : byte & ~mask);
}

void sampleRow(const SelectionMask& columns, std::uint8_t* to, unsigned toBit, const std::uint8_t* from,
               unsigned fromBit, unsigned bits) {
    switch (bits) {
        case 1:
            columns.forEach([&](unsigned d, unsigned s) { pickBit(to, toBit + d, from, fromBit + s); });
            break;
        case 8:
            columns.forEach([&](unsigned d, unsigned s) { to[d] = from[s]; });
            break;
        default:
            columns.forEach([&](unsigned d, unsigned s) {
                std::memcpy(to + std::size_t{d} * 3, from + std::size_t{s} * 3, 3);
            });
    }
}

int sample(const imgdes& source, const imgdes& destination) {
    const Size from = areaSize(source), to = areaSize(destination);
    const SelectionMask columns(from.width, to.width), rows(from.height, to.height);
    if (!columns || !rows) return ERR_MEMORY;
    const AreaRows fromRows(source), toRows(destination);
    const unsigned bits = source.header->biBitCount;
    rows.forEach([&](unsigned d, unsigned s) {
        sampleRow(columns, toRows[d], toRows.bit(), fromRows[s], fromRows.bit(), bits);
    });
    return 0;
}

}  // namespace

int resizeBySampling(imgdes* source, imgdes* destination) {
    if (const int code = checkRange(source, bits1to24)) return code;
    if (const int code = checkRange(destination, bits1to24)) return code;
    if (source->header->biBitCount != destination->header->biBitCount) return ERR_BITS;
    if (!areasOverlap(*source, *destination)) {
        if (const int code = sample(*source, *destination)) return code;
    } else {
        const Size size = areaSize(*destination);
        TemporaryImage result;
        if (const int code = result.allocate(size.width, size.height, source->header->biBitCount))
            return code;
        if (const int code = sample(*source, *result)) return code;
        if (const int code = copyimagebits(result, destination)) return code;
    }
    copyimagepalette(source, destination);
    return 0;
}

}  // namespace orn32
