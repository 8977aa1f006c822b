#include "jpeg/byte_source.h"

#include <algorithm>
#include <cstring>

#include "jpeg/error.h"

namespace orn32::jpeg {

bool ByteSource::readMore() {
    if (atEnd_) return false;
    std::uint8_t* start = buffer_.get();
    const std::uint32_t held = std::min(static_cast<std::uint32_t>(next_ - start), heldBack);
    const std::uint32_t unread = available();
    std::memmove(start, next_ - held, held + unread);
    next_ = start + held;
    end_ = next_ + unread;
    const std::uint32_t room = std::min(readSize, heldBack + capacity - held - unread);
    const std::uint32_t n = in_.read(end_, room);
    if (in_.readFailed()) fail(Detail::readFailure);
    end_ += n;
    endOffset_ += n;
    atEnd_ = n < room;
    return n > 0;
}

std::uint32_t ByteSource::ensure(std::uint32_t count) {
    while (available() < count && readMore()) {
    }
    return available();
}

void ByteSource::skip(std::uint32_t count) {
    if (count <= available()) {
        next_ += count;
        return;
    }
    const std::uint32_t beyond = count - available();
    in_.skip(static_cast<std::int32_t>(beyond));
    endOffset_ += beyond;
    next_ = end_ = buffer_.get();
}

}  // namespace orn32::jpeg
