// The locks that the header names for each export are the ones that its calls take.
#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>

#include "tests/faults/calls.h"
#include "tests/faults/import_table.h"

using namespace faults;

namespace {

using Names = std::set<std::string>;

// A comment of the header with the functions declared below it.
struct Group {
    Names functions;
    Names locks;
};

Names matches(const std::string& text, const std::regex& pattern) {
    Names found;
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
        found.insert(match->str(1));
    return found;
}

// What a comment says behind "Locks:", as far as it is names of locks.
Names locksIn(const std::string& comment) {
    static const std::regex lock("\\b(bmp|gif|jpeg|png|matching|coverclear|cover)\\b");
    const std::size_t at = comment.find("Locks:");
    return at == std::string::npos ? Names() : matches(comment.substr(at), lock);
}

std::vector<Group> readHeader() {
    static const std::regex function("ORNAPI (\\w+)\\(");
    std::ifstream file(ORN32_HEADER);
    std::string text((std::istreambuf_iterator<char>(file)), {});
    std::vector<Group> groups;
    for (std::size_t at = text.find("#define ORNAPI"); (at = text.find("/*", at)) != std::string::npos;) {
        const std::size_t end = text.find("*/", at), next = text.find("/*", end);
        groups.push_back(
            {matches(text.substr(end, next - end), function), locksIn(text.substr(at, end - at))});
        at = end;
    }
    return groups;
}

class Locks : public testing::Test {
 protected:
    void SetUp() override {
        const CallSet set;
        for (const Call& call : set.calls) {
            const auto taken = lockStepsOf([&] { call.run(); });
            auto& all = steps[call.exportName()];
            all.insert(all.end(), taken.begin(), taken.end());
        }
        // Each lock is known by an export that takes it first; streams are inside a format's.
        for (const auto& [name, function] : {std::pair{"bmp", "bmpinfo"},
                                             {"gif", "gifinfo"},
                                             {"jpeg", "jpeginfo"},
                                             {"png", "pnginfo"},
                                             {"matching", "matchcolorimage"},
                                             {"cover", "cover"},
                                             {"coverclear", "coverclear"}})
            lockNames[steps.at(function).at(0).lock] = name;
        lockNames[steps.at("bmpinfofrombuffer").at(1).lock] = "streams";
        ASSERT_EQ(lockNames.size(), 8u);
    }

    std::map<std::string, std::vector<LockStep>> steps;  // of all calls of an export
    std::map<const CRITICAL_SECTION*, std::string> lockNames;
};

bool isOfMemory(const std::string& function) {
    return function.find("frombuffer") != std::string::npos || function.find("tobuffer") != std::string::npos;
}

}  // namespace

TEST_F(Locks, AreTheOnesThatTheHeaderNames) {
    std::size_t functions = 0;
    for (const Group& group : readHeader()) {
        functions += group.functions.size();
        Names takenByAny;
        for (const std::string& function : group.functions) {
            ASSERT_TRUE(steps.contains(function)) << function << " is not called";
            Names taken;
            for (const LockStep& step : steps.at(function))
                if (lockNames.contains(step.lock)) taken.insert(lockNames.at(step.lock));
            EXPECT_EQ(taken.erase("streams"), isOfMemory(function)) << function;
            for (const std::string& lock : taken)
                EXPECT_TRUE(group.locks.contains(lock)) << function << ", " << lock;
            takenByAny.merge(taken);
        }
        if (!group.functions.empty()) {
            EXPECT_EQ(takenByAny, group.locks) << *group.functions.begin();
        }
    }
    EXPECT_EQ(functions, 147u);
    EXPECT_EQ(steps.size(), functions);
}

// A second lock is matching or streams, while which none is waited for: no two calls can wait for each other.
TEST_F(Locks, AreTakenInAnOrderThatCannotBlock) {
    for (const auto& [call, list] : steps) {
        std::vector<std::string> held;
        for (const LockStep& step : list) {
            if (!lockNames.contains(step.lock)) continue;
            const std::string& name = lockNames.at(step.lock);
            if (step.taken) {
                const bool isLast = name == "matching" || name == "streams";
                EXPECT_TRUE(held.empty() || (held.size() == 1 && isLast)) << call << " takes " << name;
                held.push_back(name);
            } else {
                EXPECT_EQ(held.back(), name) << call;
                held.pop_back();
            }
        }
        EXPECT_TRUE(held.empty()) << call;
    }
}
