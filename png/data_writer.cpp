#include "png/data_writer.h"

#include "png/crc.h"
#include "png/detail.h"
#include "png/zmemory.h"

namespace orn32::png {
namespace {

constexpr std::uint32_t dataBytes = 8192;
constexpr int windowBits = 15;
constexpr int memoryLevel = 8;

}  // namespace

void writeChunk(OutputStream& out, ChunkType type, std::uint8_t* framed, std::uint32_t length) {
    storeBigEndian(framed, length);
    storeBigEndian(framed + 4, type);
    Crc crc;
    crc.add(framed + 4, 4 + length);
    storeBigEndian(framed + chunkHeaderBytes + length, crc.value());
    if (!out.write(framed, length + chunkFrameBytes)) fail(shortWrite, ERR_WRITE);
}

DataWriter::DataWriter(OutputStream& out, int strategy)
    : out_(out), buffer_(MemoryEntry::first, dataBytes + chunkFrameBytes), zlib_(emptyStream()) {
    if (!buffer_) fail(noMemoryToWrite, ERR_MEMORY);
    if (deflateInit2(&zlib_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, windowBits, memoryLevel, strategy) != Z_OK)
        fail(zlibWontStart, ERR_MEMORY);
    emptyBuffer();
}

DataWriter::~DataWriter() {
    deflateEnd(&zlib_);
}

void DataWriter::add(const std::uint8_t* bytes, std::uint32_t count) {
    zlib_.next_in = const_cast<Bytef*>(bytes);
    zlib_.avail_in = count;
    while (zlib_.avail_in > 0) {
        if (zlib_.avail_out == 0) writeBuffered(dataBytes);
        if (deflate(&zlib_, Z_NO_FLUSH) != Z_OK) fail(deflateFailed, ERR_ZLIB);
    }
}

void DataWriter::finish() {
    for (;;) {
        if (zlib_.avail_out == 0) writeBuffered(dataBytes);
        const int result = deflate(&zlib_, Z_FINISH);
        if (result == Z_STREAM_END) break;
        if (result != Z_OK && result != Z_BUF_ERROR) fail(deflateFailed, ERR_ZLIB);
    }
    if (zlib_.avail_out < dataBytes) writeBuffered(dataBytes - zlib_.avail_out);
}

void DataWriter::emptyBuffer() {
    zlib_.next_out = buffer_.get() + chunkHeaderBytes;
    zlib_.avail_out = dataBytes;
}

void DataWriter::writeBuffered(std::uint32_t count) {
    writeChunk(out_, chunkType("IDAT"), buffer_.get(), count);
    emptyBuffer();
}

}  // namespace orn32::png
