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
    int code = 1;
    GifFileInfo file;
    GifGlobalInfo global;
    GifFrameInfo frame;
};

Answer ask(const Bytes& bytes, int frameno) {
    const GuardedBytes source(padded(bytes));
    Answer answer;
    std::memset(&answer.file, 0x55, sizeof answer.file);
    std::memset(&answer.global, 0x55, sizeof answer.global);
    std::memset(&answer.frame, 0x55, sizeof answer.frame);
    answer.code = gifinfoframefrombuffer(source.data(), &answer.file, &answer.global, &answer.frame, frameno);
    return answer;
}

template <class Record>
std::vector<int> fields(const Record& record) {
    std::vector<int> values(sizeof record / 4);
    std::memcpy(values.data(), &record, sizeof record);
    return values;
}

using Fields = std::vector<int>;

}  // namespace

TEST(GifInfo, TellsEverythingOfEveryFrame) {
    const Bytes gif = richGif();
    Answer a = ask(gif, 0);
    EXPECT_EQ(a.code, 0);
    EXPECT_EQ(fields(a.file), (Fields{12, 9, 8, 4, 3, 0, 4, 89, 8}));
    // 13 + 48 table, 19 loop, 8 control, 2 + 12 + 5 application, 10 descriptor, 1 code size
    EXPECT_EQ(fields(a.global), (Fields{40, 30, 1, 5, 7, 4, 8, 49, 0, 16, 13}));
    EXPECT_EQ(fields(a.frame), (Fields{1, 2, 0, 12, 3, 4, 0, 8, 12, 9, 0, 0, 4, 0, 0, 118}));

    a = ask(gif, 1);
    EXPECT_EQ(a.code, 0);
    EXPECT_EQ(fields(a.file), (Fields{12, 9, 8, 4, -1, 1, 4, 89, 8}));
    const std::string comment =
        "\x0D"
        "first comment";
    EXPECT_EQ(std::memcmp(&gif[a.global.commentoffset], comment.data(), comment.size()), 0);
    EXPECT_EQ(a.frame.localpaloffset, a.frame.dataoffset - 49);
    EXPECT_EQ(gif[a.frame.localpaloffset], 100);
    EXPECT_EQ(gif[a.frame.dataoffset - 1], 4);
    a.frame.localpaloffset = a.frame.dataoffset = 0;
    EXPECT_EQ(fields(a.frame), (Fields{3, 4, 1, 300, -1, 0, 1, 8, 12, 9, 1, 1, 4, 16, 0, 0}));

    a = ask(gif, 2);
    EXPECT_EQ(a.code, 0);
    EXPECT_EQ(fields(a.file), (Fields{7, 5, 8, 1, -1, 0, 2, 89, 1}));
    EXPECT_EQ(gif[a.global.commentoffset], 255) << "the last comment's first sub-block";
    EXPECT_EQ(gif[a.frame.localpaloffset], 200);
    a.frame.localpaloffset = a.frame.dataoffset = 0;
    EXPECT_EQ(fields(a.frame), (Fields{600, 500, 1, 0, -1, 0, 0, 1, 7, 5, 2, 0, 2, 2, 0, 0}));
}

TEST(GifInfo, TheFrameBehindTheLastIsEmptyAndTheNextIsNone) {
    const Answer a = ask(richGif(), 3);
    EXPECT_EQ(a.code, 0);
    EXPECT_EQ(fields(a.frame), (Fields{0, 0, 0, 0, -1, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0}));
    EXPECT_EQ(a.file.bitsperpixel, 4);
    for (const int frame : {4, 0x7FFFFFFF, -1, -0x7FFFFFFF - 1})
        EXPECT_EQ(ask(richGif(), frame).code, ERR_NO_FRAME) << frame;
}

