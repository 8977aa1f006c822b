// Writing image data without string codes: rows to codes to sub-blocks.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "core/area.h"
#include "core/memory.h"
#include "gif/image_data.h"
#include "gif/interlace.h"
#include "gif/lzw.h"

namespace orn32::gif {
namespace {

constexpr std::uint32_t batchCodes = 32766;
constexpr std::uint32_t blockBytes = 254;

// The work block: a batch of codes packed, and the same cut into sub-blocks.
struct WriterWork {
    std::uint8_t packed[40960];
    std::uint8_t blocks[49152];
};
static_assert(sizeof(WriterWork) == 90112);
constexpr std::uint32_t mostPacked = (batchCodes * 9 + 15) / 8 + 1;
static_assert(mostPacked + 16 <= sizeof(WriterWork::packed));
static_assert(mostPacked + mostPacked / blockBytes + 1 <= sizeof(WriterWork::blocks));

// Packs pixels as codes, with a clear code in front and so often again that the codes' width never grows in
// any decoder. Whole 16-bit words go out in batches, each cut into blocks of its own.
class PixelWriter {
 public:
    PixelWriter(OutputStream& out, WriterWork& work, CodeSet set) : out_(out), work_(work), set_(set) {
        work_.packed[0] = 0;
    }

    // Each pixel below the clear code.
    void put(const std::uint8_t* pixels, std::uint32_t n) {
        while (n > 0) {
            if (untilClear_ == 0) {
                putCode(set_.clear);
                untilClear_ = set_.clear - 2;
            }
            const std::uint32_t run = std::min({n, untilClear_, batchCodes - codes_});
            pack(pixels, run);
            untilClear_ -= run;
            pixels += run;
            n -= run;
        }
    }
    void finish() {
        putCode(set_.end);
        writeBlocks((bit_ + 7) / 8);
        const std::uint8_t terminator = 0;
        out_.write(&terminator, 1);
    }

 private:
    void putCode(unsigned code) {
        append(code);
        count(1);
    }
    void pack(const std::uint8_t* pixels, std::uint32_t n) {
        for (std::uint32_t i = 0; i < n; i++) {
            if (bit_ % 8 == 0 && set_.width == 9 && n - i >= 8) {
                i += packBytes(pixels + i, (n - i) / 8) * 8;
                if (i == n) break;
            }
            append(pixels[i]);
        }
        count(n);
    }

    // The bytes behind the last code are 0 up to the end of its last byte, and beyond it where that is full.
    void append(unsigned code) {
        std::uint8_t* p = work_.packed + bit_ / 8;
        store32(p, *p | code << bit_ % 8);
        bit_ += set_.width;
    }

    // Codes of 9 bits, eight at a time into nine bytes: pixel i begins at bit i of byte i. Returns how many
    // eights there were.
    std::uint32_t packBytes(const std::uint8_t* pixels, std::uint32_t eights) {
        const __m128i toBit = _mm_setr_epi16(1, 2, 4, 8, 16, 32, 64, 128);
        const __m128i zero = _mm_setzero_si128(), lowByte = _mm_set1_epi16(0xFF);
        std::uint8_t* p = work_.packed + bit_ / 8;
        for (std::uint32_t i = 0; i < eights; i++, p += 9) {
            const __m128i eight = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pixels + i * 8));
            const __m128i words = _mm_mullo_epi16(_mm_unpacklo_epi8(eight, zero), toBit);
            const __m128i low = _mm_packus_epi16(_mm_and_si128(words, lowByte), zero);
            const __m128i high = _mm_packus_epi16(_mm_srli_epi16(words, 8), zero);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_or_si128(low, _mm_slli_si128(high, 1)));
        }
        bit_ += eights * 72;
        return eights;
    }

    void count(std::uint32_t codes) {
        codes_ += codes;
        if (codes_ < batchCodes) return;
        writeBlocks(bit_ / 16 * 2);
        codes_ = 0;
    }

    // Writes the first bytes of what is packed and keeps the rest, less than a word.
    void writeBlocks(std::uint32_t bytes) {
        std::uint8_t* to = work_.blocks;
        for (std::uint32_t from = 0; from < bytes; from += blockBytes) {
            const std::uint32_t n = std::min(blockBytes, bytes - from);
            *to++ = static_cast<std::uint8_t>(n);
            std::memcpy(to, work_.packed + from, n);
            to += n;
        }
        if (bytes > 0) out_.write(work_.blocks, static_cast<std::uint32_t>(to - work_.blocks));
        std::memmove(work_.packed, work_.packed + bytes, 4);
        bit_ -= std::min(bit_, bytes * 8);
    }

    OutputStream& out_;
    WriterWork& work_;
    CodeSet set_;
    std::uint32_t untilClear_ = 0;
    std::uint32_t codes_ = 0;  // of this batch
    std::uint32_t bit_ = 0;    // of this batch, packed
};

// The pixels of an area, row by row, one byte each.
class PixelSource {
 public:
    PixelSource(const imgdes& image, unsigned codeSize)
        : area_(image),
          width_(areaSize(image).width),
          oneBit_(image.header->biBitCount == 1),
          mask_(maskOf(codeSize)) {}

    void writeRow(std::uint32_t y, PixelWriter& writer) const {
        const std::uint8_t* row = area_[y];
        if (!oneBit_ && mask_ == 0xFF) {
            writer.put(row, width_);
            return;
        }
        std::uint8_t pixels[1024];
        for (std::uint32_t x = 0; x < width_;) {
            const std::uint32_t n = std::min<std::uint32_t>(sizeof pixels, width_ - x);
            for (std::uint32_t i = 0; i < n; i++, x++) pixels[i] = pixel(row, x);
            writer.put(pixels, n);
        }
    }

 private:
    std::uint8_t pixel(const std::uint8_t* row, std::uint32_t x) const {
        const std::uint32_t bit = area_.bit() + x;
        return static_cast<std::uint8_t>(oneBit_ ? row[bit / 8] >> (7 - bit % 8) & 1 : row[x] & mask_);
    }

    AreaRows area_;
    std::uint32_t width_;
    bool oneBit_;
    unsigned mask_;
};

}  // namespace

int writeImageData(OutputStream& out, const imgdes& image, const ImageDataOptions& options) {
    const WorkArray<WriterWork> work(MemoryEntry::first, 1);
    if (!work) return ERR_MEMORY;
    const unsigned codeSize = codeSizeFor(options.pixelBits);
    const std::uint32_t height = areaSize(image).height;
    const GifInterlaceTable table(height);
    const PixelSource source(image, codeSize);
    PixelWriter writer(out, work[0], CodeSet(codeSize));
    for (std::uint32_t i = 0; i < height && out.status() == 0; i++)
        source.writeRow(options.interlaced ? table.row(i) : i, writer);
    writer.finish();
    return out.status();
}

}  // namespace orn32::gif
