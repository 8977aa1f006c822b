/* The pictures of areas.md and choosing.md: guides FOLDER
 * Loads original.png from the working folder and leaves the pictures in FOLDER. */
#include <string.h>

#include "pictures.h"

static const UINT frame_width = 2;

static void fill(imgdes* image, UINT left, UINT top, UINT right, UINT bottom, const unsigned char bgr[3]) {
    for (UINT y = top; y <= bottom; y++)
        for (UINT x = left; x <= right; x++)
            memcpy(image->bits + ((UINT)image->header->biHeight - 1 - y) * image->rowbytes + x * 3, bgr, 3);
}

/* A frame just outside the image's area. */
static void draw_frame(imgdes* image) {
    static const unsigned char red[3] = {40, 40, 230};
    const UINT l = image->left - frame_width, t = image->top - frame_width;
    const UINT r = image->right + frame_width, b = image->bottom + frame_width;
    fill(image, l, t, r, image->top - 1, red);
    fill(image, l, image->bottom + 1, r, b, red);
    fill(image, l, t, image->left - 1, b, red);
    fill(image, image->right + 1, t, r, b, red);
}

/* ---- Areas ---- */

static void whole(imgdes* image) {
    setimagearea(image, 0, 0, (UINT)image->header->biWidth - 1, (UINT)image->header->biHeight - 1);
}

static imgdes copy_of(imgdes* photo) {
    imgdes copy = blank(photo, 24);
    CHECK(copyimage(photo, &copy));
    return copy;
}

static void operation_in_an_area(imgdes photo) {
    imgdes out = copy_of(&photo), part;
    copyimgdes(&out, &part);
    setimagearea(&part, 12, 12, 111, 46);
    CHECK(pixellize(5, &part, &part));
    save("area-operation", &out);
    freeimage(&out);
}

static void copies_of_a_boat(imgdes photo) {
    imgdes out = copy_of(&photo), boat, place;
    copyimgdes(&photo, &boat);
    setimagearea(&boat, 172, 130, 193, 163);
    copyimgdes(&out, &place);
    for (UINT x = 20; x < 160; x += 40) {
        setimagearea(&place, x, 150, x + 21, 183);
        CHECK(copyimage(&boat, &place));
    }
    save("area-copies", &out);
    freeimage(&out);
}

/* The source's area is wide, the destination's high: what both have is copied, from the top left. */
static void what_both_have(imgdes photo) {
    static const unsigned char pale[3] = {225, 225, 225};
    imgdes from = copy_of(&photo), to = blank(&photo, 24);
    setimagearea(&from, 8, 8, 207, 107);
    draw_frame(&from);
    fill(&to, 0, 0, to.right, to.bottom, pale);
    setimagearea(&to, 130, 20, 229, 169);
    CHECK(copyimagebits(&from, &to));
    draw_frame(&to);
    whole(&from);
    whole(&to);
    save("area-source", &from);
    save("area-destination", &to);
    freeimage(&from);
    freeimage(&to);
}

/* ---- Palettes ---- */

/* The palette's first colours side by side. */
static void save_swatches(const char* name, const imgdes* indexed, UINT count) {
    imgdes out;
    CHECK(allocimage(&out, 256, 16, 8));
    CHECK(copyimagepalette(indexed, &out));
    for (UINT y = 0; y < 16; y++)
        for (UINT x = 0; x < 256; x++) out.bits[y * out.rowbytes + x] = (unsigned char)(x * count / 256);
    save(name, &out);
    freeimage(&out);
}

static void palettes(imgdes photo) {
    imgdes own = blank(&photo, 8), other = blank(&photo, 8);
    CHECK(convertrgbtopalex(16, &photo, &own, 2));
    save_swatches("palette-own-colours", &own, 16);

    CHECK(copyimagebits(&own, &other));
    if (defaultpalette(&other) != 16) check(ERR_RANGE, "defaultpalette");
    other.imgkind = 0; /* no longer grey */
    save("palette-exchanged", &other);
    save_swatches("palette-system-colours", &other, 16);

    CHECK(matchcolorimageex(&own, &other, 2));
    save("palette-matched", &other);
    CHECK(matchcolorimageex(&photo, &other, 3));
    save("palette-diffused", &other);
    freeimage(&own);
    freeimage(&other);
}

/* ---- Choosing ---- */

/* A part of the picture with each pixel as a square. */
static void save_detail(const char* name, imgdes image) {
    enum { left = 84, top = 26, width = 72, height = 48, square = 3 };
    imgdes rgb, out;
    CHECK(allocimage(&rgb, width, height, 24));
    CHECK(allocimage(&out, width * square, height * square, 24));
    setimagearea(&image, left, top, left + width - 1, top + height - 1);
    CHECK(image.header->biBitCount == 24 ? copyimage(&image, &rgb) : convertpaltorgb(&image, &rgb));
    for (UINT y = 0; y < height * square; y++)
        for (UINT x = 0; x < width * square; x++)
            memcpy(out.bits + y * out.rowbytes + x * 3, rgb.bits + y / square * rgb.rowbytes + x / square * 3,
                   3);
    save(name, &out);
    freeimage(&rgb);
    freeimage(&out);
}

#define DETAIL(name, ...)              \
    do {                               \
        imgdes out = blank(&photo, 8); \
        CHECK(__VA_ARGS__);            \
        save_detail(name, out);        \
        freeimage(&out);               \
    } while (0)

static void details(imgdes photo) {
    imgdes indexed = blank(&photo, 8), gray = blank(&photo, 8), mono = blank(&photo, 1);
    CHECK(convertrgbtopalex(256, &photo, &indexed, 2));
    CHECK(colortogray(&photo, &gray));
    save_detail("detail-original", photo);
    DETAIL("detail-256", copyimage(&indexed, &out));
    DETAIL("detail-octree", convertrgbtopalex(16, &photo, &out, 0));
    DETAIL("detail-octree-diffuse", convertrgbtopalex(16, &photo, &out, 1));
    DETAIL("detail-nearest", convertrgbtopalex(16, &photo, &out, 2));
    DETAIL("detail-nearest-diffuse", convertrgbtopalex(16, &photo, &out, 3));
    DETAIL("detail-reduce", (out.palcolors = 16, reduceimagecolors(&indexed, &out, 2)));
    DETAIL("detail-dither-8", colordither(&photo, &out, 0));
    DETAIL("detail-scatter-8", colorscatter(&photo, &out, 0));
    DETAIL("detail-dither-cube", colordither(&photo, &out, 1));
    DETAIL("detail-scatter-cube", colorscatter(&photo, &out, 1));
    CHECK(convert8bitto1bit(2, &gray, &mono));
    DETAIL("detail-threshold", convert1bitto8bit(&mono, &out));
    CHECK(convert8bitto1bit(1, &gray, &mono));
    DETAIL("detail-mono-ordered", convert1bitto8bit(&mono, &out));
    CHECK(convert8bitto1bit(0, &gray, &mono));
    DETAIL("detail-mono-diffuse", convert1bitto8bit(&mono, &out));
    freeimage(&indexed);
    freeimage(&gray);
    freeimage(&mono);
}

int main(int argc, char** argv) {
    imgdes photo;
    if (argc != 2) return 2;
    folder = argv[1];
    photo = load_original();
    operation_in_an_area(photo);
    copies_of_a_boat(photo);
    what_both_have(photo);
    palettes(photo);
    details(photo);
    freeimage(&photo);
    return 0;
}
