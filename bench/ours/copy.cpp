// copyimage, and the memcpy that a Windows program has.
#include <cstring>
#include <memory>

#include "image.h"

namespace bench {
namespace {

Work copyImage() {
    const auto from = std::make_shared<Image>(photograph());
    const auto to = std::make_shared<Image>(photograph().width, photograph().height, 24);
    require(copyimage(*from, *to) == 0, "copyimage");
    return {[=] { copyimage(*from, *to); }, photograph().pixelCount(), to->fingerprint()};
}

Work copyBytes() {
    const auto to = std::make_shared<Bytes>(photograph().pixels.size());
    return {[=] { std::memcpy(to->data(), photograph().pixels.data(), to->size()); },
            photograph().pixelCount()};
}

const Rows ours(orn32, Code::simd, {{"copy/24", 0, copyImage}});
const Rows theRuntimes("msvcrt memcpy under Wine", Code::simd, {{"copy/24", 0.9, copyBytes}});

}  // namespace
}  // namespace bench
