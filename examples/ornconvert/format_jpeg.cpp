// JPEG files: describing and loading them.
#include <algorithm>
#include <cwchar>

#include "console.h"
#include "format_jpeg.h"
#include "messages.h"
#include "resolution.h"

namespace ornconvert {
namespace {

constexpr const wchar_t* extensions[] = {L"jpg", L"jpeg", L"jpe", L"jfif"};
constexpr unsigned depths[] = {24, 8};

bool sniff(FileStart start) {
    return start.size() >= 3 && start[0] == 0xFF && start[1] == 0xD8 && start[2] == 0xFF;
}

// ---- What went wrong ------------------------------------------------------------------------------------

constexpr int endOfData = -101;

const wchar_t* detailInWords(int detail) {
    switch (detail) {
        case -100:
            return L"the precision is not 8 bits";
        case endOfData:
            return L"the file ends early";
        case -104:
            return L"reading failed";
        case -105:
            return L"a Huffman code or table is damaged";
        case -106:
            return L"there are too many components, or one without its tables";
        case -107:
            return L"there are more than 10 blocks in an MCU";
        case -109:
            return L"there are not 1, 3 or 4 components";
        case -110:
            return L"the kind of coding is not supported";
        case -113:
            return L"the parameters of a scan make no sense";
        default:
            return nullptr;
    }
}

std::wstring failureInWords(int code) {
    const bool detailed = code == ERR_BAD_JPEG || code == ERR_TRUNCATED;
    const wchar_t* detail = detailed ? detailInWords(jpeggeterror()) : nullptr;
    return detail ? text(resultInWords(code), L": ", detail) : resultInWords(code);
}

int checkJpeg(int code) {
    if (code < 0) throw Failure{failureInWords(code)};
    return code;
}

JpegInfoEx infoOf(const std::wstring& file) {
    JpegInfoEx info;
    checkJpeg(jpeginfoexW(file.c_str(), &info));
    if (info.ftype < 0) throw Failure{L"the file describes no picture"};
    return info;
}

// ---- Info -----------------------------------------------------------------------------------------------

std::wstring codingInWords(int type) {
    const wchar_t* const kinds[] = {L"baseline", L"extended sequential", L"progressive", L"lossless"};
    return text(kinds[type & 3], type >= 8 ? L", arithmetic, which cannot be read" : L"",
                type == 3 ? L", which cannot be read" : L"");
}

const wchar_t* componentsInWords(UINT components) {
    switch (components) {
        case 1:
            return L"1 (grey)";
        case 3:
            return L"3 (colour)";
        case 4:
            return L"4 (CMYK or the like)";
        default:
            return L"of a number that cannot be read";
    }
}

std::wstring samplingInWords(const JpegInfoEx& info) {
    std::wstring list;
    for (UINT i = 0; i < std::min(info.comps, 4u); i++)
        list += text(i ? L", " : L"", info.sampfac[i] >> 4, L"x", info.sampfac[i] & 15);
    return list;
}

const wchar_t* thumbnailKindInWords(unsigned kind) {
    switch (kind) {
        case 0x10:
            return L"JPEG-coded";
        case 0x11:
            return L"palette";
        default:
            return L"RGB";
    }
}

void info(const std::wstring& file, InfoList& list) {
    const JpegInfoEx info = infoOf(file);
    list.add(L"size", text(info.width, L" x ", info.height, L" pixels"));
    list.add(L"bits per pixel", toText(info.vbitcount));
    list.add(L"coding", codingInWords(info.ftype));
    list.add(L"bits per sample", toText(info.precision));
    list.add(L"components", componentsInWords(info.comps));
    list.add(L"sampling factors", samplingInWords(info));
    if (info.xdensity || info.ydensity)
        list.add(L"resolution", text(info.xdensity, info.densunits ? L" x " : L" to ", info.ydensity,
                                     info.densunits ? L" per inch" : L""));
    if (info.thumbnail || info.thumbtype)
        list.add(L"thumbnail", text(unsigned{info.thumbwidth}, L" x ", unsigned{info.thumbheight},
                                    L" pixels, ", thumbnailKindInWords(info.thumbtype)));
}

// ---- Load -----------------------------------------------------------------------------------------------

struct Size {
    UINT width, height;
};

Size thumbnailArea;  // --load-thumbnail; 0 x 0 for the whole picture

// What is there of a damaged file is worth having.
void checkLoaded(const std::wstring& file, int code) {
    if (code == ERR_TRUNCATED || (code == 0 && jpeggeterror() == endOfData))
        warn(file, text(resultInWords(ERR_TRUNCATED), L"; the picture is shown as far as it goes"));
    else
        checkJpeg(code);
}

Picture loadWhole(const std::wstring& file, const JpegInfoEx& info) {
    Picture picture(static_cast<long>(info.width), static_cast<long>(info.height), info.vbitcount);
    checkLoaded(file, loadjpgW(file.c_str(), picture.image()));
    return picture;
}

// What a picture becomes in the area that was asked for: its own shape, and no larger than it is.
Size fitted(Size shape, Size most) {
    const auto scaled = [](UINT length, UINT numerator, UINT denominator) {
        return static_cast<UINT>(static_cast<unsigned long long>(length) * numerator / denominator);
    };
    const UINT width = scaled(most.height, shape.width, shape.height);
    if (width < most.width) return {width, most.height};
    return {most.width, scaled(most.width, shape.height, shape.width)};
}

Picture loadThumbnail(const std::wstring& file, const JpegInfoEx& info) {
    if (!info.width || !info.height) throw Failure{resultInWords(ERR_RANGE)};
    const bool stored = info.thumbnail && info.thumbwidth && info.thumbheight;
    const Size shape = stored ? Size{info.thumbwidth, info.thumbheight} : Size{info.width, info.height};
    const Size most = {std::min(thumbnailArea.width, info.width),
                       std::min(thumbnailArea.height, info.height)};
    const Size size = fitted(shape, stored ? most : thumbnailArea);
    const Size shown = {std::min(size.width, info.width), std::min(size.height, info.height)};
    if (!shown.width || !shown.height) throw Failure{L"nothing would be left of the picture"};
    Picture picture(static_cast<long>(thumbnailArea.width), static_cast<long>(thumbnailArea.height),
                    stored ? info.thumbbits : info.vbitcount);
    checkLoaded(file, loadjpgthumbnailW(file.c_str(), picture.image(), 0));
    picture.crop(0, 0, static_cast<long>(shown.width) - 1, static_cast<long>(shown.height) - 1);
    return picture;
}

void setResolution(Picture& picture, const JpegInfoEx& info) {
    constexpr UINT inch = 1;
    if (info.densunits != inch) return;
    picture.header().biXPelsPerMeter = static_cast<LONG>(perMetre(info.xdensity));
    picture.header().biYPelsPerMeter = static_cast<LONG>(perMetre(info.ydensity));
}

std::vector<Picture> load(const std::wstring& file) {
    const JpegInfoEx info = infoOf(file);
    Picture picture = thumbnailArea.width ? loadThumbnail(file, info) : loadWhole(file, info);
    if (!thumbnailArea.width) setResolution(picture, info);
    std::vector<Picture> pictures;
    pictures.push_back(std::move(picture));
    return pictures;
}

void setThumbnailArea(Job&, const std::wstring& argument) {
    unsigned width = 0, height = 0;
    int end = 0;
    const bool read = std::swscanf(argument.c_str(), L"%ux%u%n", &width, &height, &end) == 2;
    if (!read || static_cast<std::size_t>(end) != argument.size() || !width || !height || width > 32767 ||
        height > 32767)
        throw UsageError{text(L"'", argument, L"' is not of the form WxH, in pixels up to 32767")};
    thumbnailArea = {width, height};
}

constexpr Option loadOptions[] = {
    {L"--load-thumbnail", L"WxH",
     L"load a small picture that fits into W x H pixels: the file's thumbnail\nor, where it has none, the "
     L"picture reduced",
     setThumbnailArea},
};

}  // namespace

extern const Format jpegFormat = {
    .name = L"JPEG",
    .extensions = extensions,
    .depths = depths,
    .holdsSeveral = false,
    .sniff = sniff,
    .info = info,
    .load = load,
    .save = saveJpeg,
    .loadOptions = loadOptions,
    .saveOptions = jpegSaveOptions,
};

}  // namespace ornconvert
