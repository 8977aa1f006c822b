// GIF frames with string codes, by the library's exported functions alone; docs/gif-string-codes.md goes
// through the steps.
#include "gif_strings.h"

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <new>
#include <vector>

#include "messages.h"

namespace ornconvert {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes readFrom(const std::wstring& file, UINT offset) {
    std::ifstream in(std::filesystem::path(file), std::ios::binary | std::ios::ate);
    const std::streamoff size = in.tellg();
    if (size < 0 || size > 0x7FFFFFFF) throw Failure{L"the file is too large, or cannot be read"};
    Bytes bytes(size > offset ? static_cast<std::size_t>(size - offset) : 0);
    in.seekg(offset);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    return bytes;
}

// A frame's codes, out of the sub-blocks that they come in.
struct CodeStream {
    unsigned codeSize;
    Bytes bytes;
    bool broken = false;  // the file ends before they do
};

CodeStream joinBlocks(const Bytes& data) {
    CodeStream stream = {data[0], {}};
    std::size_t at = 1;
    while (at < data.size() && data[at] != 0) {
        const std::size_t end = std::min(at + 1 + data[at], data.size());
        stream.bytes.insert(stream.bytes.end(), &data[at] + 1, data.data() + end);
        at = end;
    }
    stream.broken = at >= data.size();
    return stream;
}

// Some encoders leave the clear code at the start out, which GifDecode takes for granted: put it in front.
void startWithClear(CodeStream& stream) {
    const unsigned width = stream.codeSize + 1, clear = 1u << stream.codeSize;
    if (stream.bytes.size() >= 2) {
        const unsigned first = (stream.bytes[0] | stream.bytes[1] << 8) & ((1u << width) - 1);
        if (first == clear) return;
    }
    unsigned waiting = clear, bits = width;  // codes begin at the lowest bit of a byte
    for (unsigned char& byte : stream.bytes) {
        waiting |= unsigned{byte} << bits;
        byte = static_cast<unsigned char>(waiting);
        waiting >>= 8;
    }
    for (; bits > 0; bits -= std::min(bits, 8u), waiting >>= 8)
        stream.bytes.push_back(static_cast<unsigned char>(waiting));
}

// Code size, blocks and terminator, as GifDecode takes them.
Bytes cutIntoBlocks(const CodeStream& stream) {
    Bytes data = {static_cast<unsigned char>(stream.codeSize)};
    for (std::size_t at = 0; at < stream.bytes.size(); at += 255) {
        const std::size_t n = std::min<std::size_t>(255, stream.bytes.size() - at);
        data.push_back(static_cast<unsigned char>(n));
        data.insert(data.end(), &stream.bytes[at], &stream.bytes[at] + n);
    }
    data.push_back(0);
    return data;
}

// Decodes as many pixels as there is room for. False where the data is damaged: the pixels in front of the
// damage are there then, and the others as they were.
bool decode(const Bytes& data, Bytes& pixels) {
    const auto run = [&](Bytes& to) {
        return GifDecode(nullptr, data.data(), static_cast<int>(data.size()), to.data(),
                         static_cast<int>(to.size())) != 0;
    };
    if (run(pixels)) return true;
    // More pixels than the frame has are no damage. The last one was reached if it comes out the same
    // whatever was there before.
    Bytes again(pixels.size());
    again.back() = static_cast<unsigned char>(~pixels.back());
    run(again);
    return again.back() == pixels.back();
}

// The picture's row that comes as number i in the data.
int rowInPicture(int i, int height, bool interlaced) {
    if (!interlaced) return i;
    constexpr struct { int first, step; } passes[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
    for (const auto& pass : passes) {
        const int rows = (height - pass.first + pass.step - 1) / pass.step;
        if (i < rows) return pass.first + i * pass.step;
        i -= std::max(rows, 0);
    }
    return 0;
}

void storeRow(imgdes& image, int y, const unsigned char* pixels, int width) {
    unsigned char* row = image.bits + static_cast<UINT>(image.header->biHeight - 1 - y) * image.rowbytes;
    if (image.header->biBitCount == 8) {
        std::copy_n(pixels, width, row);
        return;
    }
    for (int x = 0; x < width; x++)
        if (pixels[x]) row[x / 8] = static_cast<unsigned char>(row[x / 8] | 0x80 >> x % 8);
}

void loadColours(const std::wstring& file, int frameno, imgdes& image) {
    RGBQUAD palette[256];
    const int found = check(loadgifframepaletteW(file.c_str(), palette, frameno));
    if (found == 0) return;  // no table: the grey palette that the image has been born with
    image.palcolors = std::min(found, image.palcolors);
    std::copy_n(palette, image.palcolors, image.palette);
    image.imgkind = static_cast<UINT>(isgrayscaleimage(&image));
    updatebitmapcolortable(&image);
}

}  // namespace

Picture loadGifFrameWithStrings(const std::wstring& file, const GifFrameInfo& frame, std::wstring& flaw) {
    Picture picture(frame.width, frame.height, static_cast<unsigned>(frame.dibbits));
    const Bytes data = readFrom(file, frame.dataoffset - 1);
    if (data.empty() || data[0] < 2 || data[0] > 8)
        throw Failure{text(L"image data of code size ", frame.codesize, L" cannot be read")};
    CodeStream stream = joinBlocks(data);
    startWithClear(stream);
    const long long pixelCount = 1LL * frame.width * frame.height;
    if (pixelCount > 0x7FFFFFFF) throw std::bad_alloc();
    Bytes pixels(static_cast<std::size_t>(pixelCount));
    if (!decode(cutIntoBlocks(stream), pixels))
        flaw = L"the image data is damaged; what lies behind is missing";
    if (stream.broken) flaw = L"the file ends early; the pixels that are missing have the colour of index 0";
    for (int i = 0; i < frame.height; i++)
        storeRow(*picture.image(), rowInPicture(i, frame.height, frame.interlaced != 0),
                 &pixels[static_cast<std::size_t>(i) * static_cast<std::size_t>(frame.width)], frame.width);
    loadColours(file, frame.frameno, *picture.image());
    return picture;
}

}  // namespace ornconvert
