/* The calls of operations.md, run: operations FOLDER
 * Loads original.png from the working folder and makes every picture of the page in FOLDER. */
#include <string.h>

#include "pictures.h"

/* Three mountains of red, green and blue that mix where they overlap; two levels make a bar. */
static void draw_histogram(const imgdes* image, const long* red, const long* green, const long* blue) {
    const long* counts[3] = {blue, green, red};
    const unsigned height = image->bottom + 1;
    for (unsigned level = 0; level < 256; level++)
        for (unsigned c = 0; c < 3; c++) {
            const long count = counts[c][level & ~1u] + counts[c][level | 1];
            for (unsigned y = 0; y < height && y < (unsigned long)count / 8; y++)
                image->bits[y * image->rowbytes + level * 3 + c] = 255;
        }
}

/* Turns every hue by a third of the circle. */
static int turn_hues(const imgdes* from, const imgdes* to) {
    unsigned char hsv[3], bgr[4] = {0};
    for (UINT y = 0; y <= from->bottom; y++)
        for (UINT x = 0; x <= from->right; x++) {
            memcpy(bgr, from->bits + y * from->rowbytes + x * 3, 3);
            rgb2hsv(bgr, hsv, 1);
            hsv[0] += 85;
            hsv2rgb(hsv, bgr, 1);
            memcpy(to->bits + y * to->rowbytes + x * 3, bgr, 3);
        }
    return 0;
}

static void fewer_colours(imgdes photo) {
    imgdes indexed = blank(&photo, 8);
    MAKE("colors-256", 8, convertrgbtopalex(256, &photo, &out, 2));
    MAKE("octree", 8, convertrgbtopalex(16, &photo, &out, 0));
    MAKE("octree-diffuse", 8, convertrgbtopalex(16, &photo, &out, 1));
    MAKE("nearest", 8, convertrgbtopalex(16, &photo, &out, 2));
    MAKE("nearest-diffuse", 8, convertrgbtopalex(16, &photo, &out, 3));
    CHECK(convertrgbtopalex(256, &photo, &indexed, 2));
    MAKE("reduce", 8, out.palcolors = 16, reduceimagecolors(&indexed, &out, 2));
    freeimage(&indexed);
    MAKE("dither-8", 8, colordither(&photo, &out, 0));
    MAKE("dither-cube", 8, colordither(&photo, &out, 1));
    MAKE("scatter-8", 8, colorscatter(&photo, &out, 0));
    MAKE("scatter-cube", 8, colorscatter(&photo, &out, 1));
}

static void grey_and_mono(imgdes photo) {
    imgdes gray = blank(&photo, 8), mono = blank(&photo, 1);
    MAKE("gray", 8, colortogray(&photo, &out));
    CHECK(colortogray(&photo, &gray));
    MAKE("mono-threshold", 1, convert8bitto1bit(2, &gray, &out));
    MAKE("mono-ordered", 1, convert8bitto1bit(1, &gray, &out));
    MAKE("mono-diffuse", 1, convert8bitto1bit(0, &gray, &out));
    CHECK(convert8bitto1bit(0, &gray, &mono));
    MAKE("smooth", 8, convert1bitto8bitsmooth(&mono, &out));
    freeimage(&gray);
    freeimage(&mono);
}

static void filters(imgdes photo) {
    MAKE("median", 24, medianfilter(7, &photo, &out));
    MAKE("denoise", 24, removenoise(&photo, &out));
    MAKE("dilate", 24, dilate(255, &photo, &out));
    MAKE("erode", 24, erode(255, &photo, &out));
    MAKE("pixellize", 24, pixellize(8, &photo, &out));
}

static void overlays_and_hues(imgdes photo) {
    long red[256], green[256], blue[256];
    imgdes histogram = blank(&photo, 24);
    CHECK(calchistorgb(&photo, red, green, blue, 1));
    draw_histogram(&histogram, red, green, blue);
    save("histogram", &histogram);
    MAKE("cover", 24, cover(120, &photo, &histogram, &out));
    MAKE("coverclear", 24, coverclear(0, &photo, &histogram, &out));
    freeimage(&histogram);
    MAKE("hue", 24, turn_hues(&photo, &out));
}

int main(int argc, char** argv) {
    imgdes photo;
    if (argc != 2) return 2;
    folder = argv[1];
    photo = load_original();
    fewer_colours(photo);
    grey_and_mono(photo);
    filters(photo);
    overlays_and_hues(photo);
    freeimage(&photo);
    return 0;
}
