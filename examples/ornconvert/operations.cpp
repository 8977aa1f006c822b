// The table of operations; and the one that needs nothing but the image record.
#include "operations.h"

#include "messages.h"
#include "picture.h"

namespace ornconvert {
namespace {

void addCrop(Job& job, const std::wstring& argument) {
    const std::vector<long> edges = parseNumbers(argument, 4, 4, L"LEFT,TOP,RIGHT,BOTTOM");
    job.operations.push_back(
        [edges](Picture& picture) { picture.crop(edges[0], edges[1], edges[2], edges[3]); });
}

constexpr Option areaOptions[] = {
    {L"--area", L"L,T,R,B",
     L"go on with this part only: left, top, right and bottom pixel,\n"
     L"all inside, counted from 0 at the top left",
     addCrop},
};

}  // namespace

constexpr OptionGroup areaGroup = {L"Changes of the picture", areaOptions};

extern const OptionGroup colourGroup;
extern const OptionGroup ditherGroup;
extern const OptionGroup filterGroup;

// One line per file of operations.
constexpr const OptionGroup* allGroups[] = {
    &areaGroup,
    &colourGroup,
    &ditherGroup,
    &filterGroup,
};

std::span<const OptionGroup* const> operationGroups() {
    return allGroups;
}

}  // namespace ornconvert
