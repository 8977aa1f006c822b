#include <gtest/gtest.h>

#include <cstring>
#include <functional>

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
    Answer a = ask(richGif(), 3);
    EXPECT_EQ(a.code, 0);
    EXPECT_EQ(fields(a.frame), (Fields{0, 0, 0, 0, -1, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0}));
    EXPECT_EQ(a.file.bitsperpixel, 4);
    EXPECT_EQ(ask(richGif(), 4).code, ERR_NO_FRAME);
    EXPECT_EQ(ask(richGif(), 0x7FFFFFFF).code, ERR_NO_FRAME);
    EXPECT_EQ(ask(richGif(), -1).code, ERR_NO_FRAME);
    EXPECT_EQ(ask(richGif(), -0x7FFFFFFF - 1).code, ERR_NO_FRAME);
}

// Every question in its three forms, of one file.
#define QUESTION(name, ...)                                                 \
    {                                                                       \
#name, [&](Answers& a) { return name##frombuffer(buffer, __VA_ARGS__); }, \
     [&](Answers& a) { return name(narrow, __VA_ARGS__); },                    \
     [&](Answers& a) { return name##W(wide, __VA_ARGS__); } \
    }

TEST(GifInfo, AllFormsAgree) {
    const GuardedBytes source(richGif());
    const TempFile file(".gif");
    writeFile(file.name(), richGif());
    const void* const buffer = source.data();
    const char* const narrow = file.name();
    const wchar_t* const wide = file.wideName();
    struct Answers {
        GifFileInfo file;
        GifGlobalInfo global;
        GifFrameInfo frames[3];
        RGBQUAD palette[256];
        int count;
    } first, second, third;
    const struct {
        const char* name;
        std::function<int(Answers&)> buffer, narrow, wide;
    } questions[] = {
        QUESTION(gifinfo, &a.file),
        QUESTION(gifframecount, &a.count),
        QUESTION(gifinfoframe, &a.file, &a.global, a.frames, 1),
        QUESTION(gifinfoallframes, &a.global, a.frames, 3),
        QUESTION(loadgifpalette, a.palette),
        QUESTION(loadgifglobalpalette, a.palette),
        QUESTION(loadgifframepalette, a.palette, 2),
    };
    for (const auto& question : questions) {
        for (Answers* a : {&first, &second, &third}) std::memset(static_cast<void*>(a), 0, sizeof *a);
        const int code = question.buffer(first);
        EXPECT_EQ(question.narrow(second), code) << question.name;
        EXPECT_EQ(question.wide(third), code) << question.name;
        EXPECT_EQ(std::memcmp(&first, &second, sizeof first), 0) << question.name;
        EXPECT_EQ(std::memcmp(&first, &third, sizeof first), 0) << question.name;
    }
    EXPECT_EQ(gifinfo("no such file.gif", &first.file), ERR_OPEN);
    EXPECT_EQ(fields(first.file), (Fields{0, 0, 0, 0, -1, 0, 0, 0, 0}));
    EXPECT_EQ(gifinfo(nullptr, &first.file), ERR_OPEN);
    EXPECT_EQ(loadgifpalette("no such file.gif", first.palette), ERR_OPEN);
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
        Bytes bytes;
        int code, width, frames, countCode, loop, transparent;
    } cases[] = {
        {"header and trailer only", start().trailer().bytes, 0, 0, 0, 0, -1, -1},
        {"not a GIF", GifBuilder().text("JIF89a").bytes, ERR_BAD_GIF, 0, 0, ERR_BAD_GIF, 0, -1},
        {"gif in lower case", GifBuilder().text("gif89a").bytes, ERR_BAD_GIF, 0, 0, ERR_BAD_GIF, 0, -1},
        {"loop block in front of the control", start().loop(5).control(1, 0, 9).raw(frame).trailer().bytes, 0,
         1, 1, 0, 5, 9},
        {"loop block behind the control is not seen",
         start().control(1, 0, 9).loop(5).raw(frame).trailer().bytes, 0, 1, 1, 0, -1, 9},
        {"loop block behind a comment and another application",
         start().comment("c").application("MyProgram11").loop(6).raw(frame).trailer().bytes, 0, 1, 1, 0, 6,
         -1},
        {"control without transparency", start().control(0, 0, 9).raw(frame).trailer().bytes, 0, 1, 1, 0, -1,
         -1},
        {"stray bytes between blocks", start().raw({1, 2, 0, 99}).raw(frame).raw({7, 7}).trailer().bytes, 0,
         1, 1, 0, -1, -1},
        {"second frame's control does not reach back",
         start().raw(frame).control(1, 0, 9).raw(frame).trailer().bytes, 0, 1, 2, 0, -1, -1},
        {"global table of 2 colours", GifBuilder().header(3, 4, 0x80).table(1).raw(frame).trailer().bytes, 0,
         1, 1, 0, -1, -1},
    };
    for (const auto& c : cases) {
        const Answer a = ask(c.bytes, 0);
        EXPECT_EQ(a.code, c.code) << c.what;
        EXPECT_EQ(a.file.width, c.width) << c.what;
        EXPECT_EQ(a.global.loopcount, c.loop) << c.what;
        if (a.code == 0) {
            EXPECT_EQ(a.frame.transcolor, c.transparent) << c.what;
        }
        EXPECT_EQ(a.file.transcolor, c.transparent) << c.what;
        const GuardedBytes source(padded(c.bytes));
        int count = 77;
        EXPECT_EQ(gifframecountfrombuffer(source.data(), &count), c.countCode) << c.what;
        EXPECT_EQ(count, c.frames) << c.what;
    }
}

