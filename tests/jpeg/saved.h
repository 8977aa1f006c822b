// A picture saved to a buffer, for looking at its bytes.
#pragma once

#include <windows.h>

#include "tests/support/files.h"
#include "tests/support/test_image.h"

namespace test {

class Saved {
 public:
    Saved(TestImage& image, int quality, UINT options)
        : code(savejpgtobufferex(&buffer_, image, quality, options)) {}
    ~Saved() {
        if (!buffer_) return;
        const HGLOBAL handle = GlobalHandle(buffer_);
        GlobalUnlock(handle);
        GlobalFree(handle);
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

 private:
    void* buffer_ = nullptr;

 public:
    const int code;
};

}  // namespace test
