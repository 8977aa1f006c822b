#include "jpeg/header_writer.h"

#include "jpeg/error.h"

namespace orn32::jpeg {
namespace {

// Segments put together before they are written. The most that is gathered at once are two tables of 16-bit
// values and the frame header; every Huffman table is shorter.
class Segments {
 public:
    void byte(unsigned value) { bytes_[used_++] = static_cast<std::uint8_t>(value); }
    void word(unsigned value) {
        byte(value >> 8);
        byte(value);
    }
    // A segment's marker and length, which counts itself but not the marker.
    void begin(std::uint8_t code, unsigned length) {
        mark(code);
        word(length);
    }
    void mark(std::uint8_t code) {
        byte(0xFF);
        byte(code);
    }
    void writeTo(OutputStream& out) const { writeAll(out, bytes_, used_); }

 private:
    std::uint8_t bytes_[315];
    std::uint32_t used_ = 0;
};

void addQuantisationTable(Segments& to, unsigned slot, const QuantisationTable& table) {
    to.begin(marker::dqt, table.wide ? 131 : 67);
    to.byte((table.wide ? 0x10 : 0) | slot);
    for (const std::uint8_t position : naturalOrder) {
        const unsigned value = table.value[position] / 8u;
        if (table.wide) to.byte(value >> 8);
        to.byte(value);
    }
}

std::uint8_t frameMarker(const EncodeFrame& frame) {
    if (frame.coding == Coding::progressive) return marker::sof2;
    return frame.quantisation[0].wide || frame.quantisation[1].wide ? marker::sof1 : marker::sof0;
}

// Progressive scans name only the tables that they use: DC or AC, and none where DC is refined.
unsigned tableSelectors(const EncodeFrame& frame, const Scan& scan, const Component& component) {
    unsigned dc = component.td, ac = component.ta;
    if (frame.coding == Coding::progressive) {
        if (scan.ss > 0 || scan.ah > 0) dc = 0;
        if (scan.ss == 0) ac = 0;
    }
    return dc << 4 | ac;
}

}  // namespace

void writeAll(OutputStream& out, const void* bytes, std::uint32_t count) {
    if (!out.write(bytes, count)) failWith(out.status());
}

void writeStart(OutputStream& out, const Resolution& resolution) {
    Segments segments;
    segments.mark(marker::soi);
    segments.begin(marker::app0, 16);
    for (const char c : {'J', 'F', 'I', 'F', '\0'}) segments.byte(static_cast<unsigned char>(c));
    segments.word(0x0102);  // the version
    segments.byte(resolution.units);
    segments.word(resolution.x);
    segments.word(resolution.y);
    segments.word(0);  // no thumbnail here: an extension segment has it
    segments.writeTo(out);
}

void writeFrame(OutputStream& out, const EncodeFrame& frame) {
    const auto count = static_cast<unsigned>(frame.componentCount);
    Segments segments;
    for (unsigned i = 0; i < (frame.grey() ? 1u : 2u); i++)
        addQuantisationTable(segments, i, frame.quantisation[i]);
    segments.begin(frameMarker(frame), 8 + 3 * count);
    segments.byte(8);  // bits per sample
    segments.word(frame.size.height);
    segments.word(frame.size.width);
    segments.byte(count);
    for (unsigned i = 0; i < count; i++) {
        const Component& component = frame.components[i];
        segments.byte(component.id);
        segments.byte(static_cast<unsigned>(component.h) << 4 | component.v);
        segments.byte(component.tq);
    }
    segments.writeTo(out);
}

void writeHuffmanTable(OutputStream& out, TableClass tableClass, unsigned slot,
                       const HuffmanDefinition& table) {
    const auto total = static_cast<unsigned>(table.total());
    Segments segments;
    segments.begin(marker::dht, 19 + total);
    segments.byte(static_cast<unsigned>(tableClass) | slot);
    for (const std::uint8_t count : table.counts) segments.byte(count);
    for (unsigned i = 0; i < total; i++) segments.byte(table.values[i]);
    segments.writeTo(out);
}

void writeScan(OutputStream& out, const EncodeFrame& frame, const Scan& scan) {
    const auto count = static_cast<unsigned>(scan.count);
    Segments segments;
    segments.begin(marker::sos, 6 + 2 * count);
    segments.byte(count);
    for (unsigned i = 0; i < count; i++) {
        const Component& component = frame.components[scan.components[i]];
        segments.byte(component.id);
        segments.byte(tableSelectors(frame, scan, component));
    }
    segments.byte(scan.ss);
    segments.byte(scan.se);
    segments.byte(static_cast<unsigned>(scan.ah) << 4 | scan.al);
    segments.writeTo(out);
}

void writeEnd(OutputStream& out) {
    Segments segments;
    segments.mark(marker::eoi);
    segments.writeTo(out);
}

}  // namespace orn32::jpeg
