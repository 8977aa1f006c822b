// Saves in a process that may not write more than some KB to a file: writes come back short, and then fail.
// The script disk_full_test.sh sets the limit.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <filesystem>

#include "tests/faults/call_set.h"
#include "tests/faults/import_table.h"

using namespace faults;

namespace {

class DiskFull : public testing::Test {
 protected:
    void SetUp() override {
        if (!std::getenv("ORN32_FILES_ARE_LIMITED")) GTEST_SKIP() << "files are not limited";
        char path[MAX_PATH];
        GetTempPathA(MAX_PATH, path);
        folder = path + std::string("orn32-full-") + std::to_string(GetCurrentProcessId());
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string folder;
};

struct Save {
    const char* name;
    std::function<int(const char* name, const WCHAR* wide, imgdes* colour, imgdes* palette)> run;
};
const Save saves[] = {
    {"savebmp", [](auto n, auto, auto c, auto) { return savebmp(n, c, 0); }},
    {"savebmpW, run lengths", [](auto, auto w, auto, auto p) { return savebmpW(w, p, 1); }},
    {"savegif", [](auto n, auto, auto, auto p) { return savegif(n, p); }},
    {"savegifW", [](auto, auto w, auto, auto p) { return savegifW(w, p); }},
    {"savegifex", [](auto n, auto, auto, auto p) { return savegifex(n, p, GIF_INTERLACE, 0); }},
    {"savegifframe",
     [](auto n, auto, auto, auto p) {
         GifGlobalInfo global{};
         GifFrameInfo frame{};
         frame.haslocalpalette = 1;
         return savegifframe(n, p, &global, &frame, 0);
     }},
    {"savepng", [](auto n, auto, auto c, auto) { return savepng(n, c, 0); }},
    {"savepngW", [](auto, auto w, auto, auto p) { return savepngW(w, p, 1); }},
    {"savejpg", [](auto n, auto, auto c, auto) { return savejpg(n, c, 95); }},
    {"savejpgW", [](auto, auto w, auto, auto p) { return savejpgW(w, p, 95); }},
    {"savejpgex, progressive",
     [](auto n, auto, auto c, auto) { return savejpgex(n, c, 95, JPEG_PROGRESSIVE); }},
    {"savejpgexW, optimised",
     [](auto, auto w, auto c, auto) { return savejpgexW(w, c, 95, JPEG_OPTIMIZED); }},
};

}  // namespace

TEST_F(DiskFull, ASaveReportsItAndLeavesNoFile) {
    const Shared colour = picture(400, 300, 24), palette = picture(400, 300, 8), small = picture(20, 20, 8);
    const std::string name = folder + "\\file";
    const std::wstring wide(name.begin(), name.end());
    for (const Save& save : saves) {
        const Held before = held();
        EXPECT_EQ(save.run(name.c_str(), wide.c_str(), *colour, *palette), ERR_WRITE) << save.name;
        EXPECT_FALSE(std::filesystem::exists(name)) << save.name;
        EXPECT_EQ(held(), before) << save.name;
        EXPECT_EQ(save.run(name.c_str(), wide.c_str(), *small, *small), 0)
            << save.name << ", a small picture";
        EXPECT_TRUE(DeleteFileA(name.c_str())) << save.name;
    }
}

TEST_F(DiskFull, AnAppendReportsItAndLeavesTheFileAsItWas) {
    const Shared large = picture(400, 300, 8), small = picture(20, 20, 8);
    const std::string name = folder + "\\animation";
    GifGlobalInfo global{};
    GifFrameInfo frame{};
    frame.haslocalpalette = 1;
    ASSERT_EQ(savegifframe(name.c_str(), *small, &global, &frame, 0), 0);
    const unsigned before = hashOfFile(name);
    EXPECT_EQ(savegifframe(name.c_str(), *large, &global, &frame, 0), ERR_WRITE);
    EXPECT_EQ(hashOfFile(name), before);
    EXPECT_EQ(savegifframe(name.c_str(), *small, &global, &frame, 0), 0);
    EXPECT_NE(hashOfFile(name), before);
}
