// Reading image data without string codes: sub-blocks to codes to rows.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "core/area.h"
#include "core/bits.h"
#include "core/memory.h"
#include "gif/image_data.h"
#include "gif/interlace.h"
#include "gif/lzw.h"

namespace orn32::gif {
namespace {

constexpr std::uint32_t pieceBytes = 65536;
constexpr std::uint32_t batchCodes = 16384;

struct ReaderWork {
    std::uint16_t codes[batchCodes];
    std::uint8_t input[pieceBytes + 16];  // some bytes kept from the piece before, some read beyond the end
};

// The work block that callers' memory functions are asked for, but for the row of the frame behind it: larger
// than needed, so that its contents can be aligned whatever those functions give.
constexpr std::uint32_t workBytes = 147456;
static_assert(sizeof(ReaderWork) + alignof(ReaderWork) <= workBytes);

// Sub-blocks without their length bytes. The stream is read in pieces, and each piece's payload is moved
// together in its place.
class Payload {
 public:
    Payload(InputStream& in, std::uint8_t* input) : in_(in), input_(input) {}

    // Puts more bytes behind those kept from before, which lie at the start of the buffer. Returns how many
    // there are now; no more than before where the data ends.
    std::uint32_t fill(std::uint32_t kept) {
        std::uint32_t length = kept;
        while (length == kept && !terminated_ && !truncated_) {
            const std::uint32_t size = in_.read(input_ + kept, pieceBytes);
            truncated_ = size == 0;
            length += join(input_ + kept, size);
        }
        return length;
    }

    // The stream has ended before the terminator.
    bool truncated() const { return truncated_; }

 private:
    std::uint32_t join(std::uint8_t* piece, std::uint32_t size) {
        std::uint32_t from = 0, to = 0;
        while (from < size) {
            if (blockLeft_ == 0) {
                blockLeft_ = piece[from++];
                terminated_ = blockLeft_ == 0;
                if (terminated_) break;
            }
            const std::uint32_t n = std::min(blockLeft_, size - from);
            std::memmove(piece + to, piece + from, n);
            from += n;
            to += n;
            blockLeft_ -= n;
        }
        return to;
    }

    InputStream& in_;
    std::uint8_t* input_;
    std::uint32_t blockLeft_ = 0;
    bool terminated_ = false;
    bool truncated_ = false;
};

// Unpacks codes in batches. The width follows the table that a decoder of string codes would build by now.
class Unpacker {
 public:
    Unpacker(InputStream& in, std::uint8_t* input, CodeSet set)
        : payload_(in, input), input_(input), set_(set) {
        restart();
    }

    // Returns the number of codes, 0 at the end of the data.
    std::uint32_t unpack(std::uint16_t* codes) {
        std::uint32_t n = 0;
        while (n < batchCodes && hasCode()) {
            const std::uint32_t room = std::min(batchCodes - n, (bits_ - bit_) / width_);
            n += unpackRun(codes + n, width_ < widestCode ? std::min(room, growsAbove_ - count_ + 1) : room);
        }
        return n;
    }
    bool truncated() const { return payload_.truncated(); }

 private:
    bool hasCode() {
        while (bit_ + width_ > bits_) {
            const std::uint32_t kept = bits_ / 8 - bit_ / 8;
            std::memmove(input_, input_ + bit_ / 8, kept);
            bit_ %= 8;
            bits_ = payload_.fill(kept) * 8;
            if (bits_ == kept * 8) return false;
        }
        return true;
    }

    // Up to n codes of one width, or to a clear code.
    std::uint32_t unpackRun(std::uint16_t* codes, std::uint32_t n) {
        for (std::uint32_t i = 0; i < n; i++) {
            if (bit_ % 8 == 0 && width_ == 9 && n - i >= 8) {
                i += unpackBytes(codes + i, (n - i) / 8) * 8;
                if (i == n) break;
            }
            codes[i] = static_cast<std::uint16_t>(load32(input_ + bit_ / 8) >> bit_ % 8 & maskOf(width_));
            bit_ += width_;
            if (codes[i] == set_.clear) {
                restart();
                return i + 1;
            }
        }
        count_ += n;
        if (count_ > growsAbove_ && width_ < widestCode) {
            width_++;
            growsAbove_ *= 2;
        }
        return n;
    }

    // Codes of 9 bits, eight at a time out of nine bytes: code i begins at bit i of byte i. Stops before a
    // clear code. Returns how many eights there were.
    std::uint32_t unpackBytes(std::uint16_t* codes, std::uint32_t eights) {
        const __m128i toTheTop = _mm_setr_epi16(128, 64, 32, 16, 8, 4, 2, 1);
        const __m128i clear = _mm_set1_epi16(static_cast<short>(set_.clear));
        const std::uint8_t* p = input_ + bit_ / 8;
        std::uint32_t i = 0;
        for (; i < eights; i++, p += 9) {
            const __m128i low = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
            const __m128i high = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + 1));
            const __m128i words = _mm_mullo_epi16(_mm_unpacklo_epi8(low, high), toTheTop);
            const __m128i eight = _mm_srli_epi16(words, 7);
            if (_mm_movemask_epi8(_mm_cmpeq_epi16(eight, clear))) break;
            _mm_storeu_si128(reinterpret_cast<__m128i*>(codes + i * 8), eight);
        }
        bit_ += i * 72;
        return i;
    }