TEST(GifInfo, AllFormsAgree) {
    const GuardedBytes source(richGif());
    const TempFile file(".gif");
    writeFile(file.name(), richGif());
    struct Answers {
        GifFileInfo file;
        GifGlobalInfo global;
        GifFrameInfo frames[3];
        RGBQUAD palette[256];
        int count;
    };
    int question = 0;
    const auto compare = [&](auto fromBuffer, auto narrow, auto wide, auto ask) {
        Answers a[3] = {};
        const int code = ask(fromBuffer, source.data(), a[0]);
        EXPECT_EQ(ask(narrow, file.name(), a[1]), code) << "question " << question;
        EXPECT_EQ(ask(wide, file.wideName(), a[2]), code) << "question " << question;
        EXPECT_EQ(std::memcmp(&a[0], &a[1], sizeof *a), 0) << "question " << question;
        EXPECT_EQ(std::memcmp(&a[0], &a[2], sizeof *a), 0) << "question " << question;
        question++;
    };
    compare(gifinfofrombuffer, gifinfo, gifinfoW,
            [](auto f, auto from, Answers& a) { return f(from, &a.file); });
    compare(gifframecountfrombuffer, gifframecount, gifframecountW,
            [](auto f, auto from, Answers& a) { return f(from, &a.count); });
    compare(gifinfoframefrombuffer, gifinfoframe, gifinfoframeW,
            [](auto f, auto from, Answers& a) { return f(from, &a.file, &a.global, a.frames, 1); });
    compare(gifinfoallframesfrombuffer, gifinfoallframes, gifinfoallframesW,
            [](auto f, auto from, Answers& a) { return f(from, &a.global, a.frames, 3); });
    compare(loadgifpalettefrombuffer, loadgifpalette, loadgifpaletteW,
            [](auto f, auto from, Answers& a) { return f(from, a.palette); });
    compare(loadgifglobalpalettefrombuffer, loadgifglobalpalette, loadgifglobalpaletteW,
            [](auto f, auto from, Answers& a) { return f(from, a.palette); });
    compare(loadgifframepalettefrombuffer, loadgifframepalette, loadgifframepaletteW,
            [](auto f, auto from, Answers& a) { return f(from, a.palette, 2); });
    GifFileInfo none;
    EXPECT_EQ(gifinfo("no such file.gif", &none), ERR_OPEN);
    EXPECT_EQ(fields(none), (Fields{0, 0, 0, 0, -1, 0, 0, 0, 0}));
}

TEST(GifInfo, AllFramesAreFilledUpToTheMaximumAndNoFurther) {
    const GuardedBytes source(richGif());
    for (int maximum = -1; maximum <= 6; maximum++) {
        const GuardedBytes memory(static_cast<std::size_t>(std::max(maximum, 0)) * sizeof(GifFrameInfo));
        std::memset(memory.data(), 0x77, memory.size());
        auto* frames = reinterpret_cast<GifFrameInfo*>(memory.data());
        GifGlobalInfo global;
        EXPECT_EQ(gifinfoallframesfrombuffer(source.data(), &global, frames, maximum),
                  maximum > 4 ? ERR_NO_FRAME : 0)
            << maximum;
        EXPECT_EQ(global.screenwidth, 40);
        for (int k = 0; k < std::min(maximum, 4); k++)
            EXPECT_EQ(fields(frames[k]), fields(ask(richGif(), k).frame)) << k << " of " << maximum;
        if (maximum > 4) {
            EXPECT_EQ(frames[4].left, 0x77777777) << "beyond the trailer";
        }
    }
}

TEST(GifInfo, OddFiles) {
    const Bytes frame = GifBuilder().descriptor(1, 1).data(2, {0}).bytes;
    const auto start = [] { return GifBuilder().header(3, 4); };
    const struct {
        const char* what;
        GifBuilder file;
        int code, frames, loop, transparent;
    } cases[] = {
        {"header and trailer only", start(), 0, 0, -1, -1},
        {"not a GIF", GifBuilder().text("JIF89a"), ERR_BAD_GIF, 0, 0, -1},
        {"gif in lower case", GifBuilder().text("gif89a"), ERR_BAD_GIF, 0, 0, -1},
        {"loop before control", start().loop(5).control(1, 0, 9).raw(frame), 0, 1, 5, 9},
        {"loop behind control is not seen", start().control(1, 0, 9).loop(5).raw(frame), 0, 1, -1, 9},
        {"loop third", start().comment("c").application("MyProgram11").loop(6).raw(frame), 0, 1, 6, -1},
        {"control without transparency", start().control(0, 0, 9).raw(frame), 0, 1, -1, -1},
        {"stray bytes", start().raw({1, 2, 0, 99}).raw(frame).raw({7, 7}), 0, 1, -1, -1},
        {"second frame's control", start().raw(frame).control(1, 0, 9).raw(frame), 0, 2, -1, -1},
        {"table of 2 colours", GifBuilder().header(3, 4, 0x80).table(1).raw(frame), 0, 1, -1, -1},
    };
    for (auto c : cases) {
        const Bytes file = c.file.trailer().bytes;
        const Answer a = ask(file, 0);
        EXPECT_EQ(a.code, c.code) << c.what;
        EXPECT_EQ(a.file.width, c.frames ? 1 : 0) << c.what;
        EXPECT_EQ(a.global.loopcount, c.loop) << c.what;
        EXPECT_EQ(a.file.transcolor, c.transparent) << c.what;
        EXPECT_TRUE(a.code != 0 || a.frame.transcolor == c.transparent) << c.what;
        int count = 77;
        EXPECT_EQ(gifframecountfrombuffer(GuardedBytes(padded(file)).data(), &count), c.code) << c.what;
        EXPECT_EQ(count, c.frames) << c.what;
    }
}

