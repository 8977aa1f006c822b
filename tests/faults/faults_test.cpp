// The finished DLL while memory runs out and files go wrong: every export, with each of its system calls
// failing in turn. Each time: a result code, nothing kept, no lock held, no partial file, and the next call
// works as if nothing had been.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <regex>
#include <set>

#include "orn32.h"
#include "tests/faults/calls.h"
#include "tests/faults/import_table.h"

using namespace faults;

namespace {

std::string folder() {
    char path[MAX_PATH];
    GetTempPathA(MAX_PATH, path);
    return path + std::string("orn32-faults-") + std::to_string(GetCurrentProcessId());
}

// The exports that ask nothing of the system: no memory, no file, no drawing object.
const std::set<std::string> quietExports = {"GifDecode",
                                            "GifEncode",
                                            "InitializeLibrary",
                                            "bmpinfofrombuffer",
                                            "calchisto",
                                            "checkrange16_",
                                            "checkrange1_",
                                            "checkrange_",
                                            "colortogray",
                                            "convert1bitto8bit",
                                            "convert1bitto8bitsmooth",
                                            "convertgray16to8",
                                            "convertgray8to16",
                                            "copyimage",
                                            "copyimagebits",
                                            "copyimgdes",
                                            "defaultpalette",
                                            "hsv2rgb",
                                            "imageareatorect",
                                            "isgrayscaleimage",
                                            "jpeggeterror",
                                            "jpegsetthumbnailsize",
                                            "jpegsetxyresolution",
                                            "pnggeterror",
                                            "pngsetxyresolution",
                                            "printimage",
                                            "recttoimagearea",
                                            "rgb2hsv",
                                            "setgifcomment",
                                            "setimagearea",
                                            "setupimgdes",
                                            "standardpalette",
                                            "zeroimgdes"};

std::set<std::string> exportsOf(HMODULE dll) {
    auto* base = reinterpret_cast<std::uint8_t*>(dll);
    const auto* headers =
        reinterpret_cast<IMAGE_NT_HEADERS32*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const auto* exports = reinterpret_cast<IMAGE_EXPORT_DIRECTORY*>(
        base + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    const auto* names = reinterpret_cast<DWORD*>(base + exports->AddressOfNames);
    std::set<std::string> found;
    for (DWORD i = 0; i < exports->NumberOfNames; i++)
        found.insert(reinterpret_cast<const char*>(base + names[i]));
    return found;
}

class Faults : public testing::Test {
 protected:
    static void SetUpTestSuite() {
        calls = makeCalls(folder());
        for (const Call& call : calls) {
            start({});
            results.push_back(call.run());
            outputs.push_back(call.output());
        }
    }
    static void TearDownTestSuite() {
        calls.clear();
        std::filesystem::remove_all(folder());
    }

    static std::vector<Call> calls;
    static std::vector<int> results;  // of the calls when nothing fails
    static std::vector<unsigned> outputs;
};

std::vector<Call> Faults::calls;
std::vector<int> Faults::results;
std::vector<unsigned> Faults::outputs;

std::string describe(const Call& call, const Plan& plan) {
    return call.name + ", " + nameOf(plan.kind) + " " + std::to_string(plan.n) +
           (plan.forGood ? " and later" : "") + (plan.isShort ? " short" : "");
}

bool isACode(int code) {
    return code <= 0 && code >= ERR_TOO_LARGE;
}

// An image operation that takes a lock may still be in it: another thread can tell.
bool othersCanCall(const Call& call) {
    auto other = std::async(std::launch::async, call.run);
    return other.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

}  // namespace

class FaultsOf : public Faults, public testing::WithParamInterface<Kind> {
 protected:
    // Whether calls of that kind may fail unnoticed: a load takes an early end for the end of the picture.
    static bool mustFail(const Plan& plan, const Call& call) {
        return plan.kind != Kind::read && !(plan.kind == Kind::seek && call.made.empty());
    }

    // An animation that cannot be opened is made anew, a version is told without its build number, and a
    // bitmap whose pixels are loaded but whose palette cannot be read has none. For the pixels a file takes
    // two openings and a buffer.
    static bool mayDiffer(const Plan& plan, const Call& call) {
        if (call.appends) return plan.kind == Kind::open && plan.n == 1;
        if (plan.kind == Kind::version) return call.name == "Orrinversionex";
        if (!call.name.starts_with("loadbmp") || !call.name.ends_with("b.bmp")) return false;
        const bool fromFile = call.name.find("frombuffer") == std::string::npos;
        return (plan.kind == Kind::open && plan.n > 2) ||
               (plan.kind == Kind::allocation && plan.n > fromFile);
    }

    // One run with the plan. Returns false when the call has run through without a fault.
    static bool runOnce(std::size_t which, const Plan& plan) {
        const Call& call = calls[which];
        const std::string what = describe(call, plan);
        if (!call.made.empty() && !call.appends) std::filesystem::remove(call.made);
        const Held before = held();
        start(plan);
        const int code = call.run();
        const bool struck = hasStruck();
        stop();
        EXPECT_EQ(held(), before) << what << ": blocks " << held().blocks - before.blocks << ", global "
                                  << held().globals - before.globals << ", files "
                                  << held().files - before.files << ", GDI objects "
                                  << held().objects - before.objects;
        if (!struck) {
            EXPECT_EQ(code, results[which]) << what;
            return false;
        }
        if (mustFail(plan, call) && code == results[which] && !mayDiffer(plan, call)) {
            EXPECT_EQ(call.output(), outputs[which]) << what << ": a success that is none";
        } else if (code != results[which]) {
            EXPECT_TRUE(isACode(code)) << what << ": " << code;
            if (!call.made.empty() && !call.appends) {
                EXPECT_FALSE(std::filesystem::exists(call.made)) << what << ": a partial file";
            }
        }
        EXPECT_EQ(call.run(), results[which]) << what << ": the next call";
        EXPECT_EQ(call.output(), outputs[which]) << what << ": the next call's output";
        return true;
    }
};

TEST_P(FaultsOf, EachOneInEveryCallIsReportedAndLeavesNothingBehind) {
    int tried = 0;
    for (std::size_t which = 0; which < calls.size(); which++) {
        bool everStruck = false;
        for (const bool isShort : {false, true})
            for (const bool forGood : {false, true}) {
                const bool canBeShort = GetParam() == Kind::read || GetParam() == Kind::write;
                if (isShort && !canBeShort) continue;
                for (int n = 1; runOnce(which, {GetParam(), n, forGood, isShort}); n++, tried++)
                    everStruck = true;
            }
        if (!everStruck) continue;
        EXPECT_TRUE(othersCanCall(calls[which])) << calls[which].name << " holds a lock";
    }
    RecordProperty("tried", tried);
    std::printf("%s: %d faults in %zu calls\n", nameOf(GetParam()), tried, calls.size());
    EXPECT_GT(tried, 0);
}

INSTANTIATE_TEST_SUITE_P(Kinds, FaultsOf,
                         testing::Values(Kind::allocation, Kind::globalMemory, Kind::open, Kind::read,
                                         Kind::write, Kind::seek, Kind::end, Kind::temporary,
                                         Kind::dibSection, Kind::palette, Kind::deviceContext,
                                         Kind::version));

TEST_F(Faults, EveryExportIsCalledAndAsksTheSystemForNothingOrIsMadeToFail) {
    std::set<std::string> called, asking;
    for (const Call& call : calls) {
        called.insert(call.exportName());
        start({});
        call.run();
        for (int kind = 0; kind < static_cast<int>(Kind::count); kind++)
            if (callsOf(static_cast<Kind>(kind))) asking.insert(call.exportName());
    }
    const std::set<std::string> exports = exportsOf(GetModuleHandleA("orn32.dll"));
    EXPECT_EQ(exports.size(), 147u);
    EXPECT_EQ(called, exports);
    for (const std::string& name : exports)
        EXPECT_NE(asking.contains(name), quietExports.contains(name)) << name;
}

// loadbmp, loadbmpW and loadbmpfrombuffer of the same file, for example.
TEST_F(Faults, TheFormsOfAnExportReadTheSameInAFileAndABuffer) {
    std::map<std::string, std::pair<int, unsigned>> answers;
    std::set<std::string> compared;
    for (std::size_t i = 0; i < calls.size(); i++) {
        if (!calls[i].made.empty() || calls[i].name == "OrrinversiondateW") continue;
        const std::string base = std::regex_replace(calls[i].name, std::regex("frombuffer|W(?= |$)"), "");
        const std::pair answer = {results[i], outputs[i]};
        if (answers.try_emplace(base, answer).second) continue;
        EXPECT_EQ(answers[base], answer) << calls[i].name;
        compared.insert(calls[i].name);
    }
    EXPECT_GT(compared.size(), 50u);
}

// When an append fails, the file has the frames it had.
TEST_F(Faults, AnAppendThatFailsLeavesTheFileAsItWas) {
    const std::string name = folder() + "\\f.gif", original = folder() + "\\e.gif";
    const auto contents = [](const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(file)), {});
    };
    const std::string before = contents(original);
    for (const Call& call : calls) {
        if (!call.appends) continue;
        for (const Kind kind : {Kind::allocation, Kind::open, Kind::write, Kind::read, Kind::seek, Kind::end})
            // A file that cannot be opened is made anew: the first open is left to succeed.
            for (int n = kind == Kind::open ? 2 : 1;; n++) {
                start({kind, n, false, false});
                const int code = call.run();
                const bool struck = hasStruck();
                stop();
                if (!struck) break;
                EXPECT_LT(code, 0) << call.name << ", " << nameOf(kind) << " " << n;
                if (code < 0 && contents(name) != before)
                    ADD_FAILURE() << call.name << ", " << nameOf(kind) << " " << n;
            }
    }
}

