// The filtered rows of a picture, decompressed into a buffer that is fixed in size but for two rows.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <optional>

#include "core/boundary.h"
#include "core/memory.h"
#include "png/adler.h"
#include "png/data.h"
#include "png/unfilter.h"

namespace orn32::png {

class RowSource {
 public:
    // longest is the bytes of the longest row, without its filter byte; together, how many rows the caller
    // likes to have at hand.
    RowSource(InputStream& in, const Place& data, std::uint64_t longest, unsigned together);
    ~RowSource();
    RowSource(const RowSource&) = delete;
    RowSource& operator=(const RowSource&) = delete;

    // The next row: a filter byte and length more bytes, which the caller may change. It stays as the
    // previous row until the call after the next. A fault in the data is reported when the rows in front of
    // it are used up.
    std::uint8_t* next(std::uint32_t length);

    // The row before the last one given out, without its filter byte; null at the start of a pass.
    const std::uint8_t* previous() const { return previous_ ? previous_ + 1 : nullptr; }

    // The last row given out, the one before it, and as many of the rows that follow as have been
    // decompressed: at most rowsTogether in all, and at most rowsLeft from the last one on. The caller may
    // change them too.
    Rows atHand(std::uint32_t length, std::uint32_t rowsLeft) const;

    void startPass() { current_ = nullptr; }

    // Fails unless the compressed data ends here too, and soundly.
    void finish();

 private:
    std::uint64_t available() const { return static_cast<std::uint64_t>(end_ - next_); }
    bool isLow(std::uint64_t rowBytes) const;
    void refill();
    void decompress();
    void decompressOnce(std::uint8_t* limit);
    bool fetchInput();
    std::uint32_t lastInputBytes() const;

    std::uint64_t capacity_;
    unsigned together_;
    WorkArray<std::uint8_t> buffer_;
    DataChunks data_;
    z_stream zlib_;
    std::span<const std::uint8_t> input_;
    std::uint32_t lastBytesBefore_ = 0;  // the last four in front of the input
    Adler adler_;
    std::uint8_t* previous_ = nullptr;
    std::uint8_t* current_ = nullptr;
    std::uint8_t* next_;
    std::uint8_t* end_;
    bool complete_ = false;
    std::optional<Failure> fault_;
};

}  // namespace orn32::png
