#include "roundtrip.h"

int main(void)
{
    return round_trip();
}
