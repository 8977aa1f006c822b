// Packed DIBs that other programs put on the clipboard, whole and damaged.
#include "ornview/clipboard.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ornconvert/messages.h"
#include "tests/viewer/running_viewer.h"

namespace {

using namespace test;

void putOnClipboard(const std::vector<unsigned char>& dib) {
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, dib.size());
    std::memcpy(GlobalLock(block), dib.data(), dib.size());
    GlobalUnlock(block);
    ASSERT_TRUE(OpenClipboard(nullptr));
    EmptyClipboard();
    ASSERT_TRUE(SetClipboardData(CF_DIB, block));
    CloseClipboard();
}

// "2 x 1, 24 bits: 112233 445566", or why there is none.
std::string pasted() {
    try {
        const ornconvert::Picture picture = ornview::pasteFromClipboard(nullptr);
        std::string text = std::to_string(picture.width()) + " x " + std::to_string(picture.height()) + ", " +
                           std::to_string(picture.bits()) + " bits:";
        for (int y = 0; y < static_cast<int>(picture.height()); y++)
            for (int x = 0; x < static_cast<int>(picture.width()); x++) {
                char hex[10];
                std::snprintf(hex, sizeof hex, " %06X",
                              static_cast<unsigned>(colourOf(*picture.image(), x, y)));
                text += hex;
            }
        return text;
    } catch (const ornconvert::Failure& failure) {
        return narrow(failure.words);
    }
}

struct Dib {
    std::vector<unsigned char> bytes;

    Dib(DWORD headerSize, LONG width, LONG height, WORD bits, DWORD compression = BI_RGB, DWORD colours = 0)
        : bytes(headerSize) {
        BITMAPINFOHEADER header = {};
        header.biSize = headerSize;
        header.biWidth = width;
        header.biHeight = height;
        header.biPlanes = 1;
        header.biBitCount = bits;
        header.biCompression = compression;
        header.biClrUsed = colours;
        std::memcpy(bytes.data(), &header, sizeof header);
    }
    Dib& dwords(std::initializer_list<DWORD> words) {
        for (const DWORD word : words)
            for (int i = 0; i < 4; i++) bytes.push_back(static_cast<unsigned char>(word >> 8 * i));
        return *this;
    }
    Dib& masks(DWORD red, DWORD green, DWORD blue) {  // of a header that has room for them
        const DWORD all[] = {red, green, blue};
        std::memcpy(&bytes[sizeof(BITMAPINFOHEADER)], all, sizeof all);
        return *this;
    }
};

TEST(Clipboard, PastesWhatOtherProgramsCopy) {
    constexpr DWORD red5 = 0xF800, green6 = 0x07E0, blue5 = 0x001F;
    const struct {
        Dib dib;
        const char* want;
    } cases[] = {
        {Dib(40, 2, 1, 24).dwords({0x66112233, 0x4455}), "2 x 1, 24 bits: 112233 445566"},
        {Dib(40, 2, 1, 32).dwords({0x00112233, 0xFF445566}), "2 x 1, 24 bits: 112233 445566"},
        {Dib(40, 1, -2, 32).dwords({0x112233, 0x445566}), "1 x 2, 24 bits: 112233 445566"},
        {Dib(40, 2, 1, 16, BI_BITFIELDS).dwords({red5, green6, blue5, 0x001FF800}),
         "2 x 1, 24 bits: FF0000 0000FF"},
        {Dib(124, 2, 1, 32, BI_BITFIELDS).masks(0xFF0000, 0xFF00, 0xFF).dwords({0x112233, 0x445566}),
         "2 x 1, 24 bits: 112233 445566"},
        {Dib(40, 2, 1, 8, BI_RGB, 2).dwords({0x112233, 0x445566, 0x0001}), "2 x 1, 8 bits: 445566 112233"},
        {Dib(40, 3, 1, 1).dwords({0x112233, 0x445566, 0xA0}), "3 x 1, 1 bits: 445566 112233 445566"},
        // Damaged ones.
        {Dib(40, 2, 1, 24).dwords({0x66112233}), "the clipboard's picture is damaged"},
        {Dib(40, 2, 1, 24), "the clipboard's picture is damaged"},
        {Dib(40, 60000, 60000, 24).dwords({0, 0}), "*"},
        {Dib(40, 2, 1, 8, BI_RGB, 0xFFFFFFFF).dwords({0, 0, 0}), "the clipboard's picture is damaged"},
        {Dib(40, 2, 1, 8, BI_RLE8, 2).dwords({0, 0, 0}), "the clipboard's picture is compressed"},
    };
    for (const auto& c : cases) {
        putOnClipboard(c.dib.bytes);
        const std::string have = pasted();
        if (std::string(c.want) == "*")
            EXPECT_EQ(have.find("bits:"), std::string::npos) << have;
        else
            EXPECT_EQ(have, c.want);
    }
    putOnClipboard({1, 2, 3, 4});
    EXPECT_EQ(pasted(), "the clipboard's picture is damaged");
    ASSERT_TRUE(OpenClipboard(nullptr));
    EmptyClipboard();
    CloseClipboard();
    EXPECT_EQ(pasted(), "there is no picture on the clipboard");
}

}  // namespace