// The first read looks at what the file is, later ones decode it.
TEST_F(Faults, AFailingReadOfAJpegLeavesItsDetail) {
    constexpr int readFailure = -104;
    const std::string name = folder() + "\\a.jpg";
    imgdes image;
    ASSERT_EQ(allocimage(&image, 61, 47, 24), 0);
    for (const bool forGood : {false, true})
        for (int n = 1;; n++) {
            start({Kind::read, n, forGood, false});
            const int code = loadjpg(name.c_str(), &image);
            const bool struck = hasStruck();
            stop();
            if (!struck) {
                EXPECT_GT(n, 2);
                break;
            }
            EXPECT_EQ(code, n == 1 ? ERR_BAD_JPEG : ERR_TRUNCATED) << "read " << n;
            EXPECT_EQ(jpeggeterror(), readFailure) << "read " << n;
        }
    freeimage(&image);
}

// The halftone palette is made by the first call that wants it, and kept: only that call can be made to fail.
class HalftonePalette : public testing::Environment {
    void SetUp() override {
        imgdes image;
        ASSERT_EQ(allocDIB(&image, 1, 1, 8), 0);
        start({Kind::palette, 1});
        EXPECT_EQ(standardpalette(&image), 0);
        EXPECT_EQ(standardpalette(&image), 256);
        stop();
        freeimage(&image);
    }
};

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new HalftonePalette);
    hook(GetModuleHandleA("orn32.dll"));
    return RUN_ALL_TESTS();
}
