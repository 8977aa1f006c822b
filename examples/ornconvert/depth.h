// Bits per pixel: bringing a picture to a depth that an operation or a file format takes.
#pragma once

#include <span>

namespace ornconvert {

class Picture;

// The picture's area in 8 or 24 bits per pixel, with the picture's resolution. 1 and 16 bits become 8 without
// loss of what can be seen, 24 bits become the nearest of 256 colours. Throws a Failure for other depths.
Picture converted(Picture& picture, unsigned bits);

// Converts the picture unless its depth is among those allowed, the best of which come first. Throws a
// Failure where there is no way.
void fitDepth(Picture& picture, std::span<const unsigned> allowed);

}  // namespace ornconvert
