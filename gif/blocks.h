// The parts of a GIF around the image data, as bytes to write.
#pragma once

#include "io/stream.h"
#include "orn32.h"

namespace orn32::gif {

// What a save writes, made of its arguments.
struct Picture {
    const imgdes& image;
    const GifGlobalInfo& global;
    const GifFrameInfo& frame;
    unsigned bits;  // per pixel, 1 to 8
    bool interlaced;
    bool graphicControl;
    bool animation;  // a looping file of several frames
};

// Failed writes are the stream's to report.
void writeHeader(OutputStream& out, const Picture& picture, const char* version);
void writeLoopBlock(OutputStream& out, int loopCount);
void writeGraphicControl(OutputStream& out, const GifFrameInfo& frame);
void writeDescriptor(OutputStream& out, const Picture& picture);

// 2 to the power of bits entries; those that the palette has no room for are black.
void writeColourTable(OutputStream& out, const imgdes& image, unsigned bits);

void writeComment(OutputStream& out, const char* text);
void writeByte(OutputStream& out, unsigned byte);

}  // namespace orn32::gif
