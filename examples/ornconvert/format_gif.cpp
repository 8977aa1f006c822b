// GIF: single pictures and animations.
#include <windows.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "console.h"
#include "formats.h"
#include "gif_strings.h"
#include "messages.h"

namespace ornconvert {
namespace {

// ---- Options --------------------------------------------------------------------------------------------

int frameToLoad;  // --frame
bool allFrames;   // --all-frames
bool interlaced;  // --interlace
std::optional<int> transparent, delay, loops;
std::string comment;  // as UTF-8; the library keeps a pointer to it until it is written

constexpr Option loadOptions[] = {
    {L"--frame", L"N", L"load frame N of a GIF, counted from 0 (else the first)",
     [](Job&, const std::wstring& argument) { frameToLoad = parseNumber(argument, 0, 0x7FFFFFF); }},
    {L"--all-frames", nullptr, L"load all frames of a GIF, into one file or into OUT-1, OUT-2 ...",
     [](Job&, const std::wstring&) { allFrames = true; }},
};

constexpr Option saveOptions[] = {
    {L"--interlace", nullptr, L"write a GIF's rows interlaced",
     [](Job&, const std::wstring&) { interlaced = true; }},
    {L"--transparent", L"N", L"make colour N of a GIF's palette transparent",
     [](Job&, const std::wstring& argument) { transparent = parseNumber(argument, 0, 255); }},
    {L"--delay", L"N", L"show each frame of a GIF for N hundredths of a second",
     [](Job&, const std::wstring& argument) { delay = parseNumber(argument, 0, 65535); }},
    {L"--loop", L"N", L"repeat a GIF's frames N times, 0 for ever",
     [](Job&, const std::wstring& argument) { loops = parseNumber(argument, 0, 65535); }},
    {L"--comment", L"TEXT", L"write a comment into a GIF",
     [](Job&, const std::wstring& argument) {
         const int size = static_cast<int>(argument.size());
         const int bytes =
             WideCharToMultiByte(CP_UTF8, 0, argument.c_str(), size, nullptr, 0, nullptr, nullptr);
         comment.resize(static_cast<std::size_t>(bytes));
         WideCharToMultiByte(CP_UTF8, 0, argument.c_str(), size, comment.data(), bytes, nullptr, nullptr);
     }},
};

// ---- Info -----------------------------------------------------------------------------------------------

constexpr const wchar_t* extensions[] = {L"gif"};
constexpr unsigned depths[] = {8, 1};

bool sniff(FileStart start) {
    return start.size() >= 3 && start[0] == 'G' && start[1] == 'I' && start[2] == 'F';
}

struct FileRecords {
    GifGlobalInfo global;
    std::vector<GifFrameInfo> frames;
};

// Of a file that breaks off, the frames up to the break.
FileRecords recordsOf(const std::wstring& file) {
    int count = 0;
    const int code = gifframecountW(file.c_str(), &count);
    const bool breaksOff = code == ERR_TRUNCATED;
    if (!breaksOff) check(code);
    FileRecords records;
    records.frames.resize(static_cast<std::size_t>(count) + breaksOff);
    const int filled = gifinfoallframesW(file.c_str(), &records.global, records.frames.data(),
                                         static_cast<int>(records.frames.size()));
    if (breaksOff && filled == ERR_TRUNCATED)
        records.frames.pop_back();  // the break is in an extension
    else
        check(filled);
    return records;
}

std::wstring size(int width, int height) {
    return text(width, L" x ", height, L" pixels");
}

// The first one, wherever it stands; empty where there is none.
std::wstring commentOf(const std::wstring& file) {
    std::string bytes(32000, 0);
    bytes.resize(static_cast<std::size_t>(std::max(getgifcommentW(file.c_str(), bytes.data(), 32000), 0)));
    std::wstring words(bytes.size(), 0);
    words.resize(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()),
                                                     words.data(), static_cast<int>(words.size()))));
    return words;
}

std::wstring disposalInWords(int disposal) {
    switch (disposal) {
        case 1:
            return L"stays";
        case 2:
            return L"gives way to the background";
        case 3:
            return L"gives way to what was there before";
        default:
            return text(L"method ", disposal);
    }
}

void addFrame(const GifFrameInfo& frame, InfoList& list) {
    list.heading(text(L"frame ", frame.frameno));
    list.add(L"  size", size(frame.width, frame.height));
    if (frame.left || frame.top) list.add(L"  position", text(frame.left, L", ", frame.top));
    if (frame.haslocalpalette) list.add(L"  palette", text(frame.localcolors, L" colours of its own"));
    if (frame.delay) list.add(L"  delay", text(frame.delay, L" hundredths of a second"));
    if (frame.transcolor >= 0) list.add(L"  transparent", text(L"colour ", frame.transcolor));
    if (frame.disposal) list.add(L"  afterwards", disposalInWords(frame.disposal));
    if (frame.interlaced) list.add(L"  rows", L"interlaced");
}

void info(const std::wstring& file, InfoList& list) {
    GifFileInfo first;
    check(gifinfoW(file.c_str(), &first));
    const FileRecords records = recordsOf(file);
    const GifGlobalInfo& global = records.global;
    list.add(L"version", text(first.version, L"a"));
    list.add(L"screen", size(global.screenwidth, global.screenheight));
    if (global.hasglobalpalette) list.add(L"palette", text(global.globalcolors, L" colours"));
    list.add(L"frames", toText(records.frames.size()));
    if (global.loopcount >= 0)
        list.add(L"repeated", global.loopcount ? text(global.loopcount, L" times") : L"for ever");
    if (const std::wstring words = commentOf(file); !words.empty()) list.add(L"comment", words);
    for (const GifFrameInfo& frame : records.frames) addFrame(frame, list);
}

