// Colour tables of GIF files as palettes.
#pragma once

#include "io/stream.h"
#include "orn32.h"

namespace orn32::gif {

struct ColourTable {
    UINT offset;  // in the file
    int entries;  // 0 where there is no table
};

inline ColourTable globalTable(const GifGlobalInfo& global) {
    return {global.globalpaloffset, global.globalcolors};
}

// The frame's own table, else the global one.
inline ColourTable tableOfFrame(const GifGlobalInfo& global, const GifFrameInfo& frame) {
    return frame.localcolors ? ColourTable{frame.localpaloffset, frame.localcolors} : globalTable(global);
}

// Reads a table, as far as there is room for entries, and returns how many were stored.
int readTable(InputStream& in, const ColourTable& table, RGBQUAD* palette, unsigned room);

}  // namespace orn32::gif
