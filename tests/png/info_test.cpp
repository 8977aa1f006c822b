#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <tuple>

#include "orn32.h"
#include "tests/png/png_file.h"
#include "tests/support/guarded.h"

using namespace test;

namespace {

// A file of chunks without pixels.
Bytes fileWith(const Chunk& header, std::vector<Chunk> chunks = {}) {
    chunks.push_back({"IDAT", {1, 2, 3}});
    return pngFile(header, chunks);
}

PngInfo infoOf(const Bytes& file, int expected = 0) {
    PngInfo info;
    std::memset(&info, 0xAA, sizeof info);
    EXPECT_EQ(pnginfofrombuffer(GuardedBytes(file).data(), &info), expected) << "detail " << pnggeterror();
    return info;
}

int detailOf(const Bytes& file) {
    infoOf(file, ERR_PNG);
    return pnggeterror();
}

using Fields = std::array<unsigned, sizeof(PngInfo) / 4>;

Fields fieldsOf(const PngInfo& info) {
    return std::bit_cast<Fields>(info);
}

static_assert(sizeof(PngInfo) == 104 && offsetof(PngInfo, trnslen) == 52 &&
              offsetof(PngInfo, bkgdlen) == 68 && offsetof(PngInfo, resunit) == 84 &&
              offsetof(PngInfo, offsetunit) == 100);

const Chunk rgbHeader = headerChunk(13, 7, 8, 2);

}  // namespace

TEST(PngInfo, EachKindOfPixelsIsDescribed) {
    const struct {
        unsigned type, depth, dibbits, channels, rowbytes;
    } kinds[] = {{0, 1, 1, 1, 2},   {0, 2, 8, 1, 4},   {0, 4, 8, 1, 7},    {0, 8, 8, 1, 13},
                 {0, 16, 8, 1, 26}, {2, 8, 24, 3, 39}, {2, 16, 24, 3, 78}, {3, 1, 1, 1, 2},
                 {3, 2, 8, 1, 4},   {3, 4, 8, 1, 7},   {3, 8, 8, 1, 13},   {4, 8, 8, 2, 26},
                 {4, 16, 8, 2, 52}, {6, 8, 24, 4, 52}, {6, 16, 24, 4, 104}};
    unsigned index = 0;
    for (const auto& [type, depth, dibbits, channels, rowbytes] : kinds) {
        const Fields want = {13,        7,     depth,    dibbits,          type,
                             index % 2, index, channels, depth * channels, rowbytes};
        EXPECT_EQ(fieldsOf(infoOf(fileWith(headerChunk(13, 7, depth, type, index % 2)))), want) << index;
        index++;
    }
    EXPECT_EQ(infoOf(fileWith(headerChunk(0x7FFFFFFF, 1, 16, 6))).rowbytes, 0xFFFFFFFFu) << "longer yet";
    EXPECT_EQ(infoOf(fileWith(headerChunk(0x7FFFFFFF, 1, 8, 0))).rowbytes, 0x7FFFFFFFu);
}

