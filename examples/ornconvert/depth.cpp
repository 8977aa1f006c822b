// Bits per pixel.
#include "depth.h"

#include <algorithm>

#include "messages.h"
#include "picture.h"

namespace ornconvert {

void fitDepth(Picture& picture, std::span<const unsigned> allowed) {
    if (std::ranges::find(allowed, picture.bits()) != allowed.end()) return;
    std::wstring depths;
    for (const unsigned bits : allowed) depths += (depths.empty() ? L"" : L" or ") + std::to_wstring(bits);
    throw Failure{text(L"a picture of ", picture.bits(), L" bits per pixel cannot be brought to ", depths)};
}

}  // namespace ornconvert
