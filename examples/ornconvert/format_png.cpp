// PNG files.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "formats.h"
#include "messages.h"
#include "resolution.h"

namespace ornconvert {
namespace {

constexpr const wchar_t* extensions[] = {L"png"};
constexpr unsigned depths[] = {24, 8, 1};

bool sniff(FileStart start) {
    return start.size() >= 4 && std::memcmp(start.data(), "\x89PNG", 4) == 0;
}

// ---- What went wrong ------------------------------------------------------------------------------------

const wchar_t* detailInWords(int detail) {
    switch (detail) {
        case -100:
            return L"a chunk that must be understood is of an unknown kind";
        case -102:
            return L"the header has the wrong length";
        case -103:
            return L"there is no such bit depth";
        case -104:
            return L"there is no such colour type";
        case -105:
            return L"the colour type does not go with the bit depth";
        case -106:
            return L"the interlace method is unknown";
        case -107:
            return L"the compression method is unknown";
        case -108:
            return L"the filter method is unknown";
        case -109:
            return L"width or height is 0";
        case -110:
            return L"it does not begin as a PNG file does";
        case -111:
            return L"a checksum is wrong";
        case -112:
            return L"there is too little or too much pixel data";
        case -113:
            return L"the file ends early";
        case -114:
            return L"decompressing could not begin";
        case -115:
            return L"the pixel data is damaged";
        default:
            return L"for an unknown reason";
    }
}

int checkPng(int code) {
    if (code == ERR_PNG) throw Failure{text(resultInWords(code), L": ", detailInWords(pnggeterror()))};
    return check(code);
}

PngInfo infoOf(const std::wstring& file) {
    PngInfo info;
    checkPng(pnginfoW(file.c_str(), &info));
    if (info.dibbits == 0) throw Failure{L"the file has no header"};
    return info;
}

// ---- Info -----------------------------------------------------------------------------------------------

std::vector<std::wstring> commentKeywords;  // --png-comment

constexpr UINT metre = 1;

UINT unitOf(const PngInfo& info) {
    return info.resunit & 0xFF;
}

const wchar_t* kindInWords(UINT colourType) {
    switch (colourType) {
        case 0:
            return L"grey";
        case 2:
            return L"RGB";
        case 3:
            return L"palette";
        case 4:
            return L"grey and alpha";
        default:
            return L"RGB and alpha";
    }
}

std::wstring numberInWords(UINT hundredThousandths) {
    std::wstring fraction = std::to_wstring(100000 + hundredThousandths % 100000).substr(1);
    while (fraction.size() > 1 && fraction.back() == L'0') fraction.pop_back();
    return text(hundredThousandths / 100000, L".", fraction);
}

// A colour as the file names it: an index, a grey level, or red, green and blue.
std::wstring colourInWords(const PngInfo& info, const WORD (&samples)[4]) {
    if (info.colortype == 3) return text(L"palette entry ", samples[0]);
    if (info.colortype == 0 || info.colortype == 4) return text(L"grey ", samples[0]);
    return text(L"red ", samples[0], L", green ", samples[1], L", blue ", samples[2]);
}

std::wstring significantBits(const PngInfo& info) {
    std::wstring list;
    for (const BYTE bits : info.sbit)
        if (bits) list += (list.empty() ? L"" : L", ") + std::to_wstring(bits);
    return list;
}

// The file's bytes are Latin-1.
std::wstring commentUnder(const std::wstring& file, const std::string& keyword) {
    const int room = checkPng(getpngcommentW(file.c_str(), keyword.c_str(), nullptr, 0));
    if (room == 0) return L"(none)";
    std::string comment(static_cast<std::size_t>(room), '\0');
    checkPng(getpngcommentW(file.c_str(), keyword.c_str(), comment.data(), room));
    std::wstring words;
    for (const char c : comment.substr(0, comment.find('\0'))) words += static_cast<unsigned char>(c);
    return words.empty() ? L"(empty)" : words;
}

// Keywords are Latin-1; letters beyond that are in no file.
std::string latin1(const std::wstring& words) {
    std::string letters;
    for (const wchar_t c : words) letters += c < 256 ? static_cast<char>(c) : '?';
    return letters;
}

void info(const std::wstring& file, InfoList& list) {
    const PngInfo info = infoOf(file);
    list.add(L"size", text(info.width, L" x ", info.height, L" pixels"));
    list.add(L"kind", text(kindInWords(info.colortype), L", ", info.bitdepth, L" bits per sample"));
    list.add(L"loaded with", text(info.dibbits, L" bits per pixel"));
    list.add(L"interlaced", info.interlaced ? L"yes" : L"no");
    RGBQUAD palette[256];
    if (const int colours = checkPng(loadpngpaletteW(file.c_str(), palette)))
        list.add(L"palette", text(colours, L" colours"));
    if (unitOf(info) == metre && (info.xres || info.yres))
        list.add(L"resolution", resolutionInWords(info.xres, info.yres));
    else if (info.xres || info.yres)
        list.add(L"pixel shape", text(info.xres, L" to ", info.yres));
    if (info.hastrns) list.add(L"transparent", colourInWords(info, info.trns));
    if (info.hasbkgd) list.add(L"background", colourInWords(info, info.bkgd));
    if (info.gamma) list.add(L"gamma", numberInWords(info.gamma));
    if (const std::wstring bits = significantBits(info); !bits.empty()) list.add(L"significant bits", bits);
    if (info.xoffset || info.yoffset)
        list.add(L"offset", text(info.xoffset, L", ", info.yoffset,
                                 info.offsetunit == 1 ? L" micrometres" : L" pixels"));
    for (const std::wstring& keyword : commentKeywords)
        list.add(keyword, commentUnder(file, latin1(keyword)));
}

constexpr Option loadOptions[] = {
    {L"--png-comment", L"KEYWORD", L"with --info: the comment under KEYWORD, such as Title or Author",
     [](Job&, const std::wstring& keyword) {
         if (std::ranges::find(commentKeywords, keyword) == commentKeywords.end())
             commentKeywords.push_back(keyword);
     }},
};

// ---- Load -----------------------------------------------------------------------------------------------

std::vector<Picture> load(const std::wstring& file) {
    const PngInfo info = infoOf(file);
    Picture picture(static_cast<long>(info.width), static_cast<long>(info.height), info.dibbits);
    checkPng(loadpngW(file.c_str(), picture.image()));
    if (unitOf(info) == metre) {
        picture.header().biXPelsPerMeter = static_cast<LONG>(info.xres);
        picture.header().biYPelsPerMeter = static_cast<LONG>(info.yres);
    }
    std::vector<Picture> pictures;
    pictures.push_back(std::move(picture));
    return pictures;
}

// ---- Save -----------------------------------------------------------------------------------------------

int interlace, filter;         // bits of savepng's options
std::vector<long> resolution;  // X, Y and maybe UNIT; empty: the picture's own

struct FilterName {
    const wchar_t* name;
    int options;
};
constexpr FilterName filters[] = {{L"adaptive", 0}, {L"none", 2},    {L"sub", 4},
                                  {L"up", 6},       {L"average", 8}, {L"paeth", 10}};

void setFilter(Job&, const std::wstring& name) {
    const auto found = std::ranges::find_if(filters, [&](const FilterName& f) { return name == f.name; });
    if (found == std::end(filters))
        throw UsageError{text(L"'", name, L"' is none of none, sub, up, average, paeth, adaptive")};
    filter = found->options;
}

void setResolution(Job&, const std::wstring& numbers) {
    const std::vector<long> values = parseNumbers(numbers, 2, 3, L"X,Y or X,Y,UNIT");
    if (values[0] < 1 || values[1] < 1) throw UsageError{L"X and Y are 1 or more"};
    if (values.size() == 3 && values[2] != 0 && values[2] != 1)
        throw UsageError{L"UNIT is 0 (none) or 1 (metre)"};
    resolution = values;
}

void save(const std::wstring& file, Picture& picture, const Place&) {
    const BITMAPINFOHEADER& header = picture.header();
    if (!resolution.empty())
        pngsetxyresolution(resolution[0], resolution[1], resolution.size() == 3 ? resolution[2] : 1);
    else if (header.biXPelsPerMeter > 0 && header.biYPelsPerMeter > 0)
        pngsetxyresolution(header.biXPelsPerMeter, header.biYPelsPerMeter, 1);
    checkPng(savepngW(file.c_str(), picture.image(), interlace | filter));
}

constexpr Option saveOptions[] = {
    {L"--interlace", nullptr, L"the picture appears in seven passes, each finer than the one before",
     [](Job&, const std::wstring&) { interlace = 1; }},
    {L"--filter", L"NAME",
     L"what is stored of each row: none, sub, up, average, paeth, or adaptive (the best in\n"
     L"each row, the default); grey and RGB pictures only",
     setFilter},
    {L"--resolution", L"X,Y",
     L"pixels per metre (11811 are 300 per inch); X,Y,0 gives the shape of a pixel only", setResolution},
};

}  // namespace

extern const Format pngFormat = {
    .name = L"PNG",
    .extensions = extensions,
    .depths = depths,
    .holdsSeveral = false,
    .sniff = sniff,
    .info = info,
    .load = load,
    .save = save,
    .loadOptions = loadOptions,
    .saveOptions = saveOptions,
};

}  // namespace ornconvert
