// A packed image for the time of a call.
#pragma once

#include "orn32.h"

namespace orn32 {

// It frees itself; its record is cleared where it could not be had.
class TemporaryImage {
 public:
    TemporaryImage() = default;
    ~TemporaryImage() {
        if (image_.header) freeimage(&image_);
    }
    TemporaryImage(const TemporaryImage&) = delete;
    TemporaryImage& operator=(const TemporaryImage&) = delete;

    [[nodiscard]] int allocate(unsigned width, unsigned height, unsigned bits) {
        return allocDIB(&image_, width, height, bits);
    }
    operator imgdes*() { return &image_; }
    imgdes& operator*() { return image_; }
    explicit operator bool() const { return image_.header != nullptr; }

 private:
    imgdes image_ = {};
};

}  // namespace orn32
