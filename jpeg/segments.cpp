// What the segments of a JPEG stream hold. Indices count from the marker's 0xFF: the length word is at 2, the
// contents begin at 4.
#include <algorithm>
#include <iterator>

#include "jpeg/error.h"
#include "jpeg/headers.h"
#include "jpeg/huffman_decode.h"

namespace orn32::jpeg {

int HeaderReader::readFrame(std::uint8_t code) {
    JpegInfo& info = headers_.info;
    info.ftype = code & 15;
    info.precision = at(4);
    info.height = wordAt(5);
    info.width = wordAt(7);
    info.comps = at(9);
    if (info.comps > maxComponents) return refuse(Detail::components);
    info.vbitcount = info.comps == 1 ? 8 : 24;
    std::fill(std::begin(info.sampfac), std::end(info.sampfac), 0u);
    for (unsigned i = 0; i < info.comps; i++) {
        const unsigned entry = 10 + 3 * i;
        info.sampfac[i] = at(entry + 1);
        headers_.components[i] = {static_cast<std::uint8_t>(at(entry)),
                                  static_cast<std::uint8_t>(at(entry + 1) >> 4),
                                  static_cast<std::uint8_t>(at(entry + 1) & 15),
                                  static_cast<std::uint8_t>(at(entry + 2)),
                                  0,
                                  0};
    }
    return 0;
}

// A table of a slot that does not exist is passed over.
void HeaderReader::readQuantTables(std::uint32_t length) {
    for (std::uint32_t i = 4; i < length + 2;) {
        const unsigned precision = at(i) >> 4, slot = at(i) & 15;
        i++;
        if (slot < tableSlots) {
            QuantTable& table = headers_.quant[slot];
            table.present = true;
            for (unsigned k = 0; k < blockSize; k++) {
                const unsigned value = precision == 1 ? wordAt(i + 2 * k) : at(i + k);
                table.values[naturalOrder[k]] = static_cast<std::uint16_t>(std::max(value, 1u));
            }
        }
        i += blockSize * (precision + 1);
    }
}

int HeaderReader::readHuffmanTables(std::uint32_t length) {
    for (std::uint32_t i = 4; i < length + 2;) {
        const unsigned kind = at(i) >> 4, id = at(i) & 15;
        HuffmanSlot spare;
        HuffmanSlot& slot = id >= tableSlots ? spare : kind ? headers_.ac[id] : headers_.dc[id];
        slot = {};
        for (unsigned k = 0; k < 16; k++)
            slot.definition.counts[k] = static_cast<std::uint8_t>(at(i + 1 + k));
        if (!isUsable(slot.definition)) return refuse(Detail::huffmanCode);
        const unsigned total = static_cast<unsigned>(slot.definition.total());
        for (unsigned k = 0; k < total; k++)
            slot.definition.values[k] = static_cast<std::uint8_t>(at(i + 17 + k));
        slot.present = true;
        i += 17 + total;
    }
    return 0;
}

// Quirk: a density in dots per centimetre counts as none.
void HeaderReader::readJfif(std::uint32_t length) {
    const unsigned units = at(11);
    if (units < 2) headers_.density = {wordAt(12), wordAt(14), units};
    Thumbnail& thumbnail = headers_.thumbnail;
    const unsigned width = at(16), height = at(17), bytes = width * height * 3;
    if (bytes == 0 || bytes >= length || thumbnail.present) return;
    thumbnail = {true,
                 static_cast<std::uint8_t>(width),
                 static_cast<std::uint8_t>(height),
                 24,
                 thumbRgb,
                 in_.offset() + 18};
}

void HeaderReader::readJfifExtension() {
    constexpr std::uint32_t paletteBytes = 768;
    Thumbnail& thumbnail = headers_.thumbnail;
    const std::uint32_t start = in_.offset();
    const unsigned kind = at(9);
    thumbnail.offset = 0;
    if (kind != thumbJpeg && kind != thumbPalette && kind != thumbRgb) return;
    thumbnail.kind = static_cast<ThumbnailKind>(kind);
    thumbnail.bits = kind == thumbPalette ? 8 : 24;
    if (kind == thumbJpeg) {
        if (thumbnail.width && thumbnail.height) thumbnail.offset = start + 10;
        return;
    }
    thumbnail.width = static_cast<std::uint8_t>(at(10));
    thumbnail.height = static_cast<std::uint8_t>(at(11));
    if (!thumbnail.width || !thumbnail.height) return;
    thumbnail.present = true;
    thumbnail.offset = start + 12 + (kind == thumbPalette ? paletteBytes : 0);
}

// Quirk: the version word is compared with its bytes swapped.
void HeaderReader::readAdobe() {
    constexpr unsigned lowestVersion = 0x6400, highestVersion = 0x8000;
    for (unsigned i = 0; i < 5; i++) {
        const unsigned c = at(4 + i);
        if ((c >= 'A' && c <= 'Z' ? c + 32 : c) != static_cast<unsigned char>("adobe"[i])) return;
    }
    const unsigned version = at(9) | at(10) << 8;
    if (version >= lowestVersion && version <= highestVersion)
        headers_.adobeTransform = static_cast<std::uint8_t>(at(15));
}

// An identifier that no component of the frame has stands for the first one.
int HeaderReader::readScan() {
    Scan& scan = headers_.scan;
    const unsigned frameCount = headers_.info.comps;
    const unsigned count = std::min(at(4), unsigned{maxComponents});
    if (count == 0 || count > frameCount) return refuse(Detail::components);
    scan.count = static_cast<int>(count);
    for (unsigned i = 0; i < count; i++) {
        unsigned index = frameCount - 1;
        while (index > 0 && headers_.components[index].id != at(5 + 2 * i)) index--;
        Component& component = headers_.components[index];
        component.td = static_cast<std::uint8_t>(at(6 + 2 * i) >> 4);
        component.ta = static_cast<std::uint8_t>(at(6 + 2 * i) & 15);
        scan.components[i] = static_cast<std::uint8_t>(index);
    }
    const unsigned band = 5 + 2 * count;
    scan.ss = static_cast<std::uint8_t>(at(band));
    scan.se = static_cast<std::uint8_t>(at(band + 1));
    scan.ah = static_cast<std::uint8_t>(at(band + 2) >> 4);
    scan.al = static_cast<std::uint8_t>(at(band + 2) & 15);
    return 0;
}

}  // namespace orn32::jpeg
