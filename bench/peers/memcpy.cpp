// The memcpy of a native program.
#include <gnu/libc-version.h>

#include <cstring>
#include <memory>

#include "../pictures.h"

namespace bench {
namespace {

Work copyBytes() {
    const auto to = std::make_shared<Bytes>(photograph().pixels.size());
    const std::uint32_t outcome = fingerprintOfRows(photograph().row(0), photograph().rowBytes(),
                                                    photograph().rowBytes(), photograph().height);
    return {[=] { std::memcpy(to->data(), photograph().pixels.data(), to->size()); },
            photograph().pixelCount(), outcome};
}

const Rows rows(std::string("glibc ") + gnu_get_libc_version() + " memcpy", Code::simd,
                {{"copy/24", 0.9, copyBytes}});

}  // namespace
}  // namespace bench