TEST(GifInfo, FilesThatEndEarly) {
    const Bytes frame = GifBuilder().descriptor(1, 1).data(2, {0}).bytes;
    const std::string filler(120, 'c');  // buffers need 100 bytes
    const auto start = [&] { return GifBuilder().header(3, 4).comment(filler); };
    const auto one = [&](const Bytes& bytes, int frameno) {
        const GuardedBytes source(bytes);
        return gifinfoframefrombuffer(source.data(), nullptr, nullptr, nullptr, frameno);
    };
    const auto count = [&](const Bytes& bytes) {
        const GuardedBytes source(bytes);
        int n = -5;
        const int code = gifframecountfrombuffer(source.data(), &n);
        return std::pair(code, n);
    };
    using Count = std::pair<int, int>;
    EXPECT_EQ(one(start().bytes, 0), ERR_BAD_GIF) << "nothing behind the header's extensions";
    EXPECT_EQ(count(start().bytes), Count(ERR_BAD_GIF, 0));
    EXPECT_EQ(one(start().control(0).bytes, 0), 0) << "an extension, but no frame";
    EXPECT_EQ(one(start().control(0).bytes, 1), ERR_NO_FRAME);
    EXPECT_EQ(one(start().raw(frame).bytes, 0), 0) << "no trailer";
    EXPECT_EQ(one(start().raw(frame).bytes, 1), ERR_NO_FRAME);
    EXPECT_EQ(count(start().raw(frame).bytes), Count(0, 1));
    Bytes cut = start().raw(frame).bytes;
    cut.pop_back();
    EXPECT_EQ(one(cut, 0), 0) << "the last frame's data is not looked at";
    EXPECT_EQ(one(cut, 1), ERR_TRUNCATED);
    EXPECT_EQ(count(cut), Count(ERR_TRUNCATED, 0));
    cut = start().comment("abc").bytes;
    cut.pop_back();
    EXPECT_EQ(one(cut, 0), ERR_TRUNCATED);
    EXPECT_EQ(one(start().raw({0x21}).bytes, 0), ERR_TRUNCATED);
    const GuardedBytes brief(99);
    EXPECT_EQ(gifinfofrombuffer(brief.data(), nullptr), ERR_SOURCE_BUFFER);
}

