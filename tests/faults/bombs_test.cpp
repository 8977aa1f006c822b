// Small files that ask for much: what the finished DLL spends on each, and that it stays within bounds. The
// table that this prints is in docs/reliability.md.
#include <gtest/gtest.h>
#include <windows.h>

#include <cmath>
#include <cstdio>
#include <functional>

#include "orn32.h"
#include "tests/faults/import_table.h"
#include "tests/gif/gif_builder.h"
#include "tests/png/png_file.h"
#include "tests/support/bmp_builder.h"
#include "tests/support/guarded.h"
#include "tests/support/test_image.h"

using namespace test;

namespace {

Bytes jpegSegment(int marker, const Bytes& contents) {
    const std::size_t length = contents.size() + 2;
    return Bytes{0xFF, static_cast<std::uint8_t>(marker), static_cast<std::uint8_t>(length >> 8),
                 static_cast<std::uint8_t>(length)} +
           contents;
}

// A grey picture; one Huffman code each, for "no difference" and for "nothing in 16384 blocks".
Bytes jpegStart(int frame, unsigned width, unsigned height) {
    const auto high = [](unsigned n) { return static_cast<std::uint8_t>(n >> 8); };
    const auto low = [](unsigned n) { return static_cast<std::uint8_t>(n); };
    Bytes dc{0x00, 1}, ac{0x10, 1};
    dc.resize(17), ac.resize(17);
    dc.push_back(0), ac.push_back(0xE0);
    return Bytes{0xFF, 0xD8} + jpegSegment(0xDB, Bytes{0} + Bytes(64, 1)) +
           jpegSegment(frame, {8, high(height), low(height), high(width), low(width), 1, 1, 0x11, 0}) +
           jpegSegment(0xC4, dc) + jpegSegment(0xC4, ac);
}

Bytes scan(unsigned first, unsigned last, unsigned approximation, std::size_t bytes) {
    return jpegSegment(0xDA, {1, 1, 0, static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(last),
                              static_cast<std::uint8_t>(approximation)}) +
           Bytes(bytes);
}

// 62500 blocks, and a thousand times one scan: 8 bytes of data are more than the 4 runs of ends of block that
// an AC scan needs, and far fewer than a DC scan does.
Bytes thousandScans(unsigned first, unsigned last, unsigned approximation) {
    Bytes file = jpegStart(0xC2, 2000, 2000) + scan(0, 0, 1, 250 * 250 / 8 + 1);
    const Bytes one = scan(first, last, approximation, 8);
    for (int i = 0; i < 1000; i++) append(file, one);
    return file + Bytes{0xFF, 0xD9};
}

Bytes manyChunks(const char* type) {
    std::vector<Chunk> chunks(300000, Chunk{type, {}});
    chunks.insert(chunks.begin(), headerChunk(1000, 1000, 8, 0));
    return pngFile(chunks);
}

Bytes manyFrames() {
    GifBuilder gif;
    gif.header(1, 1);
    const Bytes frame = GifBuilder().descriptor(0, 0).raw({2, 0}).bytes;
    for (int i = 0; i < 1000000; i++) gif.raw(frame);
    return gif.trailer().bytes;
}

// Sub-blocks of one byte, which never end: of a comment, or of a frame's pixels.
Bytes endlessChain(bool comment) {
    GifBuilder gif;
    gif.header(1000, 1000);
    comment ? gif.raw({0x21, 0xFE}) : gif.descriptor(1000, 1000).raw({8});
    Bytes chain(4000000);
    for (std::size_t i = 0; i < chain.size(); i += 2) chain[i] = 1;
    return gif.bytes + chain;
}

double processorSeconds() {
    FILETIME made, ended, kernel, user;
    GetProcessTimes(GetCurrentProcess(), &made, &ended, &kernel, &user);
    const auto seconds = [](FILETIME t) {
        return static_cast<double>(std::uint64_t{t.dwHighDateTime} << 32 | t.dwLowDateTime) / 1e7;
    };
    return seconds(kernel) + seconds(user);
}

struct Bomb {
    const char* name;
    Bytes file;
    unsigned bits, side;  // of the image to load into
    std::function<int(const void*, imgdes*)> call;
};

std::vector<Bomb> bombs() {
    const auto bmp = loadbmpfrombuffer, png = loadpngfrombuffer, jpeg = loadjpgfrombuffer,
               gif = loadgiffrombuffer;
    const auto thumbnail = [](const void* f, imgdes* i) { return loadjpgthumbnailfrombuffer(f, i, 0); };
    const auto frames = [](const void* f, imgdes*) {
        int count = 0;
        return gifframecountfrombuffer(f, &count);
    };
    const auto lastFrame = [](const void* f, imgdes*) {
        GifFrameInfo frame;
        return gifinfoframefrombuffer(f, nullptr, nullptr, &frame, 999999);
    };
    BmpBuilder hugeBitmap;
    hugeBitmap.width = hugeBitmap.height = 32767;
    const Bytes hugeGif = GifBuilder().header(65535, 65535).descriptor(65535, 65535).raw({8, 1, 0}).bytes;
    const Bytes zeros =
        pngFile({headerChunk(59, 1000000, 8, 0), {"IDAT", compressed(Bytes(60000000), 9)}, {"IEND", {}}});
    const Bytes noPng = pngFile({headerChunk(0x7FFFFFFF, 0x7FFFFFFF, 8, 2), {"IEND", {}}}) + Bytes(64);
    const Bytes noScan = scan(0, 63, 0, 0) + Bytes(64), noDcScan = scan(0, 0, 0, 0) + Bytes(64);
    return {
        {"BMP, 32767 x 32767, no pixels", hugeBitmap.build() + Bytes(64), 24, 32, bmp},
        {"PNG, 2 billion squared, no pixels", noPng, 24, 32, png},
        {"PNG, 60 MB of zeros", zeros, 8, 32, png},
        {"PNG, 300 000 empty IDAT chunks", manyChunks("IDAT"), 8, 32, png},
        {"PNG, 300 000 unknown chunks", manyChunks("orNk"), 8, 32, png},
        {"GIF, 65535 x 65535, no pixels", hugeGif + Bytes(100), 8, 32, gif},
        {"GIF, a million frames, counted", manyFrames(), 8, 32, frames},
        {"GIF, a million frames, the last", manyFrames(), 8, 32, lastFrame},
        {"GIF, two million sub-blocks of comment", endlessChain(true), 8, 32, gif},
        {"GIF, two million sub-blocks of pixels", endlessChain(false), 8, 1000, gif},
        {"JPEG, 65535 x 65535, progressive", jpegStart(0xC2, 65535, 65535) + scan(0, 0, 0, 10), 8, 32, jpeg},
        {"JPEG, 32767 x 32767, no data", jpegStart(0xC0, 32767, 32767) + noScan, 8, 32, jpeg},
        {"JPEG, the same, progressive", jpegStart(0xC2, 32767, 32767) + noDcScan, 8, 32, jpeg},
        {"JPEG, the same, reduced", jpegStart(0xC0, 32767, 32767) + noScan, 8, 32, thumbnail},
        {"JPEG, 2000 x 2000, 1000 AC scans", thousandScans(1, 63, 0), 8, 2000, jpeg},
        {"JPEG, 2000 x 2000, 1000 refinements", thousandScans(1, 63, 0x10), 8, 2000, jpeg},
        {"JPEG, 2000 x 2000, 1000 cut DC scans", thousandScans(0, 0, 0x10), 8, 2000, jpeg},
        {"JPEG, the same, into 32 x 32", thousandScans(0, 0, 0x10), 8, 32, jpeg},
    };
}

}  // namespace

