// Dithering: to a fixed palette, or to black and white.
#include "depth.h"
#include "messages.h"
#include "options.h"
#include "picture.h"

namespace ornconvert {
namespace {

constexpr unsigned colourDepths[] = {24, 8};

void addDither(Job& job, const std::wstring& argument, int(ORNAPI* dither)(imgdes*, imgdes*, int)) {
    if (argument != L"8" && argument != L"cube") throw UsageError{argument + L" is neither 8 nor cube"};
    const int cube = argument == L"cube";
    job.operations.push_back([=](Picture& picture) {
        fitDepth(picture, colourDepths);
        Picture dithered = picture.blank(8);
        check(dither(picture.image(), dithered.image(), cube));
        picture = std::move(dithered);
    });
}

// The modes of convert8bitto1bit.
int monoMode(const std::wstring& argument) {
    if (argument == L"diffuse") return 0;
    if (argument == L"ordered") return 1;
    if (argument == L"threshold") return 2;
    throw UsageError{argument + L" is none of threshold, ordered, diffuse"};
}

void makeMono(Picture& picture, int mode) {
    if (picture.bits() == 1) return;
    if (picture.bits() == 24) {
        Picture grey = picture.blank(8);
        check(colortogray(picture.image(), grey.image()));
        picture = std::move(grey);
    }
    constexpr unsigned levels[] = {8};
    fitDepth(picture, levels);
    Picture mono = picture.blank(1);
    check(convert8bitto1bit(mode, picture.image(), mono.image()));
    picture = std::move(mono);
}

constexpr Option options[] = {
    {L"--dither", L"8|cube",
     L"the eight pure colours, or a cube of 6 x 6 x 6 colours, in an\n"
     L"ordered pattern",
     [](Job& job, const std::wstring& argument) { addDither(job, argument, colordither); }},
    {L"--scatter", L"8|cube", L"the same colours with errors diffused",
     [](Job& job, const std::wstring& argument) { addDither(job, argument, colorscatter); }},
    {L"--mono", L"MODE", L"black and white: threshold, ordered or diffuse",
     [](Job& job, const std::wstring& argument) {
         job.operations.push_back([mode = monoMode(argument)](Picture& picture) { makeMono(picture, mode); });
     }},
};

}  // namespace

extern const OptionGroup ditherGroup = {L"Dithers", options};

}  // namespace ornconvert