// The fields that chunks set in a record that has none of them: all others stay.
TEST(PngInfo, ChunksSetTheirFieldsAndNoOthers) {
    using Set = void (*)(PngInfo&);
    const Set none = [](PngInfo&) {}, second = [](PngInfo&i) { i.hastrns = i.trnslen = i.trns[0] = 1; };
    const Set transparent = [](PngInfo& i) {
        i.hastrns = 1, i.trnslen = 6, i.trns[0] = 0x102, i.trns[1] = 0x304, i.trns[2] = 0x506;
    };
    const Set background = [](PngInfo& i) {
        i.hasbkgd = 1, i.bkgdlen = 6, i.bkgd[0] = 0x708, i.bkgd[1] = 0x90A, i.bkgd[2] = 0xB0C;
    };
    const Set grey = [](PngInfo& i) { i.hasbkgd = 1, i.bkgdlen = 2, i.bkgd[0] = 3; };
    const Set index = [](PngInfo& i) { i.hasbkgd = 1, i.bkgdlen = 2, i.bkgd[0] = 0x201; };
    const Set units = [](PngInfo& i) { i.xres = i.yres = 11811, i.resunit = 0x2E01; };
    const Set offsets = [](PngInfo& i) { i.xoffset = -16, i.yoffset = 99, i.offsetunit = 1; };
    const Set two = [](PngInfo& i) { i.sbit[0] = 5, i.sbit[1] = 6; };
    const Set three = [](PngInfo& i) { i.sbit[0] = 5, i.sbit[1] = 6, i.sbit[2] = 7; };
    const Bytes dpi300 = bigEndian32(11811) + bigEndian32(11811) + Bytes{1};
    const Bytes offset = bigEndian32(0xFFFFFFF0) + bigEndian32(99) + Bytes{1};
    const struct {
        const char* what;
        unsigned depth, type;
        std::vector<Chunk> chunks;
        Set set;
    } cases[] = {
        {"transparency: the first lowest entry", 8, 3, {{"tRNS", {9, 4, 200, 4, 255}}}, second},
        {"the first chunk", 8, 3, {{"tRNS", {2, 1}}, {"tRNS", {0, 0}}}, second},
        {"too many entries", 8, 3, {{"tRNS", Bytes(257)}}, none},
        {"the first chunk with few", 8, 3, {{"tRNS", Bytes(257)}, {"tRNS", {5, 1}}}, second},
        {"no entry", 8, 3, {{"tRNS", {}}}, [](PngInfo& i) { i.hastrns = i.trnslen = 1; }},
        {"a transparent colour", 16, 2, {{"tRNS", {1, 2, 3, 4, 5, 6}}}, transparent},
        {"bytes behind it", 16, 2, {{"tRNS", {1, 2, 3, 4, 5, 6, 7, 8}}}, transparent},
        {"a background colour", 16, 2, {{"bKGD", {7, 8, 9, 10, 11, 12}}}, background},
        {"a background too long", 16, 2, {{"bKGD", Bytes(7)}}, none},
        {"the first background", 8, 0, {{"bKGD", {0, 3}}, {"bKGD", {0, 4}}}, grey},
        {"a palette's bytes stay in their order", 8, 3, {{"bKGD", {1, 2}}}, index},
        {"the unit keeps upper bits of the resolution", 8, 2, {{"pHYs", dpi300}}, units},
        {"gamma", 8, 2, {{"gAMA", bigEndian32(45455)}}, [](PngInfo& i) { i.gamma = 45455; }},
        {"offset", 8, 2, {{"oFFs", offset}}, offsets},
        {"bits of grey and alpha", 8, 4, {{"sBIT", {5, 6}}}, two},
        {"a palette's three", 8, 3, {{"sBIT", {5, 6, 7, 8}}}, three},
        {"the last", 8, 6, {{"sBIT", {1, 2, 3, 4}}, {"sBIT", {5, 6}}}, two},
        {"too short", 8, 2, {{"gAMA", {1, 2, 3}}, {"pHYs", Bytes(8, 1)}, {"oFFs", Bytes(8, 1)}}, none},
        {"unknown and ancillary", 8, 2, {{"abCD", Bytes(20000, 7)}}, none},
    };
    for (const auto& c : cases) {
        const Chunk header = headerChunk(13, 7, c.depth, c.type);
        PngInfo want = infoOf(fileWith(header));
        c.set(want);
        EXPECT_EQ(fieldsOf(infoOf(fileWith(header, c.chunks))), fieldsOf(want)) << c.what;
    }
}

TEST(PngInfo, ResolutionIsReadFromItsChunk) {
    const TempFile file(".png");
    writeFile(file.name(),
              fileWith(rgbHeader, {{"pHYs", bigEndian32(5) + bigEndian32(0x12345678) + Bytes{0}}}));
    int x = -1, y = -1, unit = -1;
    EXPECT_EQ(pnggetxyresolution(file.name(), &x, &y, &unit), 0);
    EXPECT_EQ(std::tuple(x, y, unit), std::tuple(5, 0x12345678, 0x12345600));
    EXPECT_EQ(pnggetxyresolution("no such file.png", &x, &y, &unit), ERR_OPEN);
}

TEST(PngInfo, EveryFaultOfTheHeaderHasItsDetail) {
    const int faults[][3] = {{8, 3, -103}, {8, 0, -103}, {8, 32, -103}, {9, 1, -104},  {9, 5, -104},
                             {9, 7, -104}, {8, 4, -105}, {12, 2, -106}, {10, 1, -107}, {11, 1, -108}};
    for (const auto& [at, value, detail] : faults) {
        Chunk header = rgbHeader;
        header.data[at] = static_cast<std::uint8_t>(value);
        EXPECT_EQ(detailOf(fileWith(header)), detail) << "byte " << at << " is " << value;
    }
    const int headers[][5] = {{0, 7, 8, 2, -109},       {13, 0, 3, 1, -109}, {13, 7, 3, 1, -103},
                              {-1, -1, 255, 255, -103}, {1, 1, 16, 3, -105}, {1, 1, 4, 4, -105}};
    for (const auto& [width, height, depth, type, detail] : headers)
        EXPECT_EQ(detailOf(fileWith(headerChunk(width, height, depth, type))), detail)
            << width << "x" << height << " depth " << depth << " type " << type;
    for (const Bytes& data : {rgbHeader.data + Bytes{0}, Bytes{}})
        EXPECT_EQ(detailOf(fileWith({"IHDR", data})), -102) << data.size() << " bytes";
}

