#include "tests/png/png_file.h"

#include <zlib.h>

#include <algorithm>
#include <stdexcept>

namespace test {
namespace {

const Bytes signature = {0x89, 'P', 'N', 'G', 13, 10, 26, 10};

}  // namespace

std::uint32_t plainCrc(const std::uint8_t* bytes, std::size_t count) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (std::size_t i = 0; i < count; i++) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; bit++) crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

Bytes bigEndian32(std::uint32_t v) {
    return {static_cast<std::uint8_t>(v >> 24), static_cast<std::uint8_t>(v >> 16),
            static_cast<std::uint8_t>(v >> 8), static_cast<std::uint8_t>(v)};
}

std::uint32_t fromBigEndian32(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(p[0] << 24 | p[1] << 16 | p[2] << 8 | p[3]);
}

Bytes asBytes(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

Bytes pngFile(const std::vector<Chunk>& chunks) {
    Bytes file = signature;
    for (const Chunk& chunk : chunks) {
        const Bytes checked = asBytes(chunk.type) + chunk.data;
        file = std::move(file) + bigEndian32(chunk.data.size()) + checked +
               bigEndian32(plainCrc(checked.data(), checked.size()) + chunk.crcError);
    }
    return file;
}

Bytes pngFile(const Chunk& header, std::vector<Chunk> chunks) {
    chunks.insert(chunks.begin(), header);
    chunks.push_back({"IEND", {}});
    return pngFile(chunks);
}

std::vector<Chunk> chunksOf(const Bytes& file) {
    std::vector<Chunk> chunks;
    if (slice(file, 0, 8) != signature) throw std::runtime_error("signature");
    for (std::size_t at = 8; at < file.size();) {
        const std::size_t length = fromBigEndian32(&file.at(at));
        if (length > file.size() || at + 12 + length > file.size()) throw std::runtime_error("chunk length");
        if (plainCrc(&file[at + 4], length + 4) != fromBigEndian32(&file[at + 8 + length]))
            throw std::runtime_error("checksum");
        chunks.push_back({std::string(&file[at + 4], &file[at + 8]), slice(file, at + 8, length)});
        at += 12 + length;
    }
    return chunks;
}

void repairCrcs(Bytes& file) {
    for (std::size_t at = 8; at + 12 <= file.size();) {
        const std::size_t length = fromBigEndian32(&file[at]);
        if (length > file.size() - at - 12) return;
        const Bytes crc = bigEndian32(plainCrc(&file[at + 4], length + 4));
        std::copy(crc.begin(), crc.end(), file.begin() + static_cast<std::ptrdiff_t>(at + 8 + length));
        at += 12 + length;
    }
}

Chunk headerChunk(std::uint32_t width, std::uint32_t height, unsigned depth, unsigned type, bool interlaced) {
    return {"IHDR",
            bigEndian32(width) + bigEndian32(height) +
                Bytes{static_cast<std::uint8_t>(depth), static_cast<std::uint8_t>(type), 0, 0, interlaced}};
}

Bytes compressed(const Bytes& data, int level) {
    uLongf size = compressBound(data.size());
    Bytes out(size);
    compress2(out.data(), &size, data.data(), data.size(), level);
    out.resize(size);
    return out;
}

std::vector<Chunk> dataChunks(const Bytes& data, std::size_t size) {
    std::vector<Chunk> chunks;
    for (std::size_t at = 0; at < data.size(); at += size)
        chunks.push_back({"IDAT", slice(data, at, std::min(size, data.size() - at))});
    return chunks;
}

}  // namespace test
