/* Without a C runtime's start-up code, for linkers that have none for this target. */
#include "roundtrip.h"

void start(void)
{
    ExitProcess((UINT)round_trip());
}