TEST(PngInfo, ChecksumsCountForAllChunksButTheDataAndTheEnd) {
    std::vector<Chunk> chunks = {rgbHeader,          {"PLTE", Bytes(30)}, {"tRNS", Bytes(6)},
                                 {"gAMA", Bytes(4)}, {"abCD", Bytes(9)},  {"IDAT", {1, 2}},
                                 {"IEND", {}}};
    for (Chunk& chunk : chunks) {
        chunk.crcError = 1;
        const bool counts = chunk.type != "IDAT" && chunk.type != "IEND";
        infoOf(pngFile(chunks), counts ? ERR_PNG : 0);
        EXPECT_TRUE(!counts || pnggeterror() == -111) << chunk.type;
        chunk.crcError = 0;
    }
}

TEST(PngInfo, TheRecordHoldsWhatCameBeforeTheFault) {
    const PngInfo info =
        infoOf(fileWith(rgbHeader, {{"gAMA", bigEndian32(5)}, {"XXXX", {}}, {"pHYs", Bytes(9, 1)}}), ERR_PNG);
    EXPECT_EQ(pnggeterror(), -100) << "an unknown chunk that is critical";
    EXPECT_EQ(std::tuple(info.width, info.gamma, info.xres), std::tuple(13u, 5u, 0u));
    EXPECT_EQ(infoOf(asBytes("no PNG at all"), ERR_PNG).width, 0u);
    EXPECT_EQ(pnggeterror(), -110);
    EXPECT_EQ(infoOf(pngFile({{"IEND", {}}})).width, 0u) << "no header";
}

TEST(PngInfo, LengthsThatLeadOutOfTheFileEndInAShortRead) {
    for (const std::uint32_t length :
         {4u, 8192u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFB0u, 0xFFFFFFF4u, 0xFFFFFFFFu})
        for (const char* type : {"IDAT", "PLTE", "abCD", "tRNS"}) {
            Bytes file = pngFile({rgbHeader, {type, {1, 2, 3}}});
            const Bytes lie = bigEndian32(length);
            std::copy(lie.begin(), lie.end(), file.end() - 15);
            EXPECT_EQ(detailOf(file), -113) << type << " " << length;
        }
}

TEST(PngComment, IsFoundByItsKeyword) {
    const auto words = [](const std::string& keyword, const std::string& text) {
        return asBytes(keyword) + Bytes{0} + asBytes(text);
    };
    const std::string huge(9000, 'x');
    const TempFile file(".png");
    writeFile(file.name(), fileWith(rgbHeader, {{"tEXt", words("Title", "Harvest")},
                                                {"tEXt", words("Tit", "short")},
                                                {"tEXt", words("Author", huge)},
                                                {"tEXt", words("Title", "second")},
                                                {"tEXt", words("Empty", "")},
                                                {"tEXt", asBytes("NoEnd")},
                                                {"zTXt", words("Other", "packed")}}));
    const struct {
        std::string keyword;
        int room;
        std::string text;
    } cases[] = {{"Title", 8, "Harvest"},
                 {"Tit", 6, "short"},
                 {"Author", 9001, huge},
                 {"Empty", 1, ""},
                 {"NoEnd", 0, ""},
                 {"title", 0, ""},
                 {"Titl", 0, ""},
                 {"Other", 0, ""},
                 {"", 0, ""},
                 {std::string(100000, 'k'), 0, ""}};
    for (const auto& [keyword, room, text] : cases) {
        EXPECT_EQ(getpngcomment(file.name(), keyword.c_str(), nullptr, 0), room) << keyword;
        for (const int size : {1, 2, 5, 8, 9001}) {
            const GuardedBytes buffer(size);
            char* p = reinterpret_cast<char*>(buffer.data());
            EXPECT_EQ(getpngcomment(file.name(), keyword.c_str(), p, size), 0);
            EXPECT_EQ(p, text.substr(0, size - 1)) << keyword;
        }
    }
    char buffer[4] = "abc";
    for (const int none : {0, -5}) EXPECT_EQ(getpngcomment(file.name(), "Title", buffer, none), 0);
    writeFile(file.name(), fileWith(rgbHeader, {{"tEXt", words("Title", ""), 1}}));
    EXPECT_EQ(getpngcomment(file.name(), "Title", buffer, 4), ERR_PNG);
    EXPECT_EQ(pnggeterror(), -111);
    EXPECT_EQ(getpngcomment("no such file.png", "Title", buffer, 4), ERR_OPEN);
    EXPECT_STREQ(buffer, "abc");
}
