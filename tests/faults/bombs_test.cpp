// Small files that ask for much: what the finished DLL spends on each, and that it stays within bounds. The
// table that this prints is in docs/reliability.md.
#include <gtest/gtest.h>
#include <windows.h>

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

Bytes scan(unsigned first, unsigned last, std::size_t bytes) {
    return jpegSegment(0xDA,
                       {1, 1, 0, static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(last), 0}) +
           Bytes(bytes);
}

Bytes thousandScans() {
    constexpr unsigned side = 2000, blocks = 250 * 250;
    Bytes file = jpegStart(0xC2, side, side) + scan(0, 0, blocks / 8 + 1);
    const Bytes one = scan(1, 63, 8);
    for (int i = 0; i < 1000; i++) append(file, one);
    return file + Bytes{0xFF, 0xD9};
}

Bytes pngBomb() {
    Bytes file =
        pngFile({headerChunk(59, 1000000, 8, 0), {"IDAT", compressed(Bytes(60000000), 9)}, {"IEND", {}}});
    return file;
}

Bytes manyFrames() {
    GifBuilder gif;
    gif.header(1, 1);
    const Bytes frame = GifBuilder().descriptor(0, 0).raw({2, 0}).bytes;
    for (int i = 0; i < 1000000; i++) gif.raw(frame);
    return gif.trailer().bytes;
}

Bytes endlessChain() {
    GifBuilder gif;
    gif.header(1, 1).raw({0x21, 0xFE});
    for (int i = 0; i < 2000000; i++) gif.raw({1, 'x'});
    return gif.bytes;
}

Bytes hugeBitmap() {
    BmpBuilder bmp;
    bmp.width = bmp.height = 32767;
    return bmp.build() + Bytes(64);
}

Bytes hugeGif() {
    GifBuilder gif;
    return gif.header(65535, 65535).descriptor(65535, 65535).raw({8, 1, 0}).bytes + Bytes(100);
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
    double mostSeconds, mostMegabytes;
};

}  // namespace

TEST(Bombs, CostNoMoreThanTheirBounds) {
    const auto bmp = [](const void* f, imgdes* i) { return loadbmpfrombuffer(f, i); };
    const auto png = [](const void* f, imgdes* i) { return loadpngfrombuffer(f, i); };
    const auto jpeg = [](const void* f, imgdes* i) { return loadjpgfrombuffer(f, i); };
    const auto thumbnail = [](const void* f, imgdes* i) { return loadjpgthumbnailfrombuffer(f, i, 0); };
    const auto gif = [](const void* f, imgdes* i) { return loadgiffrombuffer(f, i); };
    const auto frames = [](const void* f, imgdes*) {
        int count = 0;
        return gifframecountfrombuffer(f, &count);
    };
    const auto lastFrame = [](const void* f, imgdes*) {
        GifFrameInfo frame;
        return gifinfoframefrombuffer(f, nullptr, nullptr, &frame, 999999);
    };
    const Bytes noPng = pngFile({headerChunk(0x7FFFFFFF, 0x7FFFFFFF, 8, 2), {"IEND", {}}}) + Bytes(64);
    const Bomb bombs[] = {
        {"BMP, 32767 x 32767, no pixels", hugeBitmap(), 24, 32, bmp, 0.5, 1},
        {"PNG, 2 billion squared, no pixels", noPng, 24, 32, png, 0.5, 1},
        {"PNG, 60 MB of zeros", pngBomb(), 8, 32, png, 3, 1},
        {"GIF, 65535 x 65535, no pixels", hugeGif(), 8, 32, gif, 0.5, 1},
        {"GIF, a million frames, counted", manyFrames(), 8, 32, frames, 3, 1},
        {"GIF, a million frames, the last", manyFrames(), 8, 32, lastFrame, 3, 1},
        {"GIF, two million sub-blocks", endlessChain(), 8, 32, gif, 3, 1},
        {"JPEG, 32767 x 32767, no data", jpegStart(0xC0, 32767, 32767) + scan(0, 63, 0) + Bytes(64), 8, 32,
         jpeg, 1, 8},
        {"JPEG, the same, progressive", jpegStart(0xC2, 32767, 32767) + scan(0, 0, 0) + Bytes(64), 8, 32,
         jpeg, 1, 8},
        {"JPEG, the same, reduced", jpegStart(0xC0, 32767, 32767) + scan(0, 63, 0) + Bytes(64), 8, 32,
         thumbnail, 1, 8},
        {"JPEG, 2000 x 2000, 1000 scans", thousandScans(), 8, 32, jpeg, 10, 16},
        {"JPEG, all of the same picture", thousandScans(), 8, 2000, jpeg, 30, 32},
    };
    std::printf("%-36s %10s %6s %9s %9s\n", "", "bytes", "result", "seconds", "peak MB");
    for (const Bomb& bomb : bombs) {
        const GuardedBytes source(bomb.file);
        TestImage image(bomb.side, bomb.side, bomb.bits);
        faults::start({});
        const double before = processorSeconds();
        const int code = bomb.call(source.data(), image);
        const double seconds = processorSeconds() - before;
        const double megabytes = static_cast<double>(faults::peakBytes()) / (1 << 20);
        std::printf("%-36s %10zu %6d %9.3f %9.2f\n", bomb.name, bomb.file.size(), code, seconds, megabytes);
        EXPECT_LE(code, 0) << bomb.name;
        EXPECT_LT(seconds, bomb.mostSeconds) << bomb.name;
        EXPECT_LT(megabytes, bomb.mostMegabytes) << bomb.name;
    }
}
