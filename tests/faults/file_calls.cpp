// The exports that read and write files.
#include <fstream>
#include <iterator>

#include "tests/faults/call_set.h"

namespace faults {
namespace {

struct Comment {
    char text[100];
};
struct Palette256 {
    RGBQUAD entries[256];
};
struct Frames {
    GifGlobalInfo global;
    GifFileInfo file;
    GifFrameInfo frames[3];
};
struct Resolution {
    int x, y, unit;
};

std::vector<char> contents(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
    bytes.resize(bytes.size() + 128);  // buffers are asked for their first 100 bytes
    return bytes;
}

template <class Function>
struct Export {
    const char* name;
    Function* call;
};

// An export over a file, named in both ways, and over the file's bytes in memory.
template <class Narrow, class Wide, class Buffered>
struct Forms {
    Export<Narrow> narrow;
    Export<Wide> wide;
    Export<Buffered> buffered;
};
#define FORMS(name, frombuffer)                                   \
    Forms {                                                       \
        Export{#name, name}, Export{#name "W", name##W}, Export { \
#frombuffer, frombuffer                               \
        }                                                         \
    }

// Calls add(export, source) for each form; source() is what the export reads.
template <class Forms, class Add>
void forEachForm(const Forms& forms, const std::string& file, Add add) {
    add(forms.narrow, [=] { return file.c_str(); });
    add(forms.wide, [wide = std::wstring(file.begin(), file.end())] { return wide.c_str(); });
    add(forms.buffered,
        [bytes = std::make_shared<std::vector<char>>(contents(file))] { return bytes->data(); });
}

template <class Forms, class... Rest>
void load(CallSet& calls, const Forms& forms, const char* file, const Shared& image, Rest... rest) {
    forEachForm(forms, calls.path(file), [&](auto form, auto source) {
        calls.onPicture(form.name + std::string(" ") + file, image,
                        [=](imgdes* i) { return form.call(source(), i, rest...); });
    });
}

// The export is called by run(export, source, record).
template <class Record, class Forms, class Run>
void inform(CallSet& calls, const Forms& forms, const char* file, Run run) {
    forEachForm(forms, calls.path(file), [&](auto form, auto source) {
        calls.onRecord<Record>(form.name, [=](Record* r) { return run(form.call, source(), r); });
    });
}

GifGlobalInfo animation() {
    GifGlobalInfo global{};
    global.screenwidth = global.screenheight = 60;
    global.hasglobalpalette = 1;
    return global;
}

void saves(CallSet& calls) {
    const Shared colour = picture(61, 47, 24), palette = picture(61, 47, 8), bits = picture(61, 47, 1);
    calls.toFile("savebmp", "a.bmp", [=](const char* n, const WCHAR*) { return savebmp(n, *colour, 0); });
    calls.toFile("savebmpW", "b.bmp", [=](const char*, const WCHAR* n) { return savebmpW(n, *palette, 1); });
    calls.toBuffer("savebmptobuffer", [=](void** b) { return savebmptobuffer(b, *bits, 0); });
    calls.toFile("savegif", "a.gif", [=](const char* n, const WCHAR*) { return savegif(n, *palette); });
    calls.toFile("savegifW", "b.gif", [=](const char*, const WCHAR* n) { return savegifW(n, *bits); });
    calls.toFile("savegifex", "c.gif",
                 [=](const char* n, const WCHAR*) { return savegifex(n, *palette, 1, 0); });
    calls.toFile("savegifexW", "d.gif",
                 [=](const char*, const WCHAR* n) { return savegifexW(n, *palette, 2, 9); });
    calls.toBuffer("savegiftobufferex", [=](void** b) { return savegiftobufferex(b, *palette, 3, 1); });
    calls.toFile("savegifframe new", "e.gif", [=](const char* n, const WCHAR*) {
        DeleteFileA(n);  // else it would grow
        GifGlobalInfo global = animation();
        GifFrameInfo frame{};
        return savegifframe(n, *palette, &global, &frame, 0);
    });
    calls.toBuffer("savegifframetobuffer", [=](void** b) {
        GifGlobalInfo global = animation();
        GifFrameInfo frame{};
        return savegifframetobuffer(b, *palette, &global, &frame, 0);
    });
    calls.toFile("savepng", "a.png", [=](const char* n, const WCHAR*) { return savepng(n, *colour, 0); });
    calls.toFile("savepngW", "b.png", [=](const char*, const WCHAR* n) { return savepngW(n, *palette, 1); });
    calls.toBuffer("savepngtobuffer", [=](void** b) { return savepngtobuffer(b, *bits, 1); });
    calls.toFile("savejpg", "a.jpg", [=](const char* n, const WCHAR*) { return savejpg(n, *colour, 90); });
    calls.toFile("savejpgW", "b.jpg", [=](const char*, const WCHAR* n) { return savejpgW(n, *palette, 50); });
    calls.toBuffer("savejpgtobuffer", [=](void** b) { return savejpgtobuffer(b, *colour, 100); });
    calls.toFile("savejpgex", "c.jpg",
                 [=](const char* n, const WCHAR*) { return savejpgex(n, *colour, 90, 0x11); });
    calls.toFile("savejpgexW", "d.jpg",
                 [=](const char*, const WCHAR* n) { return savejpgexW(n, *colour, 90, 2); });
    calls.toBuffer("savejpgtobufferex", [=](void** b) { return savejpgtobufferex(b, *palette, 90, 0x12); });
}

// The appended frame takes the place of the last, so that every run finds the same file.
void appends(CallSet& calls) {
    const Shared palette = picture(61, 47, 8, 5);
    const std::string original = calls.path("e.gif"), file = calls.path("f.gif");
    const auto append = [=](bool wide) {
        CopyFileA(original.c_str(), file.c_str(), FALSE);
        GifGlobalInfo global = animation();
        GifFrameInfo frame{};
        frame.haslocalpalette = 1;
        return wide ? savegifframeW(std::wstring(file.begin(), file.end()).c_str(), *palette, &global, &frame,
                                    0)
                    : savegifframe(file.c_str(), *palette, &global, &frame, 0);
    };
    for (const bool wide : {false, true})
        calls.list.push_back({wide ? "savegifframeW append" : "savegifframe append",
                              [=] { return append(wide); }, [=] { return hashOfFile(file); }, file, true});
}

void loads(CallSet& calls) {
    const Shared palette = picture(61, 47, 8, 2), colour = picture(61, 47, 24, 2);
    load(calls, FORMS(loadbmp, loadbmpfrombuffer), "a.bmp", colour);
    load(calls, FORMS(loadbmp, loadbmpfrombuffer), "b.bmp", palette);
    load(calls, FORMS(loadgif, loadgiffrombuffer), "c.gif", palette);
    load(calls, FORMS(loadpng, loadpngfrombuffer), "a.png", colour);
    load(calls, FORMS(loadpng, loadpngfrombuffer), "b.png", palette);
    load(calls, FORMS(loadjpg, loadjpgfrombuffer), "a.jpg", colour);
    load(calls, FORMS(loadjpg, loadjpgfrombuffer), "c.jpg", colour);
    load(calls, FORMS(loadjpgex, loadjpgfrombufferex), "d.jpg", colour, JPEG_COLOR_RGB);
    load(calls, FORMS(loadjpgthumbnail, loadjpgthumbnailfrombuffer), "c.jpg", picture(40, 40, 24, 2), 0);
    load(calls, FORMS(loadjpgthumbnail, loadjpgthumbnailfrombuffer), "a.jpg", picture(20, 20, 24, 2), 1);
}

void palettes(CallSet& calls) {
    const auto palette = [](auto call, auto source, Palette256* r) { return call(source, r->entries); };
    inform<Palette256>(calls, FORMS(loadbmppalette, loadbmppalettefrombuffer), "b.bmp", palette);
    inform<Palette256>(calls, FORMS(loadpngpalette, loadpngpalettefrombuffer), "b.png", palette);
    inform<Palette256>(calls, FORMS(loadgifpalette, loadgifpalettefrombuffer), "e.gif", palette);
    inform<Palette256>(calls, FORMS(loadgifglobalpalette, loadgifglobalpalettefrombuffer), "e.gif", palette);
    inform<Palette256>(calls, FORMS(loadgifframepalette, loadgifframepalettefrombuffer), "e.gif",
                       [](auto call, auto source, Palette256* r) { return call(source, r->entries, 0); });
}

void informations(CallSet& calls) {
    const auto whole = [](auto call, auto source, auto* record) { return call(source, record); };
    inform<BITMAPINFOHEADER>(calls, FORMS(bmpinfo, bmpinfofrombuffer), "a.bmp", whole);
    inform<PngInfo>(calls, FORMS(pnginfo, pnginfofrombuffer), "b.png", whole);
    inform<JpegInfo>(calls, FORMS(jpeginfo, jpeginfofrombuffer), "c.jpg", whole);
    inform<JpegInfoEx>(calls, FORMS(jpeginfoex, jpeginfofrombufferex), "c.jpg", whole);
    inform<GifFileInfo>(calls, FORMS(gifinfo, gifinfofrombuffer), "e.gif", whole);
    inform<int>(calls, FORMS(gifframecount, gifframecountfrombuffer), "e.gif", whole);
    inform<Frames>(
        calls, FORMS(gifinfoframe, gifinfoframefrombuffer), "e.gif",
        [](auto call, auto source, Frames* r) { return call(source, &r->file, &r->global, r->frames, 0); });
    inform<Frames>(calls, FORMS(gifinfoallframes, gifinfoallframesfrombuffer), "e.gif",
                   [](auto call, auto source, Frames* r) { return call(source, &r->global, r->frames, 1); });
}

void comments(CallSet& calls) {
    const std::string gif = calls.path("e.gif"), png = calls.path("b.png");
    const std::wstring wideGif(gif.begin(), gif.end()), widePng(png.begin(), png.end());
    calls.onRecord<Comment>("getgifcomment",
                            [=](Comment* r) { return getgifcomment(gif.c_str(), r->text, 100); });
    calls.onRecord<Comment>("getgifcommentW",
                            [=](Comment* r) { return getgifcommentW(wideGif.c_str(), r->text, 100); });
    calls.onRecord<Comment>("getpngcomment",
                            [=](Comment* r) { return getpngcomment(png.c_str(), "Title", r->text, 100); });
    calls.onRecord<Comment>(
        "getpngcommentW", [=](Comment* r) { return getpngcommentW(widePng.c_str(), "Title", r->text, 100); });
    calls.onRecord<Resolution>("pnggetxyresolution", [=](Resolution* r) {
        return pnggetxyresolution(png.c_str(), &r->x, &r->y, &r->unit);
    });
    calls.onRecord<Resolution>("pnggetxyresolutionW", [=](Resolution* r) {
        return pnggetxyresolutionW(widePng.c_str(), &r->x, &r->y, &r->unit);
    });
}

void frames(CallSet& calls) {
    GifGlobalInfo global;
    GifFrameInfo frame;
    gifinfoframe(calls.path("e.gif").c_str(), nullptr, &global, &frame, 0);
    const auto known = std::make_shared<std::pair<GifGlobalInfo, GifFrameInfo>>(global, frame);
    const Shared image = picture(61, 47, 8, 3);
    forEachForm(
        FORMS(loadgifframe, loadgifframefrombuffer), calls.path("e.gif"), [&](auto form, auto source) {
            calls.onPicture(form.name, image,
                            [=](imgdes* i) { return form.call(source(), i, &known->first, &known->second); });
        });
}

// The settings keep the values that they have anyway: what other calls save stays the same.
void settings(CallSet& calls) {
    calls.plain("jpegsetxyresolution", [] { return jpegsetxyresolution(1, 1, 0), 0; });
    calls.plain("jpegsetthumbnailsize", [] { return jpegsetthumbnailsize(64); });
    calls.plain("pngsetxyresolution", [] { return pngsetxyresolution(11812, 11812, 1); });
    calls.plain("setgifcomment", [] { return setgifcomment(89, nullptr), 0; });
    // Of any thread's last failure: the answer itself tells nothing here.
    calls.plain("jpeggeterror", [] { return jpeggeterror(), 0; });
    calls.plain("pnggeterror", [] { return pnggeterror(), 0; });
}

struct Coded {
    unsigned char data[2300];
};

void codec(CallSet& calls) {
    const auto pixels = std::make_shared<std::vector<unsigned char>>(1000, 5);
    for (std::size_t i = 0; i < pixels->size(); i += 7) (*pixels)[i] = static_cast<unsigned char>(i / 7);
    calls.onRecord<Coded>("GifEncode", [=](Coded* r) {
        GifCodeParams params{{}, 8};
        return static_cast<int>(GifEncode(&params, pixels->data(), 1000, r->data, sizeof r->data));
    });
    const auto coded = std::make_shared<Coded>();
    GifCodeParams params{{}, 8};
    const UINT length = GifEncode(&params, pixels->data(), 1000, coded->data, sizeof coded->data);
    calls.onRecord<Coded>("GifDecode", [=](Coded* r) {
        GifCodeParams found{};
        return static_cast<int>(GifDecode(&found, coded->data, static_cast<int>(length), r->data, 1000));
    });
}

}  // namespace

void addFileCalls(CallSet& calls) {
    setgifcomment(89, nullptr);
    saves(calls);
    for (const Call& call : calls.list) call.run();  // the files that the others read
    appends(calls);
    loads(calls);
    palettes(calls);
    informations(calls);
    comments(calls);
    frames(calls);
    settings(calls);
    codec(calls);
}

}  // namespace faults
