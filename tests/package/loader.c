/* Finds every function at run time; names.h is made from the .def file. */
#include <stdio.h>

#include "orn32.h"

static const char *const names[] = {
#include "names.h"
};

int main(void)
{
    HMODULE dll = LoadLibraryA("orn32.dll");
    int(ORNAPI * load)(const char *, imgdes *);
    imgdes image;
    unsigned i, missing = 0;
    if (!dll)
        return 1;
    for (i = 0; i < sizeof(names) / sizeof(names[0]); i++)
        if (!GetProcAddress(dll, names[i])) {
            printf("%s is not exported\n", names[i]);
            missing++;
        }
    ZeroMemory(&image, sizeof image);
    *(FARPROC *)&load = GetProcAddress(dll, "loadbmp");
    return missing == 0 && i == 147 && load && load("missing.bmp", &image) < 0 ? 0 : 2;
}
