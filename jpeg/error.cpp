#include "jpeg/error.h"

namespace orn32::jpeg {
namespace {

int lastDetail = 0;

}  // namespace

void record(Detail detail) {
    lastDetail = static_cast<int>(detail);
}

}  // namespace orn32::jpeg

using namespace orn32;

// The application's bit marks a code as not the system's own; negative numbers of this size have it anyway.
extern "C" int ORNAPI jpeggeterror(void) {
    constexpr int applicationBit = 0x10000000;
    if (jpeg::lastDetail < 0) jpeg::lastDetail |= applicationBit;
    return jpeg::lastDetail;
}
