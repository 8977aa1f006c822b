#include <gtest/gtest.h>

#include <cstring>

#include "orn32.h"
#include "tests/gif/gif_builder.h"
#include "tests/support/guarded.h"

using namespace test;

namespace {

// Buffers must have 100 readable bytes; zeros behind the trailer do no harm.
Bytes padded(Bytes bytes) {
    bytes.resize(std::max<std::size_t>(bytes.size(), 100));
    return bytes;
}

struct Answer {
    int code;
    GifFileInfo file;
    GifGlobalInfo global;
    GifFrameInfo frame;
};

Answer ask(const Bytes& bytes, int frameno) {
    Answer a;
    std::memset(&a, 0x55, sizeof a);
    a.code =
        gifinfoframefrombuffer(GuardedBytes(padded(bytes)).data(), &a.file, &a.global, &a.frame, frameno);
    return a;
}

int framesOf(const Bytes& bytes, int* count) {
    return gifframecountfrombuffer(GuardedBytes(padded(bytes)).data(), count);
}

using Fields = std::vector<int>;

template <class Record>
Fields fields(const Record& record) {
    Fields values(sizeof record / 4);
    std::memcpy(values.data(), &record, sizeof record);
    return values;
}

const Bytes dot = GifBuilder().descriptor(1, 1).data(2, {0}).bytes;  // a frame

}  // namespace

TEST(GifInfo, TellsEverythingOfEveryFrame) {
    const Bytes gif = richGif();
    const struct {
        Fields file, frame;  // the frame's but for the places of its palette and its data
        std::size_t paletteBehind;
        int red;
    } frames[] = {
        {{12, 9, 8, 4, 3, 0, 4, 89, 8}, {1, 2, 0, 12, 3, 4, 0, 8, 12, 9, 0, 0, 4, 0}, 0, 0},
        {{12, 9, 8, 4, -1, 1, 4, 89, 8}, {3, 4, 1, 300, -1, 0, 1, 8, 12, 9, 1, 1, 4, 16}, 49, 100},
        {{7, 5, 8, 1, -1, 0, 2, 89, 1}, {600, 500, 1, 0, -1, 0, 0, 1, 7, 5, 2, 0, 2, 2}, 7, 200},
        // behind the last
        {{7, 5, 8, 4, -1, 0, 2, 89, 1}, {0, 0, 0, 0, -1, 0, 0, 0, 0, 0, 3, 0, 0, 0}, 0, 0},
    };
    for (int k = 0; k < 4; k++) {
        const auto& want = frames[k];
        const Answer a = ask(gif, k);
        EXPECT_EQ(a.code, 0) << k;
        EXPECT_EQ(fields(a.file), want.file) << k;
        Fields frame = fields(a.frame);
        frame.resize(14);
        EXPECT_EQ(frame, want.frame) << k;
        EXPECT_TRUE(k == 3 || gif[a.frame.dataoffset - 1] == want.frame[12]) << k << ": the code size";
        EXPECT_EQ(a.frame.localpaloffset, want.red ? a.frame.dataoffset - want.paletteBehind : 0) << k;
        EXPECT_TRUE(!want.red || gif[a.frame.localpaloffset] == want.red) << k;
    }
    // 13 + 48 table, 19 loop, 8 control, 2 + 12 + 5 application, 10 descriptor, 1 code size
    EXPECT_EQ(ask(gif, 0).frame.dataoffset, 118u);
    EXPECT_EQ(fields(ask(gif, 0).global), (Fields{40, 30, 1, 5, 7, 4, 8, 49, 0, 16, 13}));
    EXPECT_EQ(slice(gif, ask(gif, 1).global.commentoffset, 3), (Bytes{13, 'f', 'i'}));
    EXPECT_EQ(gif[ask(gif, 2).global.commentoffset], 255) << "the last comment's first sub-block";
    for (const int frame : {4, 0x7FFFFFFF, -1, -0x7FFFFFFF - 1})
        EXPECT_EQ(ask(gif, frame).code, ERR_NO_FRAME) << frame;
    GifFileInfo none;
    EXPECT_EQ(gifinfo("no such file.gif", &none), ERR_OPEN);
    EXPECT_EQ(fields(none), (Fields{0, 0, 0, 0, -1, 0, 0, 0, 0}));
}

