// Operations on colours: grey, palettes, histograms.
#include <algorithm>
#include <iterator>

#include "console.h"
#include "depth.h"
#include "messages.h"
#include "options.h"
#include "picture.h"

namespace ornconvert {
namespace {

constexpr unsigned colourDepths[] = {24, 8};

int matchMode = 2;  // --match

// ---- Grey -----------------------------------------------------------------------------------------------

void makeGrey(Picture& picture) {
    fitDepth(picture, colourDepths);
    Picture grey = picture.blank(8);
    check(colortogray(picture.image(), grey.image()));
    picture = std::move(grey);
}

// ---- Fewer colours --------------------------------------------------------------------------------------

void setMatch(Job&, const std::wstring& argument) {
    constexpr const wchar_t* names[] = {L"octree", L"octree-diffuse", L"nearest", L"nearest-diffuse"};
    const auto name = std::ranges::find(names, argument);
    if (name == std::end(names))
        throw UsageError{argument + L" is none of octree, octree-diffuse, nearest, nearest-diffuse"};
    matchMode = static_cast<int>(name - names);
}

void addColours(Job& job, const std::wstring& argument) {
    const int colours = parseNumber(argument, 2, 256);
    job.operations.push_back([colours](Picture& picture) {
        Picture rgb = picture.bits() == 24 ? std::move(picture) : converted(picture, 24);
        picture = rgb.blank(8);
        check(convertrgbtopalex(colours, rgb.image(), picture.image(), matchMode));
    });
}

void addReduce(Job& job, const std::wstring& argument) {
    const int colours = parseNumber(argument, 2, 255);
    job.operations.push_back([colours](Picture& picture) {
        if (picture.bits() != 8) picture = converted(picture, 8);
        if (picture.image()->palcolors <= colours) return;
        Picture reduced = picture.blank(8);
        reduced.image()->palcolors = colours;
        check(reduceimagecolors(picture.image(), reduced.image(), matchMode));
        picture = std::move(reduced);
    });
}

// ---- Histogram ------------------------------------------------------------------------------------------

// Right-aligned in its column.
std::wstring column(const std::wstring& entry) {
    constexpr std::size_t width = 10;
    return std::wstring(width - std::min(width, entry.size()), L' ') + entry;
}

void printHistogram(Picture& picture) {
    if (picture.bits() != 8 && picture.bits() != 24) {
        Picture grey = converted(picture, 8);
        return printHistogram(grey);
    }
    long red[256], green[256], blue[256];
    const bool colours = picture.bits() == 24 || !isgrayscaleimage(picture.image());
    check(calchistorgb(picture.image(), red, green, blue, colours));
    std::wstring lines = column(L"level");
    lines += colours ? column(L"red") + column(L"green") + column(L"blue") : column(L"pixels");
    lines += L"\n";
    for (unsigned level = 0; level < 256; level++) {
        if (!red[level] && (!colours || (!green[level] && !blue[level]))) continue;
        lines += column(toText(level)) + column(toText(red[level]));
        if (colours) lines += column(toText(green[level])) + column(toText(blue[level]));
        lines += L"\n";
    }
    print(lines);
}

constexpr Option options[] = {
    {L"--gray", nullptr, L"turn colours into grey",
     [](Job& job, const std::wstring&) { job.operations.push_back(makeGrey); }},
    {L"--colors", L"N", L"a palette of 2 to 256 colours made for the picture", addColours},
    {L"--reduce", L"N", L"2 to 255 colours chosen from the picture's own palette", addReduce},
    {L"--match", L"MODE",
     L"how --colors and --reduce match pixels to their palette: nearest\n"
     L"(the default), octree (near, quicker to find), and with errors\n"
     L"diffused nearest-diffuse, octree-diffuse",
     setMatch},
    {L"--histogram", nullptr, L"print how often each level of red, green and blue, or grey, occurs",
     [](Job& job, const std::wstring&) { job.operations.push_back(printHistogram); }},
};

}  // namespace

extern const OptionGroup colourGroup = {L"Colours", options};

}  // namespace ornconvert
