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
    int count;
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

#define TEXT_OF_(x) #x
#define TEXT_OF(x) TEXT_OF_(x)

// name, nameW and namefrombuffer of a load, over a file.
#define LOADS(calls, name, file, image, ...)                                                         \
    do {                                                                                             \
        const std::string narrow = calls.path(file);                                                 \
        const std::wstring wide(narrow.begin(), narrow.end());                                       \
        const auto bytes = std::make_shared<std::vector<char>>(contents(narrow));                    \
        calls.onPicture(#name " " file, image,                                                       \
                        [=](imgdes* i) { return name(narrow.c_str(), i __VA_ARGS__); });             \
        calls.onPicture(#name "W " file, image,                                                      \
                        [=](imgdes* i) { return name##W(wide.c_str(), i __VA_ARGS__); });            \
        calls.onPicture(TEXT_OF(frombuffer_##name) " " file, image,                                  \
                        [=](imgdes* i) { return frombuffer_##name(bytes->data(), i __VA_ARGS__); }); \
    } while (false)
#define frombuffer_loadbmp loadbmpfrombuffer
#define frombuffer_loadgif loadgiffrombuffer
#define frombuffer_loadpng loadpngfrombuffer
#define frombuffer_loadjpg loadjpgfrombuffer
#define frombuffer_loadjpgex loadjpgfrombufferex
#define frombuffer_loadjpgthumbnail loadjpgthumbnailfrombuffer

#define INFOS(calls, name, buffered, record, pointer, file, ...)                                             \
    do {                                                                                                     \
        const std::string narrow = calls.path(file);                                                         \
        const std::wstring wide(narrow.begin(), narrow.end());                                               \
        const auto bytes = std::make_shared<std::vector<char>>(contents(narrow));                            \
        calls.onRecord<record>(#name, [=](record* r) { return name(narrow.c_str(), pointer __VA_ARGS__); }); \
        calls.onRecord<record>(#name "W",                                                                    \
                               [=](record* r) { return name##W(wide.c_str(), pointer __VA_ARGS__); });       \
        calls.onRecord<record>(#buffered,                                                                    \
                               [=](record* r) { return buffered(bytes->data(), pointer __VA_ARGS__); });     \
    } while (false)

#define COMMA ,

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
    LOADS(calls, loadbmp, "a.bmp", picture(61, 47, 24, 2), );
    LOADS(calls, loadbmp, "b.bmp", picture(61, 47, 8, 2), );
    LOADS(calls, loadgif, "c.gif", picture(61, 47, 8, 2), );
    LOADS(calls, loadpng, "a.png", picture(61, 47, 24, 2), );
    LOADS(calls, loadpng, "b.png", picture(61, 47, 8, 2), );
    LOADS(calls, loadjpg, "a.jpg", picture(61, 47, 24, 2), );
    LOADS(calls, loadjpg, "c.jpg", picture(61, 47, 24, 2), );
    LOADS(calls, loadjpgex, "d.jpg", picture(61, 47, 24, 2), COMMA JPEG_COLOR_RGB);
    LOADS(calls, loadjpgthumbnail, "c.jpg", picture(40, 40, 24, 2), COMMA 0);
    LOADS(calls, loadjpgthumbnail, "a.jpg", picture(20, 20, 24, 2), COMMA 1);
}

void informations(CallSet& calls) {
    INFOS(calls, bmpinfo, bmpinfofrombuffer, BITMAPINFOHEADER, r, "a.bmp", );
    INFOS(calls, loadbmppalette, loadbmppalettefrombuffer, Palette256, r->entries, "b.bmp", );
    INFOS(calls, gifinfo, gifinfofrombuffer, GifFileInfo, r, "e.gif", );
    INFOS(calls, gifinfoframe, gifinfoframefrombuffer, Frames, &r->file, "e.gif",
          COMMA & r->global COMMA r->frames COMMA 0);
    INFOS(calls, gifinfoallframes, gifinfoallframesfrombuffer, Frames, &r->global, "e.gif",
          COMMA r->frames COMMA 1);
    INFOS(calls, gifframecount, gifframecountfrombuffer, Frames, &r->count, "e.gif", );
    INFOS(calls, loadgifpalette, loadgifpalettefrombuffer, Palette256, r->entries, "e.gif", );
    INFOS(calls, loadgifglobalpalette, loadgifglobalpalettefrombuffer, Palette256, r->entries, "e.gif", );
    INFOS(calls, loadgifframepalette, loadgifframepalettefrombuffer, Palette256, r->entries, "e.gif",
          COMMA 0);
    INFOS(calls, pnginfo, pnginfofrombuffer, PngInfo, r, "b.png", );
    INFOS(calls, loadpngpalette, loadpngpalettefrombuffer, Palette256, r->entries, "b.png", );
    INFOS(calls, jpeginfo, jpeginfofrombuffer, JpegInfo, r, "c.jpg", );
    INFOS(calls, jpeginfoex, jpeginfofrombufferex, JpegInfoEx, r, "c.jpg", );
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
    const std::string narrow = calls.path("e.gif");
    const std::wstring wide(narrow.begin(), narrow.end());
    const auto global = std::make_shared<GifGlobalInfo>();
    const auto frame = std::make_shared<GifFrameInfo>();
    gifinfoframe(narrow.c_str(), nullptr, global.get(), frame.get(), 0);
    const Shared image = picture(61, 47, 8, 3);
    calls.onPicture("loadgifframe", image,
                    [=](imgdes* i) { return loadgifframe(narrow.c_str(), i, global.get(), frame.get()); });
    calls.onPicture("loadgifframeW", image,
                    [=](imgdes* i) { return loadgifframeW(wide.c_str(), i, global.get(), frame.get()); });
    const auto bytes = std::make_shared<std::vector<char>>(contents(narrow));
    calls.onPicture("loadgifframefrombuffer", image, [=](imgdes* i) {
        return loadgifframefrombuffer(bytes->data(), i, global.get(), frame.get());
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
    informations(calls);
    frames(calls);
    settings(calls);
    codec(calls);
}

}  // namespace faults
