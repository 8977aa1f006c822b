// The one door to Windows for the library's own sources.
#pragma once

#include <windows.h>
