// A picture of the window, frame and all, as the screen shows it.
#pragma once

#include <windows.h>

#include "ornconvert/picture.h"

namespace ornview {

// Throws a Failure.
ornconvert::Picture pictureOfWindow(HWND window);

}  // namespace ornview
