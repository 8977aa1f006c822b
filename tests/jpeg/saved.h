// A picture saved to a buffer, for looking at its bytes.
#pragma once

#include <windows.h>

#include <algorithm>
#include <optional>

#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/test_image.h"

namespace test {

inline void freeBuffer(void* buffer) {
    const HGLOBAL handle = GlobalHandle(buffer);
    GlobalUnlock(handle);
    GlobalFree(handle);
}

class Saved {
 public:
    Saved(TestImage& image, int quality, UINT options)
        : code(savejpgtobufferex(&buffer_, image, quality, options)) {
        if (code != 0) return;
        Bytes source = bytes();
        source.resize(std::max<std::size_t>(source.size(), 100));  // what is probed of a source
        source_.emplace(source);
    }
    ~Saved() {
        if (buffer_) freeBuffer(buffer_);
    }
    Saved(const Saved&) = delete;
    Saved& operator=(const Saved&) = delete;

    // The file: a block's size may be more than was written, so that its end mark ends it.
    Bytes bytes() const {
        const auto* p = static_cast<const std::uint8_t*>(buffer_);
        std::size_t n = GlobalSize(GlobalHandle(buffer_));
        while (n > 2 && (p[n - 2] != 0xFF || p[n - 1] != 0xD9)) n--;
        return {p, p + n};
    }
    // The file as a source, which ends at an unreadable page.
    const void* data() const { return source_->data(); }

 private:
    void* buffer_ = nullptr;
    std::optional<GuardedBytes> source_;

 public:
    const int code;
};

}  // namespace test
