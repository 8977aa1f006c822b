/* What the consumers of the package do with it: every format written, read back and compared. */
#include "orn32.h"

enum { WIDTH = 67, HEIGHT = 41 };

static int same_pixels(const imgdes *a, const imgdes *b, UINT tolerance)
{
    UINT i, size = a->rowbytes * HEIGHT;
    if (a->rowbytes != b->rowbytes)
        return 0;
    for (i = 0; i < size; i++) {
        int difference = (int)a->bits[i] - (int)b->bits[i];
        if (difference > (int)tolerance || difference < -(int)tolerance)
            return 0;
    }
    return 1;
}

/* 0, or the number of the first step that failed. */
static int round_trip(void)
{
    imgdes colour, back, indexed, copy;
    PngInfo png;
    JpegInfoEx jpeg;
    GifFileInfo gif;
    UINT x, y;

    if (Orrinversion() == 0) return 1;
    if (allocimage(&colour, WIDTH, HEIGHT, 24) != 0 || allocimage(&back, WIDTH, HEIGHT, 24) != 0) return 2;
    if (allocimage(&indexed, WIDTH, HEIGHT, 8) != 0 || allocimage(&copy, WIDTH, HEIGHT, 8) != 0) return 3;
    for (y = 0; y < HEIGHT; y++)
        for (x = 0; x < WIDTH * 3; x++)
            colour.bits[y * colour.rowbytes + x] = (unsigned char)(x + 4 * y);

    if (savebmp("t.bmp", &colour, 0) != 0) return 10;
    if (loadbmpW(L"t.bmp", &back) != 0 || !same_pixels(&colour, &back, 0)) return 11;
    if (savepng("t.png", &colour, 0) != 0 || pnginfo("t.png", &png) != 0) return 20;
    if (png.width != WIDTH || png.height != HEIGHT || png.dibbits != 24) return 21;
    if (loadpng("t.png", &back) != 0 || !same_pixels(&colour, &back, 0)) return 22;
    if (savejpgex("t.jpg", &colour, 95, JPEG_PROGRESSIVE) != 0 || jpeginfoex("t.jpg", &jpeg) != 0) return 30;
    if (jpeg.width != WIDTH || jpeg.height != HEIGHT || jpeg.ftype != 2) return 31;
    if (loadjpg("t.jpg", &back) != 0) return 32;
    if (same_pixels(&colour, &back, 0) || !same_pixels(&colour, &back, 200)) return 33;
    if (convertrgbtopalex(64, &colour, &indexed, 1) != 0 || indexed.palcolors != 64) return 40;
    if (savegif("t.gif", &indexed) != 0 || gifinfo("t.gif", &gif) != 0) return 41;
    if (gif.width != WIDTH || gif.height != HEIGHT) return 42;
    if (loadgif("t.gif", &copy) != 0 || !same_pixels(&indexed, &copy, 0)) return 43;
    if (medianfilter(5, &colour, &back) != 0) return 50;
    if (loadbmp("missing.bmp", &back) != ERR_OPEN) return 51;

    freeimage(&colour);
    freeimage(&back);
    freeimage(&indexed);
    freeimage(&copy);
    return colour.header == NULL ? 0 : 60;
}
