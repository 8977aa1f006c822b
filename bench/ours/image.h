// Images of the library holding the benchmark's pictures.
#pragma once

#include "../pictures.h"
#include "orn32.h"

namespace bench {

// An allocated image that frees itself; movable into a row's pass by shared pointer.
class Image {
 public:
    Image(unsigned width, unsigned height, unsigned bits);
    explicit Image(const Picture& picture);  // holds the picture and its palette
    ~Image() { freeimage(&image_); }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    operator imgdes*() { return &image_; }
    imgdes* operator->() { return &image_; }
    std::uint32_t fingerprint() const;  // of its pixels

 private:
    imgdes image_;
};

// Releases a buffer that a tobuffer function has made.
void freeBuffer(void* buffer);

}  // namespace bench
