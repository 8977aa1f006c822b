#include "tests/faults/calls.h"

#include <array>
#include <filesystem>
#include <tuple>

#include "tests/faults/arguments.h"

namespace faults {

unsigned hash(const void* data, std::size_t size, unsigned seed) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    for (std::size_t i = 0; i < size; i++) seed = (seed ^ bytes[i]) * 16777619u;
    return seed;
}

unsigned hashOfFile(const std::string& name) {
    if (!std::filesystem::exists(name)) return 0;
    const test::Bytes bytes = test::readFile(name);
    return hash(bytes.data(), bytes.size());
}

std::string Call::deviation() const {
    const int have = run();
    if (have != result) return name + " returns " + std::to_string(have) + ", not " + std::to_string(result);
    return output() == wanted ? "" : name + " gives another output";
}

namespace {

template <class T>
auto argument(const T& value) {
    if constexpr (std::is_base_of_v<Argument, T>)
        return value;
    else
        return Constant<T>(value);
}

// A call of a function with the arguments, run once for its result and its output.
template <class Function, class... Arguments>
Call call(const char* name, Function function, Arguments... values) {
    const auto all = std::make_shared<std::tuple<decltype(argument(values))...>>(argument(values)...);
    const std::vector<Argument*> each =
        std::apply([](auto&... arguments) { return std::vector<Argument*>{&arguments...}; }, *all);
    Call made = {};
    made.name = name;
    made.run = [=] {
        for (Argument* argument : each) argument->reset();
        int result = 0;
        if constexpr (std::is_void_v<decltype(std::apply(function, *all))>)
            std::apply(function, *all);
        else
            result = static_cast<int>(std::apply(function, *all));
        for (Argument* argument : each) result = argument->finish(result);
        return result;
    };
    made.output = [all, each] {
        unsigned output = 0;
        for (const Argument* argument : each) output = output * 31 + argument->output();
        return output;
    };
    made.result = made.run();
    made.wanted = made.output();
    for (const Argument* argument : each)
        if (const auto* file = dynamic_cast<const Made*>(argument); file && !file->isBuffer) {
            made.file = file->name;
            made.fileBefore = hashOfFile(file->original);
        }
    return made;
}

std::string newFolder() {
    static int count = 0;
    const std::string name = "orn32-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count);
    const auto folder = std::filesystem::temp_directory_path() / name;
    std::filesystem::create_directories(folder);
    return folder.string();
}

}  // namespace

CallSet::~CallSet() {
    calls.clear();
    std::filesystem::remove_all(folder);
}

