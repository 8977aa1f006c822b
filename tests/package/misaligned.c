/* Calls with the stack at every multiple of 4. Compile with -mpreferred-stack-boundary=2, or the compiler would align. */
#include "roundtrip.h"

static int at_offset(unsigned offset)
{
    int result;
    __asm__ volatile("movl %%esp, %%edi\n\t"
                     "andl $-16, %%esp\n\t"
                     "subl %[offset], %%esp\n\t"
                     "call *%[function]\n\t"
                     "movl %%edi, %%esp"
                     : "=&a"(result)
                     : [offset] "b"(offset), [function] "S"(round_trip)
                     : "ecx", "edx", "edi", "memory", "cc");
    return result;
}

int main(void)
{
    unsigned offset;
    for (offset = 0; offset < 16; offset += 4) {
        int step = at_offset(offset);
        if (step != 0)
            return (int)offset * 10 + step;
    }
    return 0;
}
