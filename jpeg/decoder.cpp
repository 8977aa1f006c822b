#include "jpeg/decoder.h"

#include <bit>

namespace orn32::jpeg {
namespace {

void showCoefficients(const Decoder& d, const Coefficients& coefficients) {
    for (unsigned row = 0; row < d.output.mcuRows(); row++) {
        d.output.beginRow(row);
        for (unsigned c = 0; c < d.layout.count; c++) {
            const unsigned v = d.layout.components[c].v;
            for (unsigned y = 0; y < v; y++)
                for (unsigned x = 0; x < coefficients.across(c); x++) {
                    const unsigned down = row * v + y;
                    const std::uint64_t nonzero = coefficients.nonzero(c, x, down);
                    const auto last = static_cast<unsigned>(std::bit_width(nonzero | 1)) - 1;
                    d.output.place(c, x, y, coefficients.block(c, x, down), last);
                }
        }
        d.output.endRow(d.layout.mcusPerRow);
    }
}

}  // namespace

int decodeScans(ByteSource& in, Headers& headers, const Layout& layout, Output& output) {
    Decoder d{in, headers, layout, output};
    if (!d.tables) return ERR_MEMORY;
    if (const int code = d.reader.readScanHeader()) return code;
    const bool inOneScan = static_cast<unsigned>(headers.scan.count) == layout.count;
    if (!headers.progressive() && inOneScan) return decodeInterleaved(d);

    Coefficients coefficients(layout, output.mcuRows());
    if (!coefficients.allocate()) return ERR_MEMORY;
    const int code = headers.progressive() ? decodeProgressiveScans(d, coefficients)
                                           : decodeSequentialScans(d, coefficients);
    if (code == 0) showCoefficients(d, coefficients);
    return code;
}

}  // namespace orn32::jpeg