TEST(GifInfo, AllFramesAreFilledUpToTheMaximumAndNoFurther) {
    const GuardedBytes source(richGif());
    for (int maximum = -1; maximum <= 6; maximum++) {
        const GuardedBytes memory(Bytes(std::max(maximum, 0) * sizeof(GifFrameInfo), 0x77));
        auto* frames = reinterpret_cast<GifFrameInfo*>(memory.data());
        GifGlobalInfo global;
        EXPECT_EQ(gifinfoallframesfrombuffer(source.data(), &global, frames, maximum),
                  maximum > 4 ? ERR_NO_FRAME : 0)
            << maximum;
        EXPECT_EQ(global.screenwidth, 40);
        for (int k = 0; k < std::min(maximum, 4); k++)
            EXPECT_EQ(fields(frames[k]), fields(ask(richGif(), k).frame)) << k << " of " << maximum;
        EXPECT_TRUE(maximum <= 4 || frames[4].left == 0x77777777) << "beyond the trailer";
    }
}

TEST(GifInfo, OddFiles) {
    const auto start = [] { return GifBuilder().header(3, 4); };
    const struct {
        const char* what;
        GifBuilder file;
        int code, frames, loop, transparent;
    } cases[] = {
        {"header and trailer only", start(), 0, 0, -1, -1},
        {"not a GIF", GifBuilder().text("JIF89a"), ERR_BAD_GIF, 0, 0, -1},
        {"gif in lower case", GifBuilder().text("gif89a"), ERR_BAD_GIF, 0, 0, -1},
        {"loop before control", start().loop(5).control(1, 0, 9).raw(dot), 0, 1, 5, 9},
        {"loop behind control is not seen", start().control(1, 0, 9).loop(5).raw(dot), 0, 1, -1, 9},
        {"loop third", start().comment("c").application("MyProgram11").loop(6).raw(dot), 0, 1, 6, -1},
        {"control without transparency", start().control(0, 0, 9).raw(dot), 0, 1, -1, -1},
        {"stray bytes", start().put(1, 2, 0, 99).raw(dot).put(7, 7), 0, 1, -1, -1},
        {"second frame's control", start().raw(dot).control(1, 0, 9).raw(dot), 0, 2, -1, -1},
        {"table of 2 colours", GifBuilder().header(3, 4, 0x80).table(1).raw(dot), 0, 1, -1, -1},
    };
    for (auto c : cases) {
        const Bytes file = c.file.trailer().bytes;
        const Answer a = ask(file, 0);
        int count = 77;
        EXPECT_EQ(a.code, c.code) << c.what;
        EXPECT_EQ(framesOf(file, &count), c.code) << c.what;
        EXPECT_EQ((Fields{a.file.width, count, a.global.loopcount, a.file.transcolor}),
                  (Fields{c.frames > 0, c.frames, c.loop, c.transparent}))
            << c.what;
        EXPECT_TRUE(a.code != 0 || a.frame.transcolor == c.transparent) << c.what;
    }
}

TEST(GifInfo, FilesThatEndEarly) {
    // The comment makes up the 100 bytes that buffers need.
    const Bytes start = GifBuilder().header(3, 4).comment(std::string(120, 'c')).bytes;
    constexpr int anyCount = -1;
    const auto cut = [](const Bytes& bytes) { return slice(bytes, 0, bytes.size() - 1); };
    const struct {
        const char* what;
        Bytes bytes;
        int first, second, countCode, count;
    } cases[] = {
        {"no frame", start, ERR_BAD_GIF, ERR_BAD_GIF, ERR_BAD_GIF, 0},
        {"control, but no frame", start + GifBuilder().control(0).bytes, 0, ERR_NO_FRAME, 0, anyCount},
        {"no trailer", start + dot, 0, ERR_NO_FRAME, 0, 1},
        {"cut data", start + cut(dot), 0, ERR_TRUNCATED, ERR_TRUNCATED, 0},
        {"cut comment", cut(start), ERR_TRUNCATED, ERR_TRUNCATED, ERR_TRUNCATED, 0},
        {"cut extension", start + Bytes{0x21}, ERR_TRUNCATED, ERR_TRUNCATED, ERR_TRUNCATED, 0},
    };
    for (const auto& c : cases) {
        int count = -5;
        EXPECT_EQ(ask(c.bytes, 0).code, c.first) << c.what;
        EXPECT_EQ(ask(c.bytes, 1).code, c.second) << c.what;
        EXPECT_EQ(framesOf(c.bytes, &count), c.countCode) << c.what;
        EXPECT_TRUE(count == c.count || c.count == anyCount) << c.what << ": " << count;
    }
    EXPECT_EQ(gifinfofrombuffer(GuardedBytes(99).data(), nullptr), ERR_SOURCE_BUFFER);
}

