// PNG files built and taken apart chunk by chunk, with nothing borrowed from the library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/files.h"

namespace test {

struct Chunk {
    std::string type;
    Bytes data;
    std::uint32_t crcError = 0;  // added to the checksum
};

std::uint32_t plainCrc(const std::uint8_t* bytes, std::size_t count);

Bytes bigEndian32(std::uint32_t value);
std::uint32_t fromBigEndian32(const std::uint8_t* bytes);

Bytes asBytes(const std::string& text);

// The signature and the chunks.
Bytes pngFile(const std::vector<Chunk>& chunks);

// The same with a header chunk in front and IEND behind.
Bytes pngFile(const Chunk& header, std::vector<Chunk> chunks);

// The chunks of a sound file. Throws where it is not one.
std::vector<Chunk> chunksOf(const Bytes& file);

// Makes every checksum of a file whose chunk lengths can still be followed right again.
void repairCrcs(Bytes& file);

Chunk headerChunk(std::uint32_t width, std::uint32_t height, unsigned depth, unsigned type,
                  bool interlaced = false);

Bytes compressed(const Bytes& data, int level = 6);

// Data cut into IDAT chunks of the given size.
std::vector<Chunk> dataChunks(const Bytes& data, std::size_t size = 8192);

}  // namespace test
