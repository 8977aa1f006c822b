/* The records as a C compiler lays them out; also proves that the header is C89. */
#include "orn32.h"

typedef char imgdes_is_44_bytes[sizeof(imgdes) == 44 ? 1 : -1];

int record_sizes_in_c(void);
int record_sizes_in_c(void) { return (int)sizeof(imgdes); }
