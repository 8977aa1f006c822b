#include "core/cpu.h"

#include <cpuid.h>
#include <gtest/gtest.h>

#include <cstdint>

namespace {

// Which parts of the registers the processor takes for used; all of them where it cannot tell.
unsigned partsInUse() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid_count(0xD, 1, &a, &b, &c, &d) || !(a & 4)) return ~0u;
    __asm__ volatile("xgetbv" : "=a"(a), "=d"(d) : "c"(1));
    return a;
}

}  // namespace

TEST(Cpu, LeavingAvx2ClearsTheUpperHalvesAndNothingElse) {
    if (!orn32::hasAvx2()) GTEST_SKIP() << "no AVX2";
    constexpr unsigned avx = 4;
    const unsigned roundingDown = 0x3F80;
    unsigned before = 0, after = 0;
    alignas(32) std::uint32_t wide[8];
    __asm__ volatile("stmxcsr %0" : "=m"(before));
    __asm__ volatile("ldmxcsr %0\n\tvpcmpeqd %%ymm0, %%ymm0, %%ymm0" : : "m"(roundingDown) : "xmm0");
    const unsigned used = partsInUse();
    orn32::leaveAvx2();
    const unsigned left = partsInUse();
    __asm__ volatile("vmovdqu %%ymm0, %1\n\tstmxcsr %0" : "=m"(after), "=m"(wide));
    __asm__ volatile("ldmxcsr %0" : : "m"(before));
    EXPECT_EQ(after, roundingDown);
    EXPECT_EQ(wide[4] | wide[5] | wide[6] | wide[7], 0u);
    EXPECT_TRUE(used & avx);
    EXPECT_TRUE(left == ~0u || !(left & avx));
}
