#include "jpeg/bit_writer.h"
#include "jpeg/block_coder.h"
#include "jpeg/encoder.h"
#include "jpeg/mcu_transform.h"

namespace orn32::jpeg {
namespace {

struct ComponentCodes {
    HuffmanCodes dc, ac;

    explicit ComponentCodes(unsigned table) : dc(standardDc[table]), ac(standardAc[table]) {}
};

void writeBlock(BitWriter& writer, ComponentCodes& codes, int& predictor, QuantisedBlock block) {
    writer.reserve();
    BitCursor bits = writer.cursor();
    SymbolWriter{bits, codes.dc}.putValue(0, block.dc() - predictor);
    predictor = block.dc();
    codeAc(SymbolWriter{bits, codes.ac}, block);
    writer.setCursor(bits);
}

}  // namespace

int encodeSequential(OutputStream& out, const EncodeFrame& frame, const imgdes& image) {
    BitWriter writer(out);
    McuRow samples(frame, image);
    if (!writer || !samples) return ERR_MEMORY;
    const McuTransform transform(frame);
    ComponentCodes codes[] = {ComponentCodes(0), ComponentCodes(1)};
    int predictors[3] = {};
    for (unsigned row = 0; row < frame.mcuRows(); row++) {
        samples.load(row);
        transform.forEachBlock(samples, [&](const BlockPlace& place, const QuantisedBlock& block) {
            writeBlock(writer, codes[place.component > 0], predictors[place.component], block);
        });
    }
    return writer.finish() ? 0 : out.status();
}

}  // namespace orn32::jpeg
