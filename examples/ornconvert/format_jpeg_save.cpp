// Saving JPEG files.
#include "format_jpeg.h"
#include "messages.h"
#include "resolution.h"

namespace ornconvert {
namespace {

constexpr long usualQuality = 75, usualThumbnail = 64;

long quality = usualQuality;
bool progressive, optimised;
long thumbnailSize;            // 0: none is stored
std::vector<long> resolution;  // X, Y and maybe UNITS; empty: the picture's own

void setQuality(Job&, const std::wstring& argument) {
    quality = parseNumber(argument, 1, 100);
}

void setThumbnail(Job&, const std::wstring& argument) {
    thumbnailSize = argument.empty() ? usualThumbnail : parseNumber(argument, 1, 255);
}

void setResolution(Job&, const std::wstring& numbers) {
    const std::vector<long> values = parseNumbers(numbers, 2, 3, L"X,Y or X,Y,UNITS");
    for (int i : {0, 1})
        if (values[i] < 1 || values[i] > 65535) throw UsageError{L"X and Y are 1 to 65535"};
    if (values.size() == 3 && (values[2] < 0 || values[2] > 2))
        throw UsageError{L"UNITS is 0 (none), 1 (inch) or 2 (cm)"};
    resolution = values;
}

void applyResolution(const BITMAPINFOHEADER& header) {
    if (!resolution.empty()) {
        jpegsetxyresolution(resolution[0], resolution[1], resolution.size() == 3 ? resolution[2] : 1);
        return;
    }
    if (header.biXPelsPerMeter <= 0 || header.biYPelsPerMeter <= 0) return;
    const long long x = perInch(header.biXPelsPerMeter), y = perInch(header.biYPelsPerMeter);
    if (x > 0 && y > 0 && x < 65536 && y < 65536)
        jpegsetxyresolution(static_cast<UINT>(x), static_cast<UINT>(y), 1);
}

UINT saveOptionBits() {
    const UINT coding = progressive ? JPEG_PROGRESSIVE : optimised ? JPEG_OPTIMIZED : 0;
    return coding | (thumbnailSize ? JPEG_THUMBNAIL : 0);
}

}  // namespace

void saveJpeg(const std::wstring& file, Picture& picture, const Place&) {
    applyResolution(picture.header());
    if (thumbnailSize) check(jpegsetthumbnailsize(thumbnailSize));
    check(savejpgexW(file.c_str(), picture.image(), quality, saveOptionBits()));
}

extern const Option jpegSaveOptions[jpegSaveOptionCount] = {
    {L"--quality", L"N", L"1 (small file) to 100 (fine picture); 75 if not given", setQuality},
    {L"--progressive", nullptr, L"the picture appears in several scans, from rough to fine",
     [](Job&, const std::wstring&) { progressive = true; }},
    {L"--optimize", nullptr, L"a smaller file with the same picture; progressive ones are so in any case",
     [](Job&, const std::wstring&) { optimised = true; }},
    {L"--thumbnail", L"[SIZE]",
     L"store a small picture too, SIZE pixels along its longer side (64; 1 to 255)", setThumbnail},
    {L"--resolution", L"X,Y", L"dots per inch; X,Y,2 per centimetre; X,Y,0 gives the shape of a pixel only",
     setResolution},
};

}  // namespace ornconvert
