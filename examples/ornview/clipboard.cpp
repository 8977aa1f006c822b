// A DIB on the clipboard is a block of global memory: header, palette, rows.
#include "clipboard.h"

#include <cstring>
#include <vector>

#include "ornconvert/messages.h"

namespace ornview {

using namespace ornconvert;

namespace {

class OpenClipboard {
 public:
    explicit OpenClipboard(HWND owner) {
        if (!::OpenClipboard(owner)) throw Failure{L"another program is using the clipboard"};
    }
    ~OpenClipboard() { CloseClipboard(); }
    OpenClipboard(const OpenClipboard&) = delete;
    OpenClipboard& operator=(const OpenClipboard&) = delete;
};

// The library loads bitmap files from memory: in front of a DIB stands what a file begins with.
std::vector<unsigned char> asBitmapFile(const void* dib, std::size_t size) {
    std::vector<unsigned char> file(sizeof(BITMAPFILEHEADER) + size);
    std::memcpy(file.data() + sizeof(BITMAPFILEHEADER), dib, size);
    BITMAPINFOHEADER header;
    std::memcpy(&header, dib, sizeof header);
    const bool masks = header.biCompression == BI_BITFIELDS && header.biSize == sizeof header;
    const unsigned long long colours = header.biClrUsed         ? header.biClrUsed
                                       : header.biBitCount <= 8 ? 1u << header.biBitCount
                                                                : 0;
    const unsigned long long pixelsAt =
        sizeof(BITMAPFILEHEADER) + header.biSize + (masks ? 12u : 0u) + colours * sizeof(RGBQUAD);
    if (pixelsAt >= file.size()) throw Failure{L"the clipboard's picture is damaged"};
    BITMAPFILEHEADER start = {};
    start.bfType = 0x4D42;
    start.bfSize = static_cast<DWORD>(file.size());
    start.bfOffBits = static_cast<DWORD>(pixelsAt);
    std::memcpy(file.data(), &start, sizeof start);
    return file;
}

// A file in memory ends without notice to the library, which would read on: rows must all be there.
void checkLength(const std::vector<unsigned char>& file, const BITMAPINFOHEADER& header) {
    BITMAPFILEHEADER start;
    std::memcpy(&start, file.data(), sizeof start);
    if (header.biCompression != BI_RGB && header.biCompression != BI_BITFIELDS)
        throw Failure{L"the clipboard's picture is compressed"};
    const unsigned long long rowBits = static_cast<unsigned long long>(header.biWidth) * header.biBitCount;
    const unsigned long long pixels =
        (rowBits + 31) / 32 * 4 * static_cast<unsigned long long>(header.biHeight);
    if (file.size() - start.bfOffBits < pixels) throw Failure{L"the clipboard's picture is damaged"};
}

Picture pictureOf(const void* dib, std::size_t size) {
    DWORD headerSize = 0;
    if (size >= sizeof(BITMAPINFOHEADER)) std::memcpy(&headerSize, dib, sizeof headerSize);
    if (headerSize < sizeof(BITMAPINFOHEADER) || headerSize > size)
        throw Failure{L"the clipboard's picture is damaged"};
    const std::vector<unsigned char> file = asBitmapFile(dib, size);
    BITMAPINFOHEADER header;
    check(bmpinfofrombuffer(file.data(), &header));
    const unsigned bits = header.biBitCount == 16 || header.biBitCount == 32 ? 24 : header.biBitCount;
    Picture picture(header.biWidth, header.biHeight, bits);
    checkLength(file, header);
    check(loadbmpfrombuffer(file.data(), picture.image()));
    return picture;
}

}  // namespace

void copyToClipboard(HWND owner, const Picture& picture) {
    const imgdes& image = *picture.image();
    const DWORD colours = picture.bits() <= 8 ? static_cast<DWORD>(image.palcolors) : 0;
    const std::size_t palette = colours * sizeof(RGBQUAD);
    const std::size_t rows = std::size_t{image.rowbytes} * static_cast<UINT>(image.header->biHeight);
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, sizeof(BITMAPINFOHEADER) + palette + rows);
    if (!block) throw Failure{L"there is not enough memory"};
    auto* to = static_cast<unsigned char*>(GlobalLock(block));
    BITMAPINFOHEADER header = *image.header;
    header.biClrUsed = header.biClrImportant = colours;
    std::memcpy(to, &header, sizeof header);
    std::memcpy(to + sizeof header, image.palette, palette);
    std::memcpy(to + sizeof header + palette, image.bits, rows);
    GlobalUnlock(block);

    const OpenClipboard clipboard(owner);
    EmptyClipboard();
    if (SetClipboardData(CF_DIB, block)) return;  // the block is the clipboard's now
    GlobalFree(block);
    throw Failure{L"the clipboard does not take the picture"};
}

Picture pasteFromClipboard(HWND owner) {
    const OpenClipboard clipboard(owner);
    const HGLOBAL block = GetClipboardData(CF_DIB);
    if (!block) throw Failure{L"there is no picture on the clipboard"};
    struct Lock {
        HGLOBAL block;
        const void* dib = GlobalLock(block);
        ~Lock() { GlobalUnlock(block); }
    } const lock{block};
    return pictureOf(lock.dib, GlobalSize(block));
}

}  // namespace ornview
