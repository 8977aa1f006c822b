// Steps from block to block of a GIF and tells what is there.
#pragma once

#include "io/stream.h"
#include "orn32.h"

namespace orn32::gif {

// What a walk finds out; the frame record is that of the last frame walked.
struct Records {
    GifFileInfo file;
    GifGlobalInfo global;
    GifFrameInfo frame;
};

struct WalkLimits {
    unsigned count = 1;              // frames to walk at most
    bool stopAtComment = false;      // walk no further than to the frame behind the first comment
    GifFrameInfo* frames = nullptr;  // gets the records of all frames walked; room for count
};

constexpr unsigned allFrames = 0xFFFFFFFF;

// The number of frames to walk to reach a frame. There are no frames with negative numbers.
constexpr unsigned upToFrame(int frameno) {
    return frameno < 0 ? allFrames : static_cast<unsigned>(frameno) + 1;
}

// Sets the records in every case. The image data of the last frame of the count is not looked at. The trailer
// or the data's end in place of that last frame is no error and leaves its record empty.
// Returns 0, ERR_SOURCE_BUFFER, ERR_OPEN, ERR_MEMORY, ERR_BAD_GIF, ERR_TRUNCATED, ERR_NO_FRAME.
[[nodiscard]] int walk(const Source& source, const WalkLimits& limits, Records& records);

}  // namespace orn32::gif
