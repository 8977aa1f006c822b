// The finished DLL while memory runs out and files go wrong: every export, with each of its system calls
// failing in turn. Each time: a result code, nothing kept, no lock held, no partial file, and the next call
// works as if nothing had been.
#include <gtest/gtest.h>
#include <windows.h>

#include <future>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "orn32.h"
#include "tests/faults/calls.h"
#include "tests/faults/import_table.h"

using namespace faults;

namespace {

// The exports that ask nothing of the system: no memory, no file, no drawing object.
const char* const quietExports =
    "GifDecode GifEncode InitializeLibrary bmpinfofrombuffer calchisto checkrange16_ checkrange1_ "
    "checkrange_ "
    "colortogray convert1bitto8bit convert1bitto8bitsmooth convertgray16to8 convertgray8to16 copyimage "
    "copyimagebits copyimgdes defaultpalette hsv2rgb imageareatorect isgrayscaleimage jpeggeterror "
    "jpegsetthumbnailsize jpegsetxyresolution pnggeterror pngsetxyresolution printimage recttoimagearea "
    "rgb2hsv "
    "setgifcomment setimagearea setupimgdes standardpalette zeroimgdes";

class Faults : public testing::TestWithParam<Kind> {
 protected:
    static void SetUpTestSuite() { set = std::make_unique<CallSet>(); }
    static void TearDownTestSuite() { set.reset(); }
    static inline std::unique_ptr<CallSet> set;
};

std::string describe(const Call& call, const Plan& plan) {
    return call.name + ", " + nameOf(plan.kind) + " " + std::to_string(plan.n) +
           (plan.forGood ? " and later" : "") + (plan.isShort ? " short" : "");
}

// An image operation that takes a lock may still be in it: another thread can tell.
bool othersCanCall(const Call& call) {
    auto other = std::async(std::launch::async, call.run);
    return other.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

// A load takes an early end for the end of the picture.
bool mayPassUnnoticed(const Plan& plan, const Call& call) {
    return call.file.empty() && (plan.kind == Kind::read || plan.kind == Kind::seek);
}

// An animation that cannot be opened is made anew, a version is told without its build number, and a bitmap
// whose pixels are loaded but whose palette cannot be read has none. For the pixels a file takes two openings
// and a buffer.
bool mayDiffer(const Plan& plan, const Call& call) {
    if (call.fileBefore != 0) return plan.kind == Kind::open && plan.n == 1;
    if (plan.kind == Kind::version) return call.exportName() == "Orrinversionex";
    if (!call.exportName().starts_with("loadbmp") || !call.name.ends_with("to8)")) return false;
    return (plan.kind == Kind::open && plan.n > 2) ||
           (plan.kind == Kind::allocation && plan.n > (call.exportName() != "loadbmpfrombuffer"));
}

// An append puts the file's end back, as long as it can.
bool canBePutBack(const Plan& plan, const Call& call) {
    return !call.fileBefore || !plan.forGood || (plan.kind != Kind::write && plan.kind != Kind::end);
}

// One run with the plan. Returns false when the call has run through without a fault.
bool runOnce(const Call& call, const Plan& plan) {
    const std::string what = describe(call, plan);
    const Held before = held();
    start(plan);
    const int result = call.run();
    const bool struck = hasStruck();
    stop();
    const Held after = held();
    EXPECT_EQ(after, before) << what << ": blocks " << after.blocks - before.blocks << ", global "
                             << after.globals - before.globals << ", files " << after.files - before.files
                             << ", GDI objects " << after.objects - before.objects;
    if (!struck) {
        EXPECT_EQ(result, call.result) << what;
        return false;
    }
    if (result != call.result) {
        EXPECT_TRUE(result <= 0 && result >= ERR_TOO_LARGE) << what << ": " << result;
        if (!call.file.empty() && canBePutBack(plan, call)) {
            EXPECT_EQ(hashOfFile(call.file), call.fileBefore) << what << ": another file";
        }
    } else if (!mayPassUnnoticed(plan, call) && !mayDiffer(plan, call)) {
        EXPECT_EQ(call.output(), call.wanted) << what << ": a success that is none";
    }
    EXPECT_EQ(call.deviation(), "") << what << ": the next call";
    return true;
}

}  // namespace

TEST_P(Faults, EachOneInEveryCallIsReportedAndLeavesNothingBehind) {
    int tried = 0;
    const bool canBeShort = GetParam() == Kind::read || GetParam() == Kind::write;
    for (const Call& call : set->calls) {
        const int triedBefore = tried;
        for (const bool isShort : {false, true})
            for (const bool forGood : {false, true})
                for (int n = 1; isShort <= canBeShort && runOnce(call, {GetParam(), n, forGood, isShort});
                     n++)
                    tried++;
        if (tried > triedBefore) {
            EXPECT_TRUE(othersCanCall(call)) << call.name << " holds a lock";
        }
    }
    std::printf("%s: %d faults in %zu calls\n", nameOf(GetParam()), tried, set->calls.size());
    EXPECT_GT(tried, 0);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Faults,
                         testing::Values(Kind::allocation, Kind::globalMemory, Kind::open, Kind::read,
                                         Kind::write, Kind::seek, Kind::end, Kind::temporary,
                                         Kind::dibSection, Kind::palette, Kind::deviceContext,
                                         Kind::version));

TEST_F(Faults, AreThereForEveryExportButTheOnesThatAskTheSystemForNothing) {
    std::set<std::string> asking, silent;
    for (const Call& call : set->calls) {
        start({});
        call.run();
        for (int kind = 0; kind < static_cast<int>(Kind::count); kind++)
            if (callsOf(static_cast<Kind>(kind))) asking.insert(call.exportName());
    }
    for (const Call& call : set->calls)
        if (!asking.contains(call.exportName())) silent.insert(call.exportName());
    std::istringstream words(quietExports);
    EXPECT_EQ(silent, std::set<std::string>(std::istream_iterator<std::string>(words), {}));
}

// loadbmp, loadbmpW and loadbmpfrombuffer of the same file, for example.
TEST_F(Faults, TheFormsOfAnExportReadTheSameInAFileAndABuffer) {
    static const std::regex form("frombuffer|W(?=\\()");
    std::map<std::string, std::pair<int, unsigned>> answers;
    int compared = 0;
    for (const Call& call : set->calls) {
        if (call.name.find("(in(") == std::string::npos) continue;
        const std::pair answer = {call.result, call.wanted};
        const auto [known, isFirst] = answers.try_emplace(std::regex_replace(call.name, form, ""), answer);
        if (isFirst) continue;
        EXPECT_EQ(known->second, answer) << call.name;
        compared++;
    }
    EXPECT_GT(compared, 50);
}

// The first read looks at what the file is, later ones decode it.
TEST_F(Faults, AFailingReadOfAJpegLeavesItsDetail) {
    constexpr int readFailure = -104;
    const std::string name = set->folder + "\\a.jpg";
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
