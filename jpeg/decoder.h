// Decoding the scans of a frame into an output.
#pragma once

#include <cstdint>

#include "jpeg/bit_reader.h"
#include "jpeg/byte_source.h"
#include "jpeg/coefficients.h"
#include "jpeg/headers.h"
#include "jpeg/layout.h"
#include "jpeg/output.h"
#include "jpeg/scan_tables.h"

namespace orn32::jpeg {

// What the scan decoders share.
struct Decoder {
    ByteSource& in;
    Headers& headers;
    const Layout& layout;
    Output& output;
    HeaderReader reader{in, headers};
    ScanTables tables{};

    const Component& component(unsigned c) const { return headers.components[c]; }
};

// Counts the MCUs of a scan down to its next restart marker.
class RestartCounter {
 public:
    explicit RestartCounter(std::uint32_t interval) : interval_(interval), left_(interval) {}

    bool isOn() const { return interval_ != 0; }

    // To be called before each MCU: whether a restart marker comes first.
    bool due() {
        if (interval_ == 0) return false;
        const bool due = left_ == 0;
        if (due) left_ = interval_;
        left_--;
        return due;
    }

    // Passes over MCUs, unless a restart marker comes before one of them.
    bool pass(std::uint32_t mcus) {
        if (interval_ == 0) return true;
        if (left_ < mcus) return false;
        left_ -= mcus;
        return true;
    }

 private:
    std::uint32_t interval_, left_;
};

// Reads the stream from its start to the last scan that matters. The source is at the start; the frame has
// passed its checks. Returns a result code; deep failures unwind.
[[nodiscard]] int decodeScans(ByteSource& in, Headers& headers, const Layout& layout, Output& output);

// All components in one scan: its blocks go straight to the output.
[[nodiscard]] int decodeInterleaved(Decoder& decoder);

// Several scans; the coefficients are collected first.
[[nodiscard]] int decodeSequentialScans(Decoder& decoder, Coefficients& coefficients);
[[nodiscard]] int decodeProgressiveScans(Decoder& decoder, Coefficients& coefficients);

// Decodes a block of a sequential scan into 64 coefficients, which are 0 before. Returns the index in zigzag
// order behind which all are 0.
unsigned decodeBlock(BitReader& bits, const DecodeTable& dc, const DecodeTable& ac, std::int16_t& predictor,
                     std::int16_t* coefs);

// The next DC difference.
int decodeDifference(BitReader& bits, const DecodeTable& table);

}  // namespace orn32::jpeg
