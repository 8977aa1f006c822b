// What the processor can do beyond SSE2, which every one has.
#pragma once

namespace orn32 {

inline bool hasAvx2() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}

}  // namespace orn32
