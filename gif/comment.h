// The comment and the version that setgifcomment has asked for.
#pragma once

namespace orn32::gif {

// The text belongs to the caller and waits for the next save that succeeds; the version stays.
struct CommentSetting {
    char version[4] = "87a";
    const char* text = nullptr;
};

extern CommentSetting commentSetting;

}  // namespace orn32::gif