TEST(GifInfo, FilesThatEndEarly) {
    const Bytes frame = GifBuilder().descriptor(1, 1).data(2, {0}).bytes;
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
        {"no trailer", start + frame, 0, ERR_NO_FRAME, 0, 1},
        {"cut data", start + cut(frame), 0, ERR_TRUNCATED, ERR_TRUNCATED, 0},
        {"cut comment", cut(start), ERR_TRUNCATED, ERR_TRUNCATED, ERR_TRUNCATED, 0},
        {"cut extension", start + Bytes{0x21}, ERR_TRUNCATED, ERR_TRUNCATED, ERR_TRUNCATED, 0},
    };
    for (const auto& c : cases) {
        const GuardedBytes source(c.bytes);
        int count = -5;
        const auto info = [&](int frameno) {
            return gifinfoframefrombuffer(source.data(), nullptr, nullptr, nullptr, frameno);
        };
        EXPECT_EQ(info(0), c.first) << c.what;
        EXPECT_EQ(info(1), c.second) << c.what;
        EXPECT_EQ(gifframecountfrombuffer(source.data(), &count), c.countCode) << c.what;
        EXPECT_TRUE(count == c.count || c.count == anyCount) << c.what << ": " << count;
    }
    EXPECT_EQ(gifinfofrombuffer(GuardedBytes(99).data(), nullptr), ERR_SOURCE_BUFFER);
}

TEST(GifPalette, TakesTheFramesOwnTableElseTheGlobalOneElseNone) {
    const GuardedBytes source(richGif());
    const GuardedBytes bare(padded(GifBuilder().header(1, 1).descriptor(1, 1).data(2, {0}).trailer().bytes));
    constexpr int global = -1, whole = -2;  // the questions that name no frame
    const struct {
        const void* source;
        int frame, colours, firstRed;
    } cases[] = {{source.data(), whole, 16, 0}, {source.data(), global, 16, 0},     {source.data(), 0, 16, 0},
                 {source.data(), 1, 16, 100},   {source.data(), 2, 2, 200},         {source.data(), 3, 16, 0},
                 {bare.data(), whole, 0, 0},    {source.data(), 4, ERR_NO_FRAME, 0}};
    for (const auto& c : cases) {
        RGBQUAD palette[256];
        std::memset(palette, 0x11, sizeof palette);
        EXPECT_EQ(c.frame == whole    ? loadgifpalettefrombuffer(c.source, palette)
                  : c.frame == global ? loadgifglobalpalettefrombuffer(c.source, palette)
                                      : loadgifframepalettefrombuffer(c.source, palette, c.frame),
                  c.colours);
        for (int i = 0; i < 256; i++) {
            const int entry = i < c.colours ? (c.firstRed + i) << 16 | 2 * i << 8 | 3 * i : 0x11111111;
            ASSERT_EQ(fields(palette[i])[0], entry) << "frame " << c.frame << ", entry " << i;
        }
    }
}

TEST(GifComment, IsCopiedMeasuredAndCut) {
    const Bytes frame = GifBuilder().descriptor(1, 1).data(2, {0}).bytes;
    const std::string text(700, 'q'), huge(40000, 'z');
    const auto start = [] { return GifBuilder().header(1, 1); };
    const struct {
        const char* what;
        GifBuilder file;
        int length;
    } cases[] = {
        {"none", start().raw(frame).trailer(), ERR_NO_FRAME},
        {"in front of the frame", start().comment(text).raw(frame).trailer(), 700},
        {"behind the frame", start().raw(frame).comment(text).trailer(), 700},
        {"first of two", start().comment("abc").raw(frame).comment(text).trailer(), 3},
        {"empty", start().comment("").raw(frame).trailer(), 0},
        {"cut off", start().raw(frame).raw({0x21, 0xFE, 9, 'a'}), ERR_TRUNCATED},
        {"longer than measured", start().comment(huge).raw(frame), 31999},
        {"not a GIF", GifBuilder().raw(Bytes(200, 'x')), ERR_BAD_GIF},
    };
    for (const auto& c : cases) {
        const TempFile file(".gif");
        writeFile(file.name(), c.file.bytes);
        EXPECT_EQ(getgifcomment(file.name(), nullptr, 0), c.length) << c.what;
        EXPECT_EQ(getgifcommentW(file.wideName(), nullptr, 5), c.length) << c.what;
        for (const int size : {0, 1, 2, 255, 256, 700, 701, 50000}) {
            const GuardedBytes buffer(Bytes(static_cast<std::size_t>(size), 'E'));
            auto* p = reinterpret_cast<char*>(buffer.data());
            const int whole = c.length == 31999 ? 40000 : c.length;
            const int want = whole < 0 ? whole : std::min(whole, std::max(size - 1, 0));
            EXPECT_EQ(getgifcomment(file.name(), p, size), want) << c.what << " into " << size;
            EXPECT_TRUE(want < 0 || size == 0 || static_cast<int>(std::strlen(p)) == want)
                << c.what << " into " << size;
        }
    }
    EXPECT_EQ(getgifcomment("no such file.gif", nullptr, -1), ERR_OPEN);
}