TEST(Bombs, CostNoMoreThanTheirBytesAndPixelsAllow) {
    std::printf("%-38s %9s %8s %6s %8s %8s %9s\n", "", "bytes", "pixels", "result", "ms", "ns/byte",
                "peak KB");
    for (const Bomb& bomb : bombs()) {
        const GuardedBytes source(bomb.file);
        TestImage image(bomb.side, bomb.side, bomb.bits);
        faults::start({});
        int code = 0, rounds = 0;
        const double before = processorSeconds();
        double seconds = 0;
        for (; seconds < 0.1 && rounds < 100; rounds++) {
            code = bomb.call(source.data(), image);
            seconds = processorSeconds() - before;
        }
        seconds /= rounds;
        const auto bytes = static_cast<double>(bomb.file.size()), pixels = std::pow(bomb.side, 2);
        const auto peak = static_cast<double>(faults::peakBytes());
        std::printf("%-38s %9.0f %8.0f %6d %8.2f %8.0f %9.0f\n", bomb.name, bytes, pixels, code,
                    seconds * 1e3, seconds * 1e9 / bytes, peak / 1024);
        EXPECT_LE(code, 0) << bomb.name;
        EXPECT_LT(seconds, 0.1 + bytes * 10e-6 + pixels * 1e-6) << bomb.name;
        EXPECT_LT(peak, 3e6 + pixels * 8) << bomb.name;
    }
}
