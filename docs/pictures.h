/* What the programs share that make the pages' pictures. */
#ifndef DOCS_PICTURES_H
#define DOCS_PICTURES_H

#include <stdio.h>
#include <stdlib.h>

#include "orn32.h"

static const char* folder; /* where pictures go */

static void check(int code, const char* call) {
    if (code == 0) return;
    fprintf(stderr, "%s returns %d\n", call, code);
    exit(1);
}
#define CHECK(...) check((__VA_ARGS__), #__VA_ARGS__)

static imgdes blank(const imgdes* like, UINT bits) {
    imgdes image;
    CHECK(allocimage(&image, (UINT)like->header->biWidth, (UINT)like->header->biHeight, bits));
    return image;
}

static void save(const char* name, imgdes* image) {
    char path[MAX_PATH];
    if (snprintf(path, sizeof path, "%s/%s.png", folder, name) >= (int)sizeof path) check(ERR_CREATE, name);
    check(savepng(path, image, 0), path);
}

/* Loads original.png from the working folder. */
static imgdes load_original(void) {
    PngInfo info;
    imgdes photo;
    CHECK(pnginfo("original.png", &info));
    CHECK(allocimage(&photo, info.width, info.height, info.dibbits));
    CHECK(loadpng("original.png", &photo));
    return photo;
}

/* Runs the call, which fills the image out, and saves that. */
#define MAKE(name, bits, ...)             \
    do {                                  \
        imgdes out = blank(&photo, bits); \
        CHECK(__VA_ARGS__);               \
        save(name, &out);                 \
        freeimage(&out);                  \
    } while (0)

#endif
