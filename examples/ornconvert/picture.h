// A picture in memory: an imgdes that frees its image.
#pragma once

#include <utility>

#include "gif_frame.h"
#include "orn32.h"

namespace ornconvert {

class Picture {
 public:
    // A black picture of 1, 8, 16 (grey) or 24 bits per pixel; 4 becomes 8. Throws a Failure.
    Picture(long width, long height, unsigned bits);
    ~Picture() { freeimage(&image_); }
    Picture(Picture&& other) noexcept : gif(other.gif), image_(other.image_) { zeroimgdes(&other.image_); }
    Picture& operator=(Picture&& other) noexcept {
        std::swap(image_, other.image_);
        return *this;
    }

    // Stays when an operation puts another image in this one's place.
    GifFrameFacts gif;

    // The record, for the library's functions. They all work on its area, which is what will be saved.
    imgdes* image() { return &image_; }
    const imgdes* image() const { return &image_; }
    BITMAPINFOHEADER& header() { return *image_.header; }

    // Pixels of the area, and bits per pixel.
    UINT width() const { return image_.right - image_.left + 1; }
    UINT height() const { return image_.bottom - image_.top + 1; }
    unsigned bits() const { return image_.header->biBitCount; }

    // A black picture of the area's size, with the same resolution.
    Picture blank(unsigned bits) const;

    // Narrows the area. The coordinates are inclusive and count from the present area's top left corner.
    // Throws a Failure that says what is wrong with them.
    void crop(long left, long top, long right, long bottom);

 private:
    imgdes image_;
};

}  // namespace ornconvert
