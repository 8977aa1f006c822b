#include "core/cpu.h"

#include <emmintrin.h>

#include <cstdint>

namespace orn32 {

void leaveAvx2() {
    // As XSAVE would have written it, but without a component: those asked for get their initial state.
    struct alignas(64) SavedState {
        std::uint32_t legacy[128];
        std::uint32_t header[16];
    } state{};
    constexpr unsigned mxcsr = 6, avx = 1 << 2;
    state.legacy[mxcsr] = _mm_getcsr();  // is loaded along with it
    __asm__ volatile("xrstor %0" : : "m"(state), "a"(avx), "d"(0) : "memory");
}

}  // namespace orn32
