#include "png/rows.h"

#include <algorithm>
#include <cstring>

#include "png/detail.h"
#include "png/zmemory.h"

namespace orn32::png {
namespace {

// zlib is fastest when it can write far ahead: it slows down in front of the end of its output, and keeps a
// copy of the last 32 KB after every call.
constexpr std::uint32_t aheadBytes = 131072;

constexpr int windowBits = 15;

// Filters may touch a few bytes behind a row.
constexpr std::uint32_t slackBytes = 16;

}  // namespace

RowSource::RowSource(InputStream& in, const Place& data, std::uint64_t longest, unsigned together)
    : capacity_(2 * (longest + 1) + aheadBytes),
      together_(together),
      buffer_(MemoryEntry::second, capacity_ + slackBytes),
      data_(in, data),
      zlib_(emptyStream()),
      next_(buffer_.get()),
      end_(next_) {
    if (!buffer_) throw Failure{ERR_MEMORY};
    if (inflateInit2(&zlib_, windowBits) != Z_OK) fail(zlibWontStart);
    inflateValidate(&zlib_, 0);
}

RowSource::~RowSource() {
    inflateEnd(&zlib_);
}

std::uint8_t* RowSource::next(std::uint32_t length) {
    const std::uint64_t bytes = std::uint64_t{length} + 1;
    if (isLow(bytes)) refill();
    if (available() < bytes) {
        if (fault_) throw *fault_;
        fail(badDataLength);
    }
    previous_ = current_;
    current_ = next_;
    next_ += bytes;
    return current_;
}

Rows RowSource::atHand(std::uint32_t length, std::uint32_t rowsLeft) const {
    const std::size_t stride = std::size_t{length} + 1;
    const unsigned above = previous_ ? 1 : 0;
    const std::uint64_t following = std::min<std::uint64_t>(available() / stride, rowsLeft - 1);
    const std::uint64_t count = std::min<std::uint64_t>(above + 1 + following, rowsTogether);
    return {current_ - above * stride, static_cast<unsigned>(count), stride};
}

// Rows are turned back faster in a number than one by one. To have more of them, what is left is moved to the
// buffer's start, but not more often than that is worth.
bool RowSource::isLow(std::uint64_t rowBytes) const {
    if (available() < rowBytes) return true;
    const auto used = static_cast<std::uint64_t>(next_ - buffer_.get());
    return *next_ != filterNone && available() < together_ * rowBytes && used > capacity_ / 2;
}

void RowSource::finish() {
    if (available() == 0) refill();
    if (available() > 0) fail(badDataLength);
    if (fault_) throw *fault_;
    data_.finish(zlib_.avail_in);
}

// Brings the current row, which is about to be the previous one, and all behind it to the buffer's start.
void RowSource::refill() {
    std::uint8_t* start = current_ ? current_ : next_;
    const std::ptrdiff_t distance = start - buffer_.get();
    std::memmove(buffer_.get(), start, static_cast<std::size_t>(end_ - start));
    if (current_) current_ -= distance;
    next_ -= distance;
    end_ -= distance;
    decompress();
}

// Fills the buffer up, or stops at the data's end or first fault.
void RowSource::decompress() {
    std::uint8_t* limit = buffer_.get() + capacity_;
    while (end_ < limit && !complete_ && !fault_)
        if (zlib_.avail_in > 0 || fetchInput()) decompressOnce(limit);
}

// zlib spends a good part of its time on the checksum at the stream's end. It has been told to leave that
// out: it is done here, with wider instructions.
void RowSource::decompressOnce(std::uint8_t* limit) {
    zlib_.next_out = end_;
    zlib_.avail_out = static_cast<uInt>(limit - end_);
    const int result = inflate(&zlib_, Z_NO_FLUSH);
    adler_.add(end_, static_cast<std::size_t>(zlib_.next_out - end_));
    end_ = zlib_.next_out;
    if (result == Z_STREAM_END && lastInputBytes() == adler_.value())
        complete_ = true;
    else if (result == Z_MEM_ERROR)
        fault_ = Failure{ERR_MEMORY};
    else if (result != Z_OK)
        fault_ = Failure{ERR_PNG, corruptData};
}

bool RowSource::fetchInput() {
    lastBytesBefore_ = lastInputBytes();
    try {
        input_ = data_.next();
        zlib_.next_in = const_cast<Bytef*>(input_.data());
        zlib_.avail_in = static_cast<uInt>(input_.size());
        if (input_.empty()) fault_ = Failure{ERR_PNG, badDataLength};
    } catch (const Failure& failure) {
        fault_ = failure;
    }
    return !fault_;
}

// The last four bytes that zlib has taken, some of which may be in the input before.
std::uint32_t RowSource::lastInputBytes() const {
    const std::size_t taken = input_.size() - zlib_.avail_in;
    std::uint32_t bytes = lastBytesBefore_;
    for (std::size_t i = taken - std::min<std::size_t>(taken, 4); i < taken; i++)
        bytes = bytes << 8 | input_[i];
    return bytes;
}

}  // namespace orn32::png
