// FreeImage's BMP files in memory, without the system's share in fresh memory.
#define ON_KEPT_MEMORY
#include "freeimage_bmp.cpp"
