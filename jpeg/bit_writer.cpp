#include "jpeg/bit_writer.h"

#include <emmintrin.h>

#include <bit>

namespace orn32::jpeg {

// Sixteen bytes are copied at a time; those behind the first 0xFF are copied again, behind its 0.
std::uint8_t* stuffBytes(std::uint8_t* to, const std::uint8_t* from, std::size_t count) {
    const __m128i ones = _mm_set1_epi8(-1);
    const std::uint8_t* end = from + count;
    while (from < end) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
        const auto found = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, ones)));
        const std::ptrdiff_t clean = found ? std::countr_zero(found) + 1 : 16;
        if (end - from < clean) return to + (end - from);
        from += clean;
        to += clean;
        if (found) *to++ = 0;
    }
    return to;
}

bool BitWriter::flush() {
    std::uint8_t* stuffed = buffer_.get() + rawBytes;
    const auto count = static_cast<std::size_t>(cursor_.position() - buffer_.get());
    const std::uint8_t* end = stuffBytes(stuffed, buffer_.get(), count);
    cursor_.moveTo(buffer_.get());
    return out_.write(stuffed, static_cast<std::uint32_t>(end - stuffed));
}

void BitWriter::writeOut() {
    if (!flush()) fail(out_.status() == ERR_MEMORY ? Detail::writeToMemory : Detail::writeFailure);
}

}  // namespace orn32::jpeg
