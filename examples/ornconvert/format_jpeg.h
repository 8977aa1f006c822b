// JPEG files: loading and saving have a source each.
#pragma once

#include "formats.h"

namespace ornconvert {

constexpr int jpegSaveOptionCount = 5;
extern const Option jpegSaveOptions[jpegSaveOptionCount];
void saveJpeg(const std::wstring& file, Picture& picture, const Place& place);

}  // namespace ornconvert
