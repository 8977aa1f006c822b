#include "tests/fuzz/seeds.h"

#include "orn32.h"
#include "tests/gif/gif_builder.h"
#include "tests/jpeg/stream_builder.h"
#include "tests/png/png_file.h"
#include "tests/support/bmp_builder.h"
#include "tests/support/test_image.h"

using namespace test;

namespace fuzz {
namespace {

Seeds seeds;

void keep(const char* target, const Bytes& file) {
    seeds[target].push_back(file);
}

// Keeps what a call makes of a picture, if it can.
template <class Save, class... Options>
void keepSaved(const char* target, Save save, TestImage& image, Options... options) {
    void* buffer = nullptr;
    if (save(&buffer, image, options...) == 0) keep(target, taken(buffer));
}

void savedFiles(Random& random) {
    for (const unsigned bits : {1u, 8u, 24u}) {
        TestImage image(21, 13, bits);
        image.randomise(random);
        if (bits < 24) image.randomisePalette(random);
        for (const int rle : {0, 1}) keepSaved("bmp", savebmptobuffer, image, rle);
        for (const UINT flags : {0u, 1u, 2u, 4u, 0x30001u})
            keepSaved("gif", savegiftobufferex, image, flags, 1);
        for (int option = 0; option < 12; option++) keepSaved("png", savepngtobuffer, image, option);
        for (const UINT option : {0u, 1u, 2u, 0x10u, 0x11u, 0x12u})
            keepSaved("jpeg", savejpgtobufferex, image, 60, option);
    }
}

void bitmaps(Random& random) {
    for (const unsigned headerSize : {12u, 40u, 64u, 108u})
        for (const unsigned bits : {1u, 4u, 8u, 16u, 24u, 32u})
            for (const unsigned compression : {0u, 1u, 2u, 3u}) {
                BmpBuilder bmp;
                bmp.headerSize = headerSize;
                bmp.bits = bits;
                bmp.compression = compression;
                bmp.height = headerSize == 40 && compression == 0 ? -3 : 3;
                if (compression == 3) bmp.masks = {0xF800, 0x7E0, 0x1F};
                if (bits <= 8)
                    bmp.palette = random.bytes((std::size_t{1} << bits) * (headerSize == 12 ? 3 : 4));
                bmp.pixels = compression == 1 || compression == 2
                                 ? Bytes{3, 7, 0, 3, 1, 2, 3, 0, 0, 0, 2, 9, 0, 1}
                                 : random.bytes(48);
                keep("bmp", bmp.build());
            }
}

void pngs(Random& random) {
    constexpr struct {
        unsigned type, depth, bits;
    } kinds[] = {{0, 1, 1}, {0, 2, 2}, {0, 4, 4}, {0, 8, 8},  {0, 16, 16}, {2, 8, 24}, {2, 16, 48}, {3, 1, 1},
                 {3, 2, 2}, {3, 4, 4}, {3, 8, 8}, {4, 8, 16}, {4, 16, 32}, {6, 8, 32}, {6, 16, 64}};
    const auto make = [&](const auto& kind, unsigned width, unsigned height) {
        for (const int level : {0, 6}) {
            Bytes rows;
            for (unsigned y = 0; y < height; y++) {
                rows.push_back(static_cast<std::uint8_t>(y % 5));
                rows = rows + random.bytes((width * kind.bits + 7) / 8);
            }
            std::vector<Chunk> chunks = {headerChunk(width, height, kind.depth, kind.type),
                                         {"gAMA", {0, 0, 0xB1, 0x8F}},
                                         {"pHYs", {0, 0, 1, 0, 0, 0, 1, 0, 1}},
                                         {"oFFs", {0, 0, 0, 1, 0, 0, 0, 2, 0}},
                                         {"tEXt", asBytes(std::string("Title\0text", 10))}};
            if (kind.type == 3) chunks.push_back({"PLTE", random.bytes(48)});
            if (kind.type != 4 && kind.type != 6) chunks.push_back({"tRNS", Bytes(kind.type == 0 ? 2 : 6)});
            for (const Chunk& chunk : dataChunks(compressed(rows, level), 40)) chunks.push_back(chunk);
            chunks.push_back({"IEND", {}});
            keep("png", pngFile(chunks));
        }
    };
    for (const auto& kind : kinds) make(kind, 11, 9);
    make(kinds[3], 90, 40);  // rows that are turned back together
    make(kinds[10], 101, 20);
}

void jpegs(Random& random) {
    for (const char* sampling : {"11", "11,11,11", "22,11,11", "21,11,11", "12,11,11", "11,11,11,11",
                                 "22,11,11,22", "11,22,12", "41,11,11"})
        for (const auto plan : {oneScan, separateScans, progressiveScans})
            for (const unsigned restart : {0u, 2u}) {
                CoefPicture picture = randomPicture(random, 37, 29, sampling, restart != 0);
                StreamPlan stream = plan(picture);
                stream.restartInterval = restart;
                if (picture.components.size() == 4) stream.adobeTransform = 2;
                keep("jpeg", encode(picture, stream, random));
            }
}

void codecData(Random& random) {
    for (const unsigned bits : {2u, 4u, 8u}) {
        Bytes pixels = random.bytes(500), coded(2 * 500 + 300);
        for (auto& pixel : pixels)
            pixel &= static_cast<std::uint8_t>(((1u << bits) - 1) & (pixel & 1 ? 1 : 255));
        GifCodeParams params{};
        params.codesize = bits;
        coded.resize(GifEncode(&params, pixels.data(), 500, coded.data(), static_cast<UINT>(coded.size())));
        keep("gifcodec", pixels);
        keep("gifcodec", coded);
        GifBuilder gif;
        gif.header(25, 20).descriptor(25, 20).raw(coded);
        keep("gif", gif.bytes);
        keep("save", pixels);
        keep("save", random.bytes(40 * bits));
    }
}

}  // namespace

Seeds makeSeeds() {
    seeds.clear();
    Random random(2026);
    savedFiles(random);
    bitmaps(random);
    pngs(random);
    jpegs(random);
    codecData(random);
    keep("gif", richGif());
    return std::move(seeds);
}

}  // namespace fuzz