#define CALL(function, ...) \
    calls.push_back(call(#function "(" #__VA_ARGS__ ")", function __VA_OPT__(, ) __VA_ARGS__))
// The same of a file by both kinds of names, and of one in memory.
#define NAMED(function, ...) CALL(function, __VA_ARGS__), CALL(function##W, __VA_ARGS__)
#define READ(function, frombuffer, ...) NAMED(function, __VA_ARGS__), CALL(frombuffer, __VA_ARGS__)

CallSet::CallSet(unsigned width, unsigned height) : folder(newFolder()) {
    const auto image = [=](unsigned bits, unsigned seed, bool section = false) {
        return Image(width, height, bits, seed, section);
    };
    const auto in = [this](const char* name) { return Source(folder + "\\" + name); };
    const auto out = [this](const char* name) { return Made(folder + "\\" + name); };
    const auto appended = [this](const char* name, const char* original) {
        return Made(folder + "\\" + name, folder + "\\" + original);
    };
    const Image bits = image(1, 1), indices = image(8, 2), others = image(8, 3), grey = image(16, 4),
                colour = image(24, 5), colour2 = image(24, 6), section = image(8, 7, true);
    const Image to1 = image(1, 11), to8 = image(8, 12), to16 = image(16, 13), to24 = image(24, 14);
    const Room room;

    // Saves, whose files are read below.
    GifGlobalInfo global{};
    GifFrameInfo frame{};
    global.screenwidth = global.screenheight = 60;
    global.hasglobalpalette = frame.haslocalpalette = 1;
    const Room screen(global), ownColours(frame);
    setgifcomment(89, nullptr);
    CALL(savebmp, out("a.bmp"), colour, 0);
    CALL(savebmpW, out("b.bmp"), indices, 1);
    CALL(savebmptobuffer, out(""), bits, 0);
    CALL(savegif, out("a.gif"), indices);
    CALL(savegifW, out("b.gif"), indices);
    CALL(savegifex, out("c.gif"), indices, 1, 0);
    CALL(savegifexW, out("d.gif"), indices, 2, 9);
    CALL(savegiftobufferex, out(""), bits, 3, 1);
    CALL(savegifframe, out("e.gif"), indices, screen, room, 0);
    CALL(savegifframe, appended("f.gif", "e.gif"), others, screen, ownColours, 0);
    CALL(savegifframeW, appended("g.gif", "e.gif"), others, screen, ownColours, 0);
    CALL(savegifframetobuffer, out(""), indices, screen, room, 0);
    CALL(savepng, out("a.png"), colour, 0);
    CALL(savepngW, out("b.png"), indices, 1);
    CALL(savepngtobuffer, out(""), bits, 1);
    CALL(savejpg, out("a.jpg"), colour, 90);
    CALL(savejpgW, out("b.jpg"), indices, 95);
    CALL(savejpgtobuffer, out(""), colour, 100);
    CALL(savejpgex, out("c.jpg"), colour, 90, 0x11);
    CALL(savejpgexW, out("d.jpg"), colour, 90, JPEG_OPTIMIZED);
    CALL(savejpgtobufferex, out(""), indices, 90, 0x12);

    // Loads.
    const Image small(40, 40, 24, 15), tiny(20, 20, 24, 16);
    gifinfoframe(in("e.gif"), nullptr, &global, &frame, 0);
    const Room knownScreen(global), knownFrame(frame);
    READ(loadbmp, loadbmpfrombuffer, in("a.bmp"), to24);
    READ(loadbmp, loadbmpfrombuffer, in("b.bmp"), to8);
    READ(loadgif, loadgiffrombuffer, in("c.gif"), to8);
    READ(loadgifframe, loadgifframefrombuffer, in("e.gif"), to8, knownScreen, knownFrame);
    READ(loadpng, loadpngfrombuffer, in("a.png"), to24);
    READ(loadpng, loadpngfrombuffer, in("b.png"), to8);
    READ(loadjpg, loadjpgfrombuffer, in("a.jpg"), to24);
    READ(loadjpg, loadjpgfrombuffer, in("c.jpg"), to24);
    READ(loadjpgex, loadjpgfrombufferex, in("d.jpg"), to24, JPEG_COLOR_RGB);
    READ(loadjpgthumbnail, loadjpgthumbnailfrombuffer, in("c.jpg"), small, 0);
    READ(loadjpgthumbnail, loadjpgthumbnailfrombuffer, in("a.jpg"), tiny, 1);

    // What else files tell.
    READ(loadbmppalette, loadbmppalettefrombuffer, in("b.bmp"), room);
    READ(loadpngpalette, loadpngpalettefrombuffer, in("b.png"), room);
    READ(loadgifpalette, loadgifpalettefrombuffer, in("e.gif"), room);
    READ(loadgifglobalpalette, loadgifglobalpalettefrombuffer, in("e.gif"), room);
    READ(loadgifframepalette, loadgifframepalettefrombuffer, in("e.gif"), room, 0);
    READ(bmpinfo, bmpinfofrombuffer, in("a.bmp"), room);
    READ(pnginfo, pnginfofrombuffer, in("b.png"), room);
    READ(jpeginfo, jpeginfofrombuffer, in("c.jpg"), room);
    READ(jpeginfoex, jpeginfofrombufferex, in("c.jpg"), room);
    READ(gifinfo, gifinfofrombuffer, in("e.gif"), room);
    READ(gifframecount, gifframecountfrombuffer, in("e.gif"), room);
    READ(gifinfoframe, gifinfoframefrombuffer, in("e.gif"), room, room, room, 0);
    READ(gifinfoallframes, gifinfoallframesfrombuffer, in("e.gif"), room, room, 1);
    NAMED(getgifcomment, in("e.gif"), room, 100);
    NAMED(getpngcomment, in("b.png"), "Title", room, 100);
    NAMED(pnggetxyresolution, in("b.png"), room, room, room);

    // The settings keep the values that they have anyway: what other calls save stays the same.
    CALL(jpegsetxyresolution, 1, 1, 0);
    CALL(jpegsetthumbnailsize, 64);
    CALL(pngsetxyresolution, 11812, 11812, 1);
    CALL(setgifcomment, 89, nullptr);
    // Of any thread's last failure: the answer itself tells nothing here.
    calls.push_back(call("jpeggeterror()", [] { jpeggeterror(); }));
    calls.push_back(call("pnggeterror()", [] { pnggeterror(); }));

    // The codec.
    std::array<unsigned char, 1000> pixels{};
    std::array<unsigned char, 2300> coded{};
    for (std::size_t i = 0; i < pixels.size(); i += 7) pixels[i] = static_cast<unsigned char>(i / 7);
    GifCodeParams params{{}, 8};
    const UINT length = GifEncode(&params, pixels.data(), 1000, coded.data(), 2300);
    CALL(GifEncode, Room(params), Room(pixels), 1000, room, 2300);
    CALL(GifDecode, room, Room(coded), static_cast<int>(length), room, 1000);

    // Operations.
    const auto copyWithin = [](imgdes* whole) {
        imgdes part = *whole;
        part.left = part.top = 3;
        return copyimage(&part, whole);
    };
    CALL(copyimage, colour, to24);
    calls.push_back(call("copyimage(part, whole)", copyWithin, to24));
    CALL(copyimagebits, indices, to8);
    for (const int mode : {0, 1, 2, 3}) {
        CALL(convertrgbtopalex, 100, colour, to8, mode);
        CALL(matchcolorimageex, colour, to8, mode);
        CALL(reduceimagecolors, indices, to8.withColours(40), mode);
    }
    for (const int mode : {0, 1, 2}) CALL(convert8bitto1bit, mode, indices, to1);
    for (const int cube : {0, 1}) {
        CALL(colordither, colour, to8, cube);
        CALL(colorscatter, indices, to8, cube);
    }
    CALL(convertrgbtopal, 64, colour, to8);
    CALL(matchcolorimage, indices, to8);
    CALL(convertpaltorgb, indices, to24);
    CALL(colortogray, colour, to8);
    CALL(convertgray16to8, grey, to8);
    CALL(convertgray8to16, indices, to16);
    CALL(convert1bitto8bit, bits, to8);
    CALL(convert1bitto8bitsmooth, bits, to8);
    for (const auto& [from, to] : {std::pair{bits, to1}, {indices, to8}, {colour, to24}}) {
        CALL(dilate, 200, from, to);
        CALL(erode, 200, from, to);
    }
    for (const auto& [from, to] : {std::pair{indices, to8}, {colour, to24}}) {
        CALL(medianfilter, 5, from, to);
        CALL(removenoise, from, to);
        CALL(pixellize, 5, from, to);
    }
    CALL(cover, 99, indices, others, to8);
    CALL(coverclear, 77, colour, colour2, to24);
    CALL(calchistorgb, indices, room, room, room, 1);
    CALL(calchisto, colour, room, room, room);
    CALL(rgb2hsv, Room(coded), room, 300);
    CALL(hsv2rgb, Room(coded), room, 300);

    // Images.
    const auto allocated = [](auto allocate) {
        return [allocate](UINT* rowBytes) {
            imgdes made;
            const int result = allocate(&made, 50, 50, 8);
            *rowBytes = made.rowbytes;
            if (result == 0) freeimage(&made);
            return result;
        };
    };
    calls.push_back(call("allocimage()", allocated(allocimage), room));
    calls.push_back(call("allocDIB()", allocated(allocDIB), room));
    calls.push_back(call("freeimage()", allocated(allocDIB), room));
    CALL(copyimgdes, indices, room);
    CALL(zeroimgdes, room);
    CALL(setupimgdes, indices.record().header, room);
    CALL(setimagearea, room, 1, 2, 3, 4);
    CALL(imageareatorect, indices, room);
    CALL(recttoimagearea, Room(RECT{5, 6, 7, 8}), room);
    CALL(checkrange_, to8);
    CALL(checkrange1_, to8);
    CALL(checkrange16_, to8);
    CALL(isgrayscaleimage, to8);
    CALL(copyimagepalette, indices, to8);
    CALL(copyimagepalette, indices, section);
    CALL(CreateDefaultPalette_, section);
    CALL(updatebitmapcolortable, section);
    CALL(defaultpalette, to8);
    CALL(standardpalette, to8);

    // Drawing. What windows need is made here, by the thread that makes the set.
    const Canvas screen32, screen8 = screen32.ofDepth(8);
    for (const Image& from : {indices, image(8, 9, true)})
        CALL(viewimage, screen32, screen32, screen32, 3, 4, from);
    for (const Image& from : {colour, image(24, 8, true)}) {
        CALL(viewimageex, screen32, screen32, screen32, 0, 0, from, 9, 9, 0);
        for (const int mode : {0, 1, 2}) CALL(viewimageex, screen8, screen8, screen8, 0, 0, from, 9, 9, mode);
    }

    // The library itself.
    calls.push_back(call("InitializeLibrary()", installMemory));
    CALL(Orrinversion);
    CALL(Orrinversionex, room);
    CALL(Orrinversiondate, room, 30);
    CALL(OrrinversiondateW, room, 30);
    CALL(printimage, 1, 2, 3, 4, 5, 6, 7);
}

}  // namespace faults
