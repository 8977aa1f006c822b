// Filters: each pixel made from those around it, in the picture itself.
#include "depth.h"
#include "messages.h"
#include "options.h"
#include "picture.h"

namespace ornconvert {
namespace {

constexpr unsigned levelsAndColours[] = {24, 8}, allDepths[] = {24, 8, 1};

using Filter = int(ORNAPI*)(int, imgdes*, imgdes*);

void addFilter(Job& job, Filter filter, int argument, std::span<const unsigned> depths) {
    job.operations.push_back([=](Picture& picture) {
        fitDepth(picture, depths);
        check(filter(argument, picture.image(), picture.image()));
    });
}

constexpr Option options[] = {
    {L"--median", L"N", L"the median of N x N pixels, 3 to 11",
     [](Job& job, const std::wstring& argument) {
         addFilter(job, medianfilter, parseNumber(argument, 3, 11), levelsAndColours);
     }},
    {L"--denoise", nullptr, L"single odd pixels go: the median of 3 x 3",
     [](Job& job, const std::wstring&) { addFilter(job, medianfilter, 3, levelsAndColours); }},
    {L"--dilate", L"N", L"dark parts grow; pixels amid others brighter than N stay, 0 to 255",
     [](Job& job, const std::wstring& argument) {
         addFilter(job, dilate, parseNumber(argument, 0, 255), allDepths);
     }},
    {L"--erode", L"N", L"dark parts shrink; pixels amid others darker than 255 - N stay",
     [](Job& job, const std::wstring& argument) {
         addFilter(job, erode, parseNumber(argument, 0, 255), allDepths);
     }},
    {L"--pixellize", L"N", L"blocks of N x N pixels, 2 to 63, become their mean colour",
     [](Job& job, const std::wstring& argument) {
         addFilter(job, pixellize, parseNumber(argument, 2, 63), levelsAndColours);
     }},
};

}  // namespace

extern const OptionGroup filterGroup = {L"Filters", options};

}  // namespace ornconvert
