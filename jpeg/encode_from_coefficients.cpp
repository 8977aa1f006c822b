#include "jpeg/coefficient_planes.h"
#include "jpeg/encoder.h"
#include "jpeg/header_writer.h"
#include "jpeg/mcu_transform.h"
#include "jpeg/scan_coder.h"
#include "jpeg/scan_pass.h"
#include "jpeg/scan_script.h"

namespace orn32::jpeg {
namespace {

// Transforms the whole picture.
void fill(CoefficientPlanes& planes, McuRow& samples, const EncodeFrame& frame) {
    const McuTransform transform(frame);
    for (unsigned row = 0; row < frame.mcuRows(); row++) {
        samples.load(row);
        transform.forEachBlock(samples, [&](const BlockPlace& place, const QuantisedBlock& block) {
            planes.store(place.component, place.column, row * frame.components[place.component].v + place.row,
                         block);
        });
    }
}

// Writes the best tables for a scan's symbols and keeps their codes.
class ScanTables {
 public:
    ScanTables(OutputStream& out, TableCodes& codes) : out_(out), codes_(codes) {}

    // Which tables a scan needs follows from what it codes: every table with a symbol.
    void write(const TableCounts& counts) {
        for (unsigned slot = 0; slot < 2; slot++) {
            writeOne(TableClass::dc, slot, counts.dc[slot], codes_.dc[slot]);
            writeOne(TableClass::ac, slot, counts.ac[slot], codes_.ac[slot]);
        }
    }

 private:
    void writeOne(TableClass tableClass, unsigned slot, const SymbolCounts& counts, HuffmanCodes& codes) {
        if (!counts.any()) return;
        const HuffmanDefinition table = optimalTable(counts);
        writeHuffmanTable(out_, tableClass, slot, table);
        codes = HuffmanCodes(table);
    }

    OutputStream& out_;
    TableCodes& codes_;
};

}  // namespace

int encodeFromCoefficients(OutputStream& out, const EncodeFrame& frame, const imgdes& image) {
    BitWriter writer(out);
    CoefficientPlanes planes(frame);
    HeldBits held;
    if (!writer || !planes || !held) return ERR_MEMORY;
    {
        McuRow samples(frame, image);
        if (!samples) return ERR_MEMORY;
        fill(planes, samples, frame);
    }
    for (const Scan& scan : scanScript(frame)) {
        TableCounts counts;
        CountingPass counting(counts);
        ScanCoder(counting, frame, scan, planes).code();

        TableCodes codes;
        ScanTables(out, codes).write(counts);
        writeScan(out, frame, scan);
        {
            WritingPass writing(writer, codes, held);
            ScanCoder(writing, frame, scan, planes).code();
        }
        if (!writer.finish()) return out.status();
    }
    return 0;
}

}  // namespace orn32::jpeg
