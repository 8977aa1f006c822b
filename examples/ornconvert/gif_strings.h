// GIF frames whose data uses string codes, which the library's own loader refuses: nearly all there are.
#pragma once

#include <string>

#include "picture.h"

namespace ornconvert {

// Loads the frame that the records describe, with its colours. How much of it the file really holds is told
// in words, which are empty where nothing is missing. Throws a Failure where nothing can be made of the data.
Picture loadGifFrameWithStrings(const std::wstring& file, const GifFrameInfo& frame, std::wstring& flaw);

}  // namespace ornconvert
