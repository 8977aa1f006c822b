// A picture in memory.
#include "picture.h"

#include "messages.h"

namespace ornconvert {
namespace {

imgdes allocated(long width, long height, unsigned bits) {
    const std::wstring size = text(L"a picture of ", width, L" x ", height, L" pixels: ");
    if (width < 1 || height < 1) throw Failure{size + L"no picture has such a size"};
    imgdes image;
    int code = allocimage(&image, static_cast<UINT>(width), static_cast<UINT>(height), bits);
    if (code == 0) code = checkrange16_(&image);
    if (code == 0) return image;
    freeimage(&image);
    throw Failure{size + resultInWords(code)};
}

// One direction of an area: "columns" or "rows" from first to last of the count that there are.
void checkSpan(const wchar_t* lines, long first, long last, UINT count) {
    if (first > last)
        throw Failure{text(L"the area's ", lines, L" ", first, L" to ", last, L" are in the wrong order")};
    if (first < 0 || last >= static_cast<long>(count))
        throw Failure{text(L"the area's ", lines, L" ", first, L" to ", last,
                           L" are not all in the picture, whose ", lines, L" are 0 to ", count - 1)};
}

}  // namespace

Picture::Picture(long width, long height, unsigned bits) : image_(allocated(width, height, bits)) {}

Picture Picture::blank(unsigned bits) const {
    Picture made(static_cast<long>(width()), static_cast<long>(height()), bits);
    made.header().biXPelsPerMeter = image_.header->biXPelsPerMeter;
    made.header().biYPelsPerMeter = image_.header->biYPelsPerMeter;
    return made;
}

void Picture::crop(long left, long top, long right, long bottom) {
    checkSpan(L"columns", left, right, width());
    checkSpan(L"rows", top, bottom, height());
    const UINT x = image_.left, y = image_.top;
    setimagearea(&image_, x + static_cast<UINT>(left), y + static_cast<UINT>(top),
                 x + static_cast<UINT>(right), y + static_cast<UINT>(bottom));
}

}  // namespace ornconvert
