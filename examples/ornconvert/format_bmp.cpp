// BMP: Windows and OS/2 bitmaps.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "console.h"
#include "files.h"
#include "formats.h"
#include "messages.h"
#include "resolution.h"

namespace ornconvert {
namespace {

bool runLengths;  // --rle

constexpr const wchar_t* extensions[] = {L"bmp", L"dib", L"rle"};
constexpr unsigned depths[] = {24, 8, 1};

bool sniff(FileStart start) {
    return start.size() >= 2 && start[0] == 'B' && start[1] == 'M';
}

BITMAPINFOHEADER headerOf(const std::wstring& file) {
    BITMAPINFOHEADER header;
    check(bmpinfoW(file.c_str(), &header));
    return header;
}

// ---- Info -----------------------------------------------------------------------------------------------

std::wstring compressionInWords(DWORD compression) {
    switch (compression) {
        case BI_RGB:
            return L"none";
        case BI_RLE8:
            return L"run lengths, 8 bits";
        case BI_RLE4:
            return L"run lengths, 4 bits";
        case BI_BITFIELDS:
            return L"none, channels by masks";
        default:
            return text(L"of kind ", compression, L", which cannot be read");
    }
}

void info(const std::wstring& file, InfoList& list) {
    const BITMAPINFOHEADER header = headerOf(file);
    list.add(L"size", text(header.biWidth, L" x ", header.biHeight, L" pixels"));
    list.add(L"bits per pixel", toText(header.biBitCount));
    list.add(L"compression", compressionInWords(header.biCompression));
    list.add(L"pixel data", text(header.biSizeImage, L" bytes"));
    if (header.biXPelsPerMeter || header.biYPelsPerMeter)
        list.add(L"resolution", resolutionInWords(header.biXPelsPerMeter, header.biYPelsPerMeter));
    RGBQUAD palette[256];
    if (const int colours = check(loadbmppaletteW(file.c_str(), palette)))
        list.add(L"palette", text(colours, L" colours, ", header.biClrImportant, L" important"));
}

// ---- Load -----------------------------------------------------------------------------------------------

constexpr WORD fileBits[] = {1, 4, 8, 16, 24, 32};

// The bits per pixel of the image that a file is loaded into.
unsigned imageBits(unsigned bits) {
    return bits == 16 || bits == 32 ? 24 : bits;
}

// The library loads what is there of a file that ends early, and says no word. Where the pixels begin stands
// at offset 10 of the file; how long run lengths should be cannot be known.
void warnIfCut(const std::wstring& file, const BITMAPINFOHEADER& header) {
    if (header.biCompression != BI_RGB && header.biCompression != BI_BITFIELDS) return;
    const std::vector<unsigned char> start = readStart(file);
    DWORD pixelsAt;
    std::memcpy(&pixelsAt, &start[10], sizeof pixelsAt);
    const auto rowBits = static_cast<unsigned long long>(header.biWidth) * header.biBitCount;
    const auto lastRow = (rowBits + 7) / 8;
    const auto pixels =
        (rowBits + 31) / 32 * 4 * static_cast<unsigned long long>(header.biHeight - 1) + lastRow;
    if (fileSize(file) < pixelsAt + pixels)
        warn(file, L"the file ends early; the rows that are missing are black");
}

std::vector<Picture> load(const std::wstring& file) {
    const BITMAPINFOHEADER header = headerOf(file);
    if (std::ranges::find(fileBits, header.biBitCount) == std::end(fileBits))
        throw Failure{text(L"a bitmap of ", header.biBitCount, L" bits per pixel cannot be read")};
    Picture picture(header.biWidth, header.biHeight, imageBits(header.biBitCount));
    check(loadbmpW(file.c_str(), picture.image()));
    picture.header().biXPelsPerMeter = header.biXPelsPerMeter;
    picture.header().biYPelsPerMeter = header.biYPelsPerMeter;
    warnIfCut(file, header);
    std::vector<Picture> pictures;
    pictures.push_back(std::move(picture));
    return pictures;
}

// ---- Save -----------------------------------------------------------------------------------------------

void save(const std::wstring& file, Picture& picture, const Place&) {
    if (runLengths && picture.bits() != 8)
        throw Failure{text(L"--rle is for pictures of 8 bits per pixel, and this one has ", picture.bits())};
    check(savebmpW(file.c_str(), picture.image(), runLengths));
}

constexpr Option saveOptions[] = {
    {L"--rle", nullptr, L"compress with run lengths (pictures of 8 bits per pixel)",
     [](Job&, const std::wstring&) { runLengths = true; }},
};

}  // namespace

extern const Format bmpFormat = {
    .name = L"BMP",
    .extensions = extensions,
    .depths = depths,
    .holdsSeveral = false,
    .sniff = sniff,
    .info = info,
    .load = load,
    .save = save,
    .saveOptions = saveOptions,
};

}  // namespace ornconvert