TEST(GifPalette, TakesTheFramesOwnTableElseTheGlobalOneElseNone) {
    const Bytes rich = richGif(), bare = GifBuilder().header(1, 1).raw(dot).trailer().bytes;
    constexpr int global = -1, whole = -2;  // the questions that name no frame
    const struct {
        const Bytes& gif;
        int frame, colours, firstRed;
    } cases[] = {{rich, whole, 16, 0},       {rich, global, 16, 0}, {rich, 0, 16, 0},
                 {rich, 1, 16, 100},         {rich, 2, 2, 200},     {rich, 3, 16, 0},
                 {rich, 4, ERR_NO_FRAME, 0}, {bare, whole, 0, 0}};
    for (const auto& c : cases) {
        const GuardedBytes source(padded(c.gif));
        RGBQUAD palette[256];
        std::memset(palette, 0x11, sizeof palette);
        EXPECT_EQ(c.frame == whole    ? loadgifpalettefrombuffer(source.data(), palette)
                  : c.frame == global ? loadgifglobalpalettefrombuffer(source.data(), palette)
                                      : loadgifframepalettefrombuffer(source.data(), palette, c.frame),
                  c.colours)
            << "frame " << c.frame;
        for (int i = 0; i < 256; i++) {
            const int entry = i < c.colours ? (c.firstRed + i) << 16 | 2 * i << 8 | 3 * i : 0x11111111;
            ASSERT_EQ(fields(palette[i])[0], entry) << "frame " << c.frame << ", entry " << i;
        }
    }
}

TEST(GifComment, IsCopiedMeasuredAndCut) {
    const std::string text(700, 'q'), huge(40000, 'z');
    const auto start = [] { return GifBuilder().header(1, 1); };
    const struct {
        const char* what;
        GifBuilder file;
        int measured, length;
    } cases[] = {
        {"none", start().raw(dot).trailer(), ERR_NO_FRAME, ERR_NO_FRAME},
        {"in front of the frame", start().comment(text).raw(dot).trailer(), 700, 700},
        {"behind the frame", start().raw(dot).comment(text).trailer(), 700, 700},
        {"first of two", start().comment("abc").raw(dot).comment(text).trailer(), 3, 3},
        {"empty", start().comment("").raw(dot).trailer(), 0, 0},
        {"cut off", start().raw(dot).put(0x21, 0xFE, 9, 'a'), ERR_TRUNCATED, ERR_TRUNCATED},
        {"longer than measured", start().comment(huge).raw(dot), 31999, 40000},
        {"not a GIF", GifBuilder().raw(Bytes(200, 'x')), ERR_BAD_GIF, ERR_BAD_GIF},
    };
    for (const auto& c : cases) {
        const TempFile file(".gif");
        writeFile(file.name(), c.file.bytes);
        for (const int size : {0, 5})
            EXPECT_EQ(getgifcomment(file.name(), nullptr, size), c.measured) << c.what;
        for (const int size : {0, 1, 2, 255, 256, 700, 701, 50000}) {
            const GuardedBytes buffer(Bytes(size, 'E'));
            auto* p = reinterpret_cast<char*>(buffer.data());
            const int want = std::min(c.length, std::max(size - 1, 0));
            EXPECT_EQ(getgifcomment(file.name(), p, size), want) << c.what << " into " << size;
            EXPECT_TRUE(want < 0 || size == 0 || static_cast<int>(std::strlen(p)) == want)
                << c.what << " into " << size;
        }
    }
    EXPECT_EQ(getgifcomment("no such file.gif", nullptr, -1), ERR_OPEN);
}