    void restart() {
        width_ = set_.width;
        count_ = set_.firstString;
        growsAbove_ = 1u << width_;
    }

    Payload payload_;
    std::uint8_t* input_;
    CodeSet set_;
    std::uint32_t bit_ = 0;   // the next code's place in the input,
    std::uint32_t bits_ = 0;  // and how far the input is filled
    unsigned width_;
    std::uint32_t count_;  // codes since the last clear code, on top of the first string code
    std::uint32_t growsAbove_;
};

// Builds rows out of codes and puts them into the image.
class Rows {
 public:
    Rows(const GifFrameInfo& frame, const imgdes& image, std::uint8_t* row, CodeSet set)
        : set_(set),
          area_(image),
          oneBit_(image.header->biBitCount == 1),
          interlaced_(frame.interlaced != 0),
          table_(static_cast<std::uint32_t>(frame.height)),
          frameWidth_(static_cast<std::uint32_t>(frame.width)),
          clipped_{std::min(areaSize(image).width, frameWidth_),
                   std::min(areaSize(image).height, static_cast<std::uint32_t>(frame.height))},
          row_(row) {}

    bool complete() const { return rows_ == clipped_.height || frameWidth_ == 0; }

    // Takes codes up to the end of the batch or of the frame. Returns 0 or ERR_LZW_CODE.
    int take(const std::uint16_t* codes, std::uint32_t n) {
        std::uint32_t i = 0;
        while (i < n) {
            i += takePixels(codes + i, std::min(n - i, frameWidth_ - column_));
            if (column_ == frameWidth_) {
                finishRow();
                if (complete()) return 0;
            } else if (i < n) {
                const unsigned code = codes[i++];
                if (code == set_.clear) continue;
                ended_ = true;
                return code == set_.end ? 0 : ERR_LZW_CODE;
            }
        }
        return 0;
    }
    bool ended() const { return ended_; }

 private:
    // Up to n codes that are pixels; returns how many there were.
    std::uint32_t takePixels(const std::uint16_t* codes, std::uint32_t n) {
        std::uint8_t* out = row_ + column_;
        const __m128i largest = _mm_set1_epi16(static_cast<short>(set_.clear - 1));
        std::uint32_t i = 0;
        for (; i + 8 <= n; i += 8) {
            const __m128i eight = _mm_loadu_si128(reinterpret_cast<const __m128i*>(codes + i));
            if (_mm_movemask_epi8(_mm_cmpgt_epi16(eight, largest))) break;
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(eight, eight));
        }
        for (; i < n && codes[i] < set_.clear; i++) out[i] = static_cast<std::uint8_t>(codes[i]);
        column_ += i;
        return i;
    }

    void finishRow() {
        const std::uint32_t y = interlaced_ ? table_.row(rows_) : rows_;
        if (y < clipped_.height) {
            if (oneBit_)
                placePixels(y);
            else
                std::memcpy(area_[y], row_, clipped_.width);
        }
        rows_++;
        column_ = 0;
    }

    // Every pixel but 0 becomes a set bit. The bits are gathered at the start of the row of bytes.
    void placePixels(std::uint32_t y) {
        for (std::uint32_t x = 0; x < clipped_.width; x += 8) {
            unsigned bits = 0;
            for (std::uint32_t k = 0; k < std::min(clipped_.width - x, 8u); k++)
                if (row_[x + k]) bits |= 0x80u >> k;
            row_[x / 8] = static_cast<std::uint8_t>(bits);
        }
        placeBits(area_[y], area_.bit(), row_, clipped_.width);
    }

    CodeSet set_;
    AreaRows area_;
    bool oneBit_, interlaced_;
    GifInterlaceTable table_;
    std::uint32_t frameWidth_;
    Size clipped_;
    std::uint8_t* row_;
    std::uint32_t rows_ = 0;    // complete so far
    std::uint32_t column_ = 0;  // pixels of the row begun
    bool ended_ = false;
};

}  // namespace

int readImageData(InputStream& in, const GifFrameInfo& frame, const imgdes& image) {
    const WorkArray<std::uint8_t> block(MemoryEntry::first,
                                        std::uint64_t{workBytes} + static_cast<std::uint32_t>(frame.width));
    if (!block) return ERR_MEMORY;
    void* start = block.get();
    std::size_t space = workBytes;
    ReaderWork& work =
        *static_cast<ReaderWork*>(std::align(alignof(ReaderWork), sizeof(ReaderWork), start, space));
    const CodeSet set(static_cast<unsigned>(frame.codesize));
    Unpacker unpacker(in, work.input, set);
    Rows rows(frame, image, block.get() + workBytes, set);
    while (!rows.complete() && !rows.ended()) {
        const std::uint32_t n = unpacker.unpack(work.codes);
        if (n == 0) return unpacker.truncated() ? ERR_TRUNCATED : 0;
        if (const int code = rows.take(work.codes, n)) return code;
    }
    return 0;
}

}  // namespace orn32::gif
