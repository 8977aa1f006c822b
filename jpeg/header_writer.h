// Writing marker segments. A write that comes up short unwinds with its result code.
#pragma once

#include "io/stream.h"
#include "jpeg/encode_frame.h"
#include "jpeg/settings.h"

namespace orn32::jpeg {

enum class TableClass : std::uint8_t { dc = 0x00, ac = 0x10 };

void writeStart(OutputStream& out, const Resolution& resolution);  // SOI and JFIF
void writeFrame(OutputStream& out, const EncodeFrame& frame);      // quantisation tables and SOF
void writeHuffmanTable(OutputStream& out, TableClass tableClass, unsigned slot,
                       const HuffmanDefinition& table);
void writeScan(OutputStream& out, const EncodeFrame& frame, const Scan& scan);
void writeEnd(OutputStream& out);

// Writes bytes, or unwinds.
void writeAll(OutputStream& out, const void* bytes, std::uint32_t count);

}  // namespace orn32::jpeg