// ---- Load -----------------------------------------------------------------------------------------------

// The library's own loader is tried first, as it needs no copy of the file.
Picture loadFrame(const std::wstring& file, GifGlobalInfo global, GifFrameInfo frame) {
    Picture picture(frame.width, frame.height, static_cast<unsigned>(frame.dibbits));
    std::wstring flaw;
    const int code = loadgifframeW(file.c_str(), picture.image(), &global, &frame);
    if (code == ERR_LZW_CODE)
        picture = loadGifFrameWithStrings(file, frame, flaw);
    else if (code == ERR_TRUNCATED)
        flaw = resultInWords(code);
    else
        check(code);
    if (!flaw.empty()) warn(file, text(L"frame ", frame.frameno, L": ", flaw));
    picture.gif = {true,        frame.left,     frame.top,        global.screenwidth, global.screenheight,
                   frame.delay, frame.disposal, frame.transcolor, global.loopcount};
    return picture;
}

std::vector<Picture> load(const std::wstring& file) {
    const FileRecords records = recordsOf(file);
    const std::size_t count = records.frames.size();
    const std::size_t first = static_cast<std::size_t>(allFrames ? 0 : frameToLoad);
    if (count == 0) throw Failure{L"the file holds no picture"};
    if (first >= count) throw Failure{text(L"there is no frame ", first, L"; the last one is ", count - 1)};
    std::vector<Picture> pictures;
    for (std::size_t k = first; k < (allFrames ? count : first + 1); k++)
        pictures.push_back(loadFrame(file, records.global, records.frames[k]));
    return pictures;
}

// ---- Save -----------------------------------------------------------------------------------------------

// Bits per pixel that the palette and the pixels need.
UINT bitsNeeded(Picture& picture) {
    const imgdes& image = *picture.image();
    if (picture.bits() == 1) return 1;
    unsigned highest = static_cast<unsigned>(std::max(image.palcolors, 1)) - 1;
    const UINT bottomRow = static_cast<UINT>(image.header->biHeight) - 1 - image.bottom;
    for (UINT y = 0; y < picture.height(); y++) {
        const unsigned char* row = image.bits + (bottomRow + y) * image.rowbytes + image.left;
        highest = std::max<unsigned>(highest, *std::max_element(row, row + picture.width()));
    }
    return std::max(1u, static_cast<UINT>(std::bit_width(highest)));
}

// The screen is as large as the first frame makes it. Later frames that reach beyond widen it in the header.
void widenScreen(const std::wstring& file, int width, int height) {
    GifGlobalInfo global;
    check(gifinfoframeW(file.c_str(), nullptr, &global, nullptr, 0));
    if (width <= global.screenwidth && height <= global.screenheight) return;
    const int sides[] = {std::max(width, global.screenwidth), std::max(height, global.screenheight)};
    std::fstream out(std::filesystem::path(file), std::ios::binary | std::ios::in | std::ios::out);
    out.seekp(6);
    for (const int side : sides) out.put(static_cast<char>(side)).put(static_cast<char>(side >> 8));
    if (!out.flush()) throw Failure{L"not all of it could be written"};
}

void saveFrame(const std::wstring& file, Picture& picture, const Place& place, UINT flags, int index) {
    const GifFrameFacts& facts = picture.gif;
    GifGlobalInfo global = {};
    global.screenwidth = std::max(facts.screenWidth, facts.left + static_cast<int>(picture.width()));
    global.screenheight = std::max(facts.screenHeight, facts.top + static_cast<int>(picture.height()));
    global.hasglobalpalette = place.index == 0;
    global.loopcount = loops.value_or(std::max(facts.loops, 0));
    GifFrameInfo frame = {};
    frame.left = facts.left;
    frame.top = facts.top;
    frame.haslocalpalette = place.index > 0;
    frame.delay = delay.value_or(facts.delay);
    frame.disposal = facts.disposal;
    frame.transcolor = index;
    check(savegifframeW(file.c_str(), picture.image(), &global, &frame, flags));
    if (place.index > 0) widenScreen(file, global.screenwidth, global.screenheight);
}

void save(const std::wstring& file, Picture& picture, const Place& place) {
    int index = transparent.value_or(picture.gif.transparent);
    if (index >= picture.image()->palcolors) {
        if (transparent)
            throw Failure{text(L"--transparent ", index, L": the palette has ", picture.image()->palcolors,
                               L" colours")};
        index = -1;
    }
    if (place.index == 0) setgifcomment(comment.empty() ? 87 : 89, comment.c_str());
    UINT flags = GIF_BITS(bitsNeeded(picture));
    if (interlaced) flags |= GIF_INTERLACE;
    if (place.several || delay || loops) return saveFrame(file, picture, place, flags, index);
    if (index >= 0) flags |= GIF_TRANSPARENT;
    check(savegifexW(file.c_str(), picture.image(), flags, index));
}

}  // namespace

extern const Format gifFormat = {
    .name = L"GIF",
    .extensions = extensions,
    .depths = depths,
    .holdsSeveral = true,
    .sniff = sniff,
    .info = info,
    .load = load,
    .save = save,
    .loadOptions = loadOptions,
    .saveOptions = saveOptions,
};

}  // namespace ornconvert
