// GIF: the comment in a file, and the one for the next save.
#include "gif/comment.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/boundary.h"
#include "gif/format.h"
#include "gif/walker.h"
#include "orn32.h"

namespace orn32::gif {

CommentSetting commentSetting;

namespace {

constexpr int longestMeasured = 31999;

// Copies a comment's sub-blocks behind one another, at most limit bytes of them, to a buffer that may be
// null.
int copyComment(InputStream& in, char* buffer, int limit) {
    int copied = 0;
    std::uint8_t block[1 + largestBlock];
    while (copied < limit && in.readWhole(block, 1) && block[0] > 0) {
        const std::uint32_t found = in.read(block + 1, block[0]);
        const int n = std::min(static_cast<int>(found), limit - copied);
        if (buffer) std::memcpy(buffer + copied, block + 1, static_cast<std::size_t>(n));
        copied += n;
        if (found < block[0]) break;
    }
    return copied;
}

int comment(const Source& source, char* buffer, int size) {
    return guarded(Module::gif, [&]() -> int {
        Records records;
        if (const int code = walk(source, {.count = allFrames, .stopAtComment = true}, records)) return code;
        InputStream in(source);
        if (!in.isOpen()) return ERR_OPEN;
        if (buffer && size < 1) return 0;
        in.seek(records.global.commentoffset);
        const int copied = copyComment(in, buffer, buffer ? size - 1 : longestMeasured);
        if (buffer) buffer[copied] = 0;
        return copied;
    });
}

void setComment(int version, const char* text) {
    const bool with89 = version == 89;
    std::memcpy(commentSetting.version, with89 ? "89a" : "87a", 3);
    commentSetting.text = with89 && text && *text ? text : nullptr;
}

}  // namespace
}  // namespace orn32::gif

using namespace orn32;

extern "C" int ORNAPI getgifcomment(const char* name, char* buffer, int size) {
    return gif::comment(fromFile(name), buffer, size);
}

extern "C" int ORNAPI getgifcommentW(const WCHAR* name, char* buffer, int size) {
    return gif::comment(fromFile(name), buffer, size);
}

extern "C" void ORNAPI setgifcomment(int version, const char* text) {
    gif::setComment(version, text);
}
