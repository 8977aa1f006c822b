// Saves in a process that may not write more than some KB to a file: writes come back short, and then fail.
// The script disk_full_test.sh sets the limit.
#include <gtest/gtest.h>

#include <cstdlib>

#include "orn32.h"
#include "tests/faults/calls.h"
#include "tests/faults/import_table.h"

using namespace faults;

TEST(DiskFull, IsReportedAndLeavesNoFileOrTheOneThatWasAppendedTo) {
    if (!std::getenv("ORN32_FILES_ARE_LIMITED")) GTEST_SKIP() << "files are not limited";
    const CallSet small(20, 20), large(500, 400);
    int saves = 0;
    for (std::size_t i = 0; i < small.calls.size(); i++) {
        const Call& call = large.calls[i];
        if (call.file.empty()) continue;
        saves++;
        const Held before = held();
        EXPECT_EQ(call.run(), ERR_WRITE) << call.name;
        EXPECT_EQ(hashOfFile(call.file), call.fileBefore) << call.name;
        EXPECT_EQ(held(), before) << call.name;
        EXPECT_EQ(small.calls[i].deviation(), "") << ", a small picture";
        EXPECT_EQ(small.calls[i].result, 0) << call.name << ", a small picture";
    }
    EXPECT_GT(saves, 12);
}
