// Chunks on their way out, and the compressor that fills the IDAT ones.
#pragma once

#include <zlib.h>

#include <cstdint>

#include "core/memory.h"
#include "io/stream.h"
#include "png/format.h"

namespace orn32::png {

// A chunk is put together with its frame around it, to be written in one go: the data lies behind
// chunkHeaderBytes, and chunkFrameBytes is what a buffer needs more than the data.
constexpr std::uint32_t chunkHeaderBytes = 8;
constexpr std::uint32_t chunkFrameBytes = 12;

// Fills in the frame around length bytes of data and writes the chunk.
void writeChunk(OutputStream& out, ChunkType type, std::uint8_t* framed, std::uint32_t length);

// Compresses what is added and writes it as IDAT chunks of 8192 bytes, the last one maybe shorter.
class DataWriter {
 public:
    // strategy is deflate's: how much it counts on bytes that vary around 0.
    DataWriter(OutputStream& out, int strategy);
    ~DataWriter();
    DataWriter(const DataWriter&) = delete;
    DataWriter& operator=(const DataWriter&) = delete;

    void add(const std::uint8_t* bytes, std::uint32_t count);
    void finish();

 private:
    void emptyBuffer();
    void writeBuffered(std::uint32_t count);

    OutputStream& out_;
    WorkArray<std::uint8_t> buffer_;
    z_stream zlib_;
};

}  // namespace orn32::png
