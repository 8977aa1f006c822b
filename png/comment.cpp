// Comments: the text of a tEXt chunk, found by its keyword.
#include <algorithm>
#include <climits>

#include "png/detail.h"
#include "png/info.h"

namespace orn32::png {
namespace {

int copyText(InputStream& in, const Place& text, char* buffer, int length) {
    if (length < 1) return 0;
    in.seek(text.position);
    const std::uint32_t n = in.read(buffer, std::min(text.length, static_cast<std::uint32_t>(length) - 1));
    buffer[n] = '\0';
    return 0;
}

int comment(const Source& source, const char* keyword, char* buffer, int length) {
    return call([&]() -> int {
        InputStream in(source);
        if (!in.isOpen()) return ERR_OPEN;
        PngInfo info;
        const Place text = walk(in, info, keyword).comment;
        if (buffer) return copyText(in, text, buffer, length);
        return text.known ? static_cast<int>(std::min(text.length, INT_MAX - 1u) + 1) : 0;
    });
}

}  // namespace
}  // namespace orn32::png

using namespace orn32;

extern "C" int ORNAPI getpngcomment(const char* name, const char* keyword, char* buffer, int length) {
    return png::comment(fromFile(name), keyword, buffer, length);
}

extern "C" int ORNAPI getpngcommentW(const WCHAR* name, const char* keyword, char* buffer, int length) {
    return png::comment(fromFile(name), keyword, buffer, length);
}
