// The exports that work on images, palettes and the library itself.
#include "tests/display/canvas.h"
#include "tests/faults/call_set.h"
#include "tests/faults/import_table.h"

namespace faults {
namespace {

struct Histogram {
    long red[256], green[256], blue[256];
};
struct Colours {
    unsigned char bytes[1200];
};
struct Words {
    WORD words[2];
};
struct Date {
    char text[30];
};
struct WideDate {
    WCHAR text[30];
};

const unsigned char* bytesOf(const Shared& image) {
    return image->image.bits;
}

void operations(CallSet& calls) {
    const Shared colour = picture(61, 47, 24, 3), palette = picture(61, 47, 8, 4),
                 grey16 = picture(61, 47, 16, 5), bits = picture(61, 47, 1, 9);
    const Shared other = picture(61, 47, 24, 6), otherPalette = picture(61, 47, 8, 7);
    const auto fresh = [](unsigned bits) { return picture(61, 47, bits, 8); };
    calls.onPicture("copyimage", fresh(24), [=](imgdes* i) { return copyimage(*colour, i); });
    calls.onPicture("copyimage of itself", fresh(24), [=](imgdes* i) {
        imgdes moved = *i;
        moved.left = moved.top = 3;
        return copyimage(&moved, i);
    });
    calls.onPicture("copyimagebits", fresh(8), [=](imgdes* i) { return copyimagebits(*palette, i); });
    for (const int mode : {0, 1, 2, 3}) {
        const std::string suffix = " " + std::to_string(mode);
        calls.onPicture("convertrgbtopalex" + suffix, fresh(8),
                        [=](imgdes* i) { return convertrgbtopalex(100, *colour, i, mode); });
        calls.onPicture("matchcolorimageex" + suffix, fresh(8),
                        [=](imgdes* i) { return matchcolorimageex(*colour, i, mode); });
        calls.onPicture("reduceimagecolors" + suffix, fresh(8), [=](imgdes* i) {
            i->palcolors = 40;
            return reduceimagecolors(*palette, i, mode);
        });
    }
    calls.onPicture("convertrgbtopal", fresh(8), [=](imgdes* i) { return convertrgbtopal(64, *colour, i); });
    calls.onPicture("matchcolorimage", fresh(8), [=](imgdes* i) { return matchcolorimage(*palette, i); });
    calls.onPicture("convertpaltorgb", fresh(24), [=](imgdes* i) { return convertpaltorgb(*palette, i); });
    calls.onPicture("colortogray", fresh(8), [=](imgdes* i) { return colortogray(*colour, i); });
    calls.onPicture("convertgray16to8", fresh(8), [=](imgdes* i) { return convertgray16to8(*grey16, i); });
    calls.onPicture("convertgray8to16", fresh(16), [=](imgdes* i) { return convertgray8to16(*palette, i); });
    for (const int cube : {0, 1}) {
        const std::string suffix = " " + std::to_string(cube);
        calls.onPicture("colordither" + suffix, fresh(8),
                        [=](imgdes* i) { return colordither(*colour, i, cube); });
        calls.onPicture("colorscatter" + suffix, fresh(8),
                        [=](imgdes* i) { return colorscatter(*palette, i, cube); });
    }
    for (const int mode : {0, 1, 2})
        calls.onPicture("convert8bitto1bit " + std::to_string(mode), fresh(1),
                        [=](imgdes* i) { return convert8bitto1bit(mode, *palette, i); });
    calls.onPicture("convert1bitto8bit", fresh(8), [=](imgdes* i) { return convert1bitto8bit(*bits, i); });
    calls.onPicture("convert1bitto8bitsmooth", fresh(8),
                    [=](imgdes* i) { return convert1bitto8bitsmooth(*bits, i); });
    for (const unsigned depth : {1u, 8u, 24u}) {
        const Shared source = depth == 1 ? bits : depth == 8 ? palette : colour;
        const std::string suffix = " " + std::to_string(depth);
        calls.onPicture("dilate" + suffix, fresh(depth), [=](imgdes* i) { return dilate(200, *source, i); });
        calls.onPicture("erode" + suffix, fresh(depth), [=](imgdes* i) { return erode(200, *source, i); });
        if (depth == 1) continue;
        calls.onPicture("medianfilter" + suffix, fresh(depth),
                        [=](imgdes* i) { return medianfilter(5, *source, i); });
        calls.onPicture("removenoise" + suffix, fresh(depth),
                        [=](imgdes* i) { return removenoise(*source, i); });
    }
    calls.onPicture("pixellize", fresh(8), [=](imgdes* i) { return pixellize(5, *palette, i); });
    calls.onPicture("pixellize 24", fresh(24), [=](imgdes* i) { return pixellize(5, *colour, i); });
    calls.onPicture("cover", fresh(8), [=](imgdes* i) { return cover(99, *palette, *otherPalette, i); });
    calls.onPicture("coverclear", fresh(24), [=](imgdes* i) { return coverclear(77, *colour, *other, i); });
    calls.onRecord<Histogram>(
        "calchistorgb", [=](Histogram* r) { return calchistorgb(*palette, r->red, r->green, r->blue, 1); });
    calls.onRecord<Histogram>("calchisto",
                              [=](Histogram* r) { return calchisto(*colour, r->red, r->green, r->blue); });
    calls.onRecord<Colours>("rgb2hsv",
                            [=](Colours* r) { return rgb2hsv(bytesOf(colour), r->bytes, 300), 0; });
    calls.onRecord<Colours>("hsv2rgb",
                            [=](Colours* r) { return hsv2rgb(bytesOf(colour), r->bytes, 300), 0; });
}

void images(CallSet& calls) {
    for (const bool section : {false, true})
        calls.onRecord<UINT>(section ? "allocimage" : "allocDIB", [=](UINT* rowBytes) {
            imgdes image;
            const int code = section ? allocimage(&image, 50, 50, 8) : allocDIB(&image, 50, 50, 24);
            *rowBytes = image.rowbytes;
            if (code == 0) freeimage(&image);
            return code;
        });
    calls.plain("freeimage", [] {
        imgdes image;
        const int code = allocDIB(&image, 10, 10, 1);
        freeimage(&image);
        return code;
    });
    const Shared packed = picture(61, 47, 8, 11);
    const auto fresh = [](bool section) { return picture(61, 47, 8, 12, section); };
    calls.onRecord<imgdes>("copyimgdes", [=](imgdes* r) { return copyimgdes(*packed, r), 0; });
    calls.onRecord<imgdes>("zeroimgdes", [=](imgdes* r) { return zeroimgdes(r), 0; });
    calls.onRecord<imgdes>("setupimgdes", [=](imgdes* r) { return setupimgdes(packed->image.header, r); });
    calls.onRecord<imgdes>("setimagearea", [](imgdes* r) { return setimagearea(r, 1, 2, 3, 4), 0; });
    calls.onRecord<RECT>("imageareatorect", [=](RECT* r) { return imageareatorect(*packed, r), 0; });
    calls.onRecord<imgdes>("recttoimagearea", [](imgdes* r) {
        const RECT area = {5, 6, 7, 8};
        return recttoimagearea(&area, r), 0;
    });
    calls.onPicture("checkrange_", fresh(false), checkrange_);
    calls.onPicture("checkrange1_", fresh(false), checkrange1_);
    calls.onPicture("checkrange16_", fresh(false), checkrange16_);
    calls.onPicture("isgrayscaleimage", fresh(false), isgrayscaleimage);
    calls.onPicture("copyimagepalette", fresh(false),
                    [=](imgdes* i) { return copyimagepalette(*packed, i); });
    calls.onPicture("copyimagepalette to a section", fresh(true),
                    [=](imgdes* i) { return copyimagepalette(*packed, i); });
    calls.onPicture("CreateDefaultPalette_", fresh(true),
                    [](imgdes* i) { return CreateDefaultPalette_(i), 0; });
    calls.onPicture("updatebitmapcolortable", fresh(true), updatebitmapcolortable);
    calls.onPicture("defaultpalette", fresh(false), defaultpalette);
    calls.onPicture("standardpalette", fresh(false), standardpalette);
}

// What windows need is made here, by the thread that makes the calls' set.
void drawing(CallSet& calls) {
    const auto window = std::make_shared<test::Window>(test::Window::sizeOnly, SIZE{50, 40});
    const auto surface = std::make_shared<test::Surface>(50, 40);
    // Draws, releases the palette, and hashes what the canvas shows.
    const auto onCanvas = [&](const std::string& name, int depth, auto draw) {
        calls.onRecord<unsigned>(name, [=](unsigned* shown) {
            surface->clear();
            const ScreenDepth screen(depth);
            HPALETTE palette = nullptr;
            const int code = draw(*window, surface->dc(), &palette);
            if (palette) deletePalette(palette);
            const auto pixels = surface->pixels();
            *shown = hash(pixels.colours.data(), pixels.colours.size() * 4);
            return code;
        });
    };
    for (const bool section : {false, true}) {
        const std::string suffix = section ? " of a section" : " of a packed image";
        const Shared palette = picture(61, 47, 8, 13, section), colour = picture(61, 47, 24, 14, section);
        onCanvas("viewimage" + suffix, 32,
                 [=](HWND w, HDC dc, HPALETTE* p) { return viewimage(w, dc, p, 3, 4, *palette); });
        onCanvas("viewimageex" + suffix, 32,
                 [=](HWND w, HDC dc, HPALETTE* p) { return viewimageex(w, dc, p, 0, 0, *colour, 9, 9, 0); });
        for (const int mode : {0, 1, 2})
            onCanvas("viewimageex reduced" + suffix + std::to_string(mode), 8,
                     [=](HWND w, HDC dc, HPALETTE* p) {
                         return viewimageex(w, dc, p, 0, 0, *colour, 9, 9, mode);
                     });
    }
}

void library(CallSet& calls) {
    calls.plain("InitializeLibrary", [] { return installMemory(), 0; });
    calls.plain("Orrinversion", [] { return int{Orrinversion()}; });
    calls.onRecord<Words>("Orrinversionex", [](Words* r) { return int{Orrinversionex(r->words)}; });
    calls.onRecord<Date>("Orrinversiondate", [](Date* r) { return int{Orrinversiondate(r->text, 30)}; });
    calls.onRecord<WideDate>("OrrinversiondateW",
                             [](WideDate* r) { return int{OrrinversiondateW(r->text, 30)}; });
    calls.plain("printimage", [] { return printimage(1, 2, 3, 4, 5, 6, 7); });
}

}  // namespace

void addOperationCalls(CallSet& calls) {
    operations(calls);
    images(calls);
    drawing(calls);
    library(calls);
}

}  // namespace faults
