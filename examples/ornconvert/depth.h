// Bits per pixel: bringing a picture to a depth that an operation or a file format takes.
#pragma once

#include <span>

namespace ornconvert {

class Picture;

// Converts the picture unless its depth is among those allowed, the best of which come first. Throws a
// Failure where there is no way.
void fitDepth(Picture& picture, std::span<const unsigned> allowed);

}  // namespace ornconvert
