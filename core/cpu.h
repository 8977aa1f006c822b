// What the processor can do beyond SSE2, which every one has.
#pragma once

namespace orn32 {

inline bool hasAvx2() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}

// Puts the upper halves of the registers back to their initial state, after vzeroupper; needs AVX2, takes 0.1
// us. In 32-bit code vzeroupper reaches only eight of the sixteen registers, and there are processors (Zen 4)
// that take the others for used: SSE2 code, the caller's as well, then runs up to three times slower until
// the system next switches threads.
void leaveAvx2();

// For the time of work that uses AVX2 where it can.
class MayUseAvx2 {
 public:
    MayUseAvx2() = default;
    MayUseAvx2(const MayUseAvx2&) = delete;
    MayUseAvx2& operator=(const MayUseAvx2&) = delete;
    ~MayUseAvx2() {
        if (hasAvx2()) leaveAvx2();
    }
};

}  // namespace orn32