TEST(GifPalette, TakesTheFramesOwnTableElseTheGlobalOne) {
    const GuardedBytes source(richGif());
    RGBQUAD palette[256];
    std::memset(palette, 0x11, sizeof palette);
    EXPECT_EQ(loadgifpalettefrombuffer(source.data(), palette), 16);
    EXPECT_EQ(palette[15].rgbRed, 15);
    EXPECT_EQ(palette[15].rgbGreen, 30);
    EXPECT_EQ(palette[15].rgbBlue, 45);
    EXPECT_EQ(palette[15].rgbReserved, 0);
    EXPECT_EQ(palette[16].rgbRed, 0x11);
    EXPECT_EQ(loadgifframepalettefrombuffer(source.data(), palette, 1), 16);
    EXPECT_EQ(palette[15].rgbRed, 115);
    EXPECT_EQ(loadgifframepalettefrombuffer(source.data(), palette, 2), 2);
    EXPECT_EQ(palette[1].rgbRed, 201);
    EXPECT_EQ(palette[2].rgbRed, 102);
    EXPECT_EQ(loadgifglobalpalettefrombuffer(source.data(), palette), 16);
    EXPECT_EQ(palette[1].rgbRed, 1);
    EXPECT_EQ(loadgifframepalettefrombuffer(source.data(), palette, 3), 16) << "behind the last frame";
    EXPECT_EQ(loadgifframepalettefrombuffer(source.data(), palette, 4), ERR_NO_FRAME);
}

TEST(GifPalette, WithoutAnyTableNothingIsStored) {
    const GuardedBytes source(
        padded(GifBuilder().header(1, 1).descriptor(1, 1).data(2, {0}).trailer().bytes));
    RGBQUAD palette[256];
    std::memset(palette, 0x11, sizeof palette);
    EXPECT_EQ(loadgifpalettefrombuffer(source.data(), palette), 0);
    EXPECT_EQ(palette[0].rgbRed, 0x11);
}

TEST(GifComment, IsCopiedMeasuredAndCut) {
    const Bytes frame = GifBuilder().descriptor(1, 1).data(2, {0}).bytes;
    const std::string text(700, 'q');
    const struct {
        const char* what;
        Bytes bytes;
        int length;
    } cases[] = {
        {"none", GifBuilder().header(1, 1).raw(frame).trailer().bytes, ERR_NO_FRAME},
        {"in front of the frame", GifBuilder().header(1, 1).comment(text).raw(frame).trailer().bytes, 700},
        {"behind the frame", GifBuilder().header(1, 1).raw(frame).comment(text).trailer().bytes, 700},
        {"first of two", GifBuilder().header(1, 1).comment("abc").raw(frame).comment(text).trailer().bytes,
         3},
        {"empty", GifBuilder().header(1, 1).comment("").raw(frame).trailer().bytes, 0},
        {"cut off", GifBuilder().header(1, 1).raw(frame).raw({0x21, 0xFE, 9, 'a'}).bytes, ERR_TRUNCATED},
        {"longer than measured", GifBuilder().header(1, 1).comment(std::string(40000, 'z')).raw(frame).bytes,
         31999},
        {"not a GIF", Bytes(200, 'x'), ERR_BAD_GIF},
    };
    for (const auto& c : cases) {
        const TempFile file(".gif");
        writeFile(file.name(), c.bytes);
        EXPECT_EQ(getgifcomment(file.name(), nullptr, 0), c.length) << c.what;
        EXPECT_EQ(getgifcommentW(file.wideName(), nullptr, 5), c.length) << c.what;
        for (const int size : {0, 1, 2, 255, 256, 700, 701, 50000}) {
            const GuardedBytes buffer(Bytes(static_cast<std::size_t>(size), 'E'));
            auto* p = reinterpret_cast<char*>(buffer.data());
            const int whole = c.length == 31999 ? 40000 : c.length;
            const int want = whole < 0 ? whole : std::min(whole, std::max(size - 1, 0));
            EXPECT_EQ(getgifcomment(file.name(), p, size), want) << c.what << " into " << size;
            if (want >= 0 && size > 0) {
                EXPECT_EQ(std::strlen(p), static_cast<std::size_t>(want)) << c.what << " into " << size;
            }
        }
    }
    char buffer[10];
    EXPECT_EQ(getgifcomment("no such file.gif", buffer, 10), ERR_OPEN);
    EXPECT_EQ(getgifcomment("no such file.gif", buffer, -1), ERR_OPEN);
}
