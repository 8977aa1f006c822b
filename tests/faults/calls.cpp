#include "tests/faults/calls.h"

#include <windows.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "orn32.h"
#include "tests/faults/import_table.h"
#include "tests/support/random.h"

namespace faults {
namespace {

unsigned hash(const void* data, std::size_t size, unsigned seed = 2166136261u) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    for (std::size_t i = 0; i < size; i++) seed = (seed ^ bytes[i]) * 16777619u;
    return seed;
}

unsigned hashOfFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), {});
    return hash(bytes.data(), bytes.size());
}

struct Picture {
    imgdes image{};
    Picture(unsigned width, unsigned height, unsigned bits, unsigned seed) {
        allocDIB(&image, width, height, bits);
        test::Random random(seed);
        for (unsigned i = 0; i < image.header->biSizeImage; i++) image.bits[i] = random.byte();
        for (int i = 0; i < image.palcolors && bits == 8; i++)
            image.palette[i] = {random.byte(), random.byte(), random.byte(), 0};
        image.imgkind = 0;
    }
    ~Picture() { freeimage(&image); }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    operator imgdes*() { return &image; }
    unsigned hash() const {
        const unsigned pixels = faults::hash(image.bits, image.header->biSizeImage);
        return faults::hash(image.palette, static_cast<unsigned>(image.palcolors) * 4, pixels);
    }
};
using Shared = std::shared_ptr<Picture>;

Shared picture(unsigned width, unsigned height, unsigned bits, unsigned seed = 1) {
    return std::make_shared<Picture>(width, height, bits, seed);
}

class Calls {
 public:
    explicit Calls(const std::string& folder) : folder_(folder) {}

    std::string path(const std::string& name) const { return folder_ + "\\" + name; }

    // A call on one picture, which is as it was at first whenever the call starts.
    template <class Run>
    void onPicture(const std::string& name, const Shared& image, Run run) {
        const std::vector<std::uint8_t> bits(image->image.bits,
                                             image->image.bits + image->image.header->biSizeImage);
        const imgdes record = image->image;
        const std::vector<RGBQUAD> palette(record.palette, record.palette + record.palcolors);
        list.push_back({name,
                        [=] {
                            std::copy(bits.begin(), bits.end(), image->image.bits);
                            std::copy(palette.begin(), palette.end(), image->image.palette);
                            image->image.palcolors = record.palcolors;
                            image->image.imgkind = record.imgkind;
                            return run(*image);
                        },
                        [=] { return image->hash(); }});
    }

    // A call that fills a record or a table.
    template <class Record, class Run>
    void onRecord(const std::string& name, Run run) {
        auto record = std::make_shared<Record>();
        list.push_back({name,
                        [=] {
                            std::memset(static_cast<void*>(record.get()), 0, sizeof(Record));
                            return run(record.get());
                        },
                        [=] { return hash(record.get(), sizeof(Record)); }});
    }

    template <class Run>
    void toFile(const std::string& name, const std::string& file, Run run) {
        const std::string made = path(file);
        list.push_back({name,
                        [=] { return run(made.c_str(), std::wstring(made.begin(), made.end()).c_str()); },
                        [=] { return hashOfFile(made); }, made});
    }

    template <class Run>
    void toBuffer(const std::string& name, Run run) {
        auto output = std::make_shared<unsigned>();
        list.push_back({name,
                        [=] {
                            void* buffer = nullptr;
                            const int code = run(&buffer);
                            *output = 0;
                            if (buffer) *output = hash(buffer, sizeOf(buffer));
                            if (buffer) releaseBlock(buffer);
                            return buffer && code ? 1 : code;  // a failed save hands out nothing
                        },
                        [=] { return *output; }});
    }

    std::vector<Call> list;

 private:
    std::string folder_;
};

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
struct Histogram {
    long red[256], green[256], blue[256];
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
        calls.onPicture(#name "frombuffer " file, image,                                             \
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

void saves(Calls& calls) {
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
void appends(Calls& calls) {
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

void loads(Calls& calls) {
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

void informations(Calls& calls) {
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
    calls.onRecord<Comment>("getgifcomment",
                            [=](Comment* r) { return getgifcomment(gif.c_str(), r->text, 100); });
    calls.onRecord<Comment>("getpngcomment",
                            [=](Comment* r) { return getpngcomment(png.c_str(), "Title", r->text, 100); });
    calls.onRecord<Resolution>("pnggetxyresolution", [=](Resolution* r) {
        return pnggetxyresolution(png.c_str(), &r->x, &r->y, &r->unit);
    });
}

void frames(Calls& calls) {
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
}

void operations(Calls& calls) {
    const Shared colour = picture(61, 47, 24, 3), palette = picture(61, 47, 8, 4),
                 grey16 = picture(61, 47, 16, 5);
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
    calls.onPicture("pixellize", fresh(8), [=](imgdes* i) { return pixellize(5, *palette, i); });
    calls.onPicture("pixellize 24", fresh(24), [=](imgdes* i) { return pixellize(5, *colour, i); });
    calls.onPicture("cover", fresh(8), [=](imgdes* i) { return cover(99, *palette, *otherPalette, i); });
    calls.onPicture("coverclear", fresh(24), [=](imgdes* i) { return coverclear(77, *colour, *other, i); });
    calls.onRecord<Histogram>(
        "calchistorgb", [=](Histogram* r) { return calchistorgb(*palette, r->red, r->green, r->blue, 1); });
    calls.onRecord<Histogram>("calchisto",
                              [=](Histogram* r) { return calchisto(*colour, r->red, r->green, r->blue); });
}

void images(Calls& calls) {
    const auto output = std::make_shared<unsigned>();
    for (const bool section : {false, true})
        calls.list.push_back({section ? "allocimage" : "allocDIB",
                              [=] {
                                  imgdes image;
                                  const int code =
                                      section ? allocimage(&image, 50, 50, 8) : allocDIB(&image, 50, 50, 24);
                                  *output = image.rowbytes;
                                  if (code == 0) freeimage(&image);
                                  return code;
                              },
                              [=] { return *output; }});
}

}  // namespace

std::vector<Call> makeCalls(const std::string& folder) {
    std::filesystem::create_directories(folder);
    Calls calls(folder);
    saves(calls);
    for (const Call& call : calls.list) call.run();
    appends(calls);
    loads(calls);
    informations(calls);
    frames(calls);
    operations(calls);
    images(calls);
    return calls.list;
}

}  // namespace faults
