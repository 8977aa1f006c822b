// libjpeg-turbo's decoder with its SIMD code switched off, which is decided once in a process.
#include <cstdlib>

static const int switchedOff = setenv("JSIMD_FORCENONE", "1", 1);

#define BENCH_LIBJPEG_CODE Code::scalar
#include "libjpeg_turbo.cpp"
