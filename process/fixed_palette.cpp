#include "process/fixed_palette.h"

#include "core/palette.h"
#include "core/range_check.h"

namespace orn32 {
namespace {

constexpr unsigned pureColours = 16, cubeColours = 256;

// The system's default palette; the colours of its two halves frame the cube.
constexpr unsigned systemHalf = 10;
constexpr std::uint8_t systemColours[2 * systemHalf][3] = {  // red, green, blue
    {0, 0, 0},       {128, 0, 0},     {0, 128, 0},     {128, 128, 0},   {0, 0, 128},
    {128, 0, 128},   {0, 128, 128},   {192, 192, 192}, {192, 220, 192}, {166, 202, 240},
    {255, 251, 240}, {160, 160, 164}, {128, 128, 128}, {255, 0, 0},     {0, 255, 0},
    {255, 255, 0},   {0, 0, 255},     {255, 0, 255},   {0, 255, 255},   {255, 255, 255}};

// Stores colours one after the other; the reserved bytes stay.
class PaletteWriter {
 public:
    explicit PaletteWriter(RGBQUAD* first) : next_(first) {}
    void add(unsigned red, unsigned green, unsigned blue) {
        next_->rgbRed = static_cast<BYTE>(red);
        next_->rgbGreen = static_cast<BYTE>(green);
        next_->rgbBlue = static_cast<BYTE>(blue);
        next_++;
    }
    void addSystemColours(unsigned first) {
        for (unsigned i = first; i < first + systemHalf; i++)
            add(systemColours[i][0], systemColours[i][1], systemColours[i][2]);
    }

 private:
    RGBQUAD* next_;
};

void writeCubePalette(imgdes& image) {
    PaletteWriter palette(image.palette);
    palette.addSystemColours(0);
    for (unsigned number = 216; number-- > 0;)
        palette.add(number / 36 * cubeStep, number / 6 % 6 * cubeStep, number % 6 * cubeStep);
    for (unsigned grey = 16; grey <= 244; grey += 12) palette.add(grey, grey, grey);
    palette.addSystemColours(systemHalf);
    image.palcolors = cubeColours;
}

}  // namespace

int checkForFixedPalette(imgdes* source, imgdes* destination, bool cube) {
    if (const int code = checkRange(source, bits8and24)) return code;
    if (const int code = checkRange(destination, bits8and24)) return code;
    if (destination->header->biBitCount != 8) return ERR_BITS;
    if (paletteRoom(*destination) < (cube ? cubeColours : pureColours)) return ERR_RANGE;
    if (source->header->biBitCount == 8 && !source->palette) return ERR_RANGE;
    return 0;
}

void giveFixedPalette(imgdes& destination, bool cube) {
    if (cube)
        writeCubePalette(destination);
    else
        defaultpalette(&destination);
    destination.imgkind &= ~greyMark;
    if (destination.hbitmap) updatebitmapcolortable(&destination);
}

}  // namespace orn32
