// Pictures to and from the clipboard, as packed DIBs.
#pragma once

#include <windows.h>

#include "ornconvert/picture.h"

namespace ornview {

// Both throw a Failure.
void copyToClipboard(HWND owner, const ornconvert::Picture& picture);
ornconvert::Picture pasteFromClipboard(HWND owner);

}  // namespace ornview
