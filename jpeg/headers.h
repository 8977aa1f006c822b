// What the segments in front of a scan say, and the reader that collects it.
#pragma once

#include <cstdint>

#include "jpeg/byte_source.h"
#include "jpeg/format.h"
#include "orn32.h"

namespace orn32::jpeg {

struct QuantTable {
    bool present;
    alignas(16) std::uint16_t values[blockSize];  // natural order, none of them 0
};

struct HuffmanSlot {
    bool present;
    HuffmanDefinition definition;
};

struct Density {
    std::uint32_t x, y, units;
};

struct Thumbnail {
    bool present;
    std::uint8_t width, height, bits;
    ThumbnailKind kind;
    std::uint32_t offset;  // of its pixels in the stream; 0 where they cannot be loaded
};

struct Headers {
    Headers() { info.ftype = -1; }

    JpegInfo info = {};
    Component components[maxComponents] = {};
    std::uint32_t restartInterval = 0;  // in MCUs, 0 for none
    std::uint8_t adobeTransform = 1;
    Density density = {};
    Thumbnail thumbnail = {};
    QuantTable quant[tableSlots] = {};
    HuffmanSlot dc[tableSlots] = {}, ac[tableSlots] = {};
    Scan scan = {};

    bool progressive() const { return info.ftype == 2; }
};

class HeaderReader {
 public:
    HeaderReader(ByteSource& in, Headers& headers) : in_(in), headers_(headers) {}

    // Reads from the start of the stream to its first scan: all but the Huffman tables and the scan header.
    // Returns 0 or ERR_BAD_JPEG; a stream that ends unwinds.
    [[nodiscard]] int readInformation();

    // Reads from the start, or from behind a scan, to the next scan and its header. Of the frame, the
    // thumbnail and the quantisation tables nothing is read again.
    // Returns 0, ERR_BAD_JPEG, or ERR_NO_DATA when the image ends. A stream that ends unwinds, or with
    // tolerateEnd gives 0 with ended() set.
    [[nodiscard]] int readScanHeader(bool tolerateEnd = false);

    bool ended() const { return ended_; }

 private:
    enum class Purpose { information, scan };
    enum class Step { next, found, finished };

    int read(Purpose purpose);
    bool findMarker();
    Step readSegment(Purpose purpose, std::uint8_t code, int& result);
    Step readKnownSegment(Purpose purpose, std::uint8_t code, int& result);
    bool endOfData();

    // The byte at index i from the marker on; 0 beyond the end of the stream.
    unsigned at(std::uint32_t i) const { return i < in_.available() ? in_.next()[i] : 0u; }
    unsigned wordAt(std::uint32_t i) const { return at(i) << 8 | at(i + 1); }
    bool hasTextAt(std::uint32_t i, const char* text) const;

    int readFrame(std::uint8_t code);
    void readQuantTables(std::uint32_t length);
    int readHuffmanTables(std::uint32_t length);
    void readJfif(std::uint32_t length);
    void readJfifExtension();
    void readAdobe();
    int readScan();

    ByteSource& in_;
    Headers& headers_;
    bool tolerateEnd_ = false;
    bool ended_ = false;
    bool frameIsFixed_ = false;  // a first scan header has been read
};

}  // namespace orn32::jpeg
