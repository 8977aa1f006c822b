#include <gtest/gtest.h>

#include <filesystem>

#include "io/append.h"
#include "orn32.h"
#include "tests/support/failing_writes.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/random.h"

using namespace orn32;
using namespace test;

namespace {

int replaceTail(const TempFile& file, std::uint32_t dropped, const Bytes& fresh, std::uint32_t length) {
    const GuardedBytes source(fresh);
    InputStream in(fromBuffer(source.data()));
    FileTail tail(toFile(file.name()));
    EXPECT_TRUE(tail.isOpen());
    EXPECT_LE(dropped, tail.count());
    return tail.replace(dropped, in, length);
}

}  // namespace

TEST(FileTail, TakesOtherBytesInPlaceOfTheLast) {
    const TempFile file(".bin");
    const Bytes old = {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9'}, fresh = {'x', 'y', 'z'};
    for (const auto& [dropped, length] : {std::pair{0u, 3u}, {1u, 3u}, {10u, 2u}, {4u, 0u}}) {
        writeFile(file.name(), old);
        EXPECT_EQ(replaceTail(file, dropped, fresh, length), 0) << dropped << " by " << length;
        EXPECT_EQ(readFile(file.name()), slice(old, 0, 10 - dropped) + slice(fresh, 0, length))
            << dropped << " by " << length;
    }
}

TEST(FileTail, AFileThatCannotGrowStaysAsItWas) {
    const Bytes old = Random(1).bytes(100), fresh(20000, 'x');
    const TempFile file(".bin");
    writeFile(file.name(), old);
    for (const unsigned room : {0u, 1u, 8191u, 8192u, 8193u, 19980u, 19986u, 19987u}) {
        const FullDisk disk(room);
        EXPECT_EQ(replaceTail(file, 13, fresh, 20000), room == 19987 ? 0 : ERR_WRITE) << room;
        EXPECT_EQ(readFile(file.name()), room == 19987 ? slice(old, 0, 87) + fresh : old) << room;
    }
}

TEST(FileTail, FilesBeyond4GigabytesGrowAtTheirEnd) {
    const TempFile file(".bin");
    writeFile(file.name(), {});
    std::error_code full;
    std::filesystem::resize_file(file.name(), (1ull << 32) + 5, full);
    if (full) GTEST_SKIP() << "no room for a file of 4 GB";
    EXPECT_EQ(replaceTail(file, 1, {'x', 'y'}, 2), 0);
    EXPECT_EQ(std::filesystem::file_size(file.name()), (1ull << 32) + 6);
    const FileTail tail(toFile(file.name()));
    ASSERT_EQ(tail.count(), 16u);
    EXPECT_EQ(Bytes(tail.bytes(), tail.bytes() + 16), Bytes(14) + (Bytes{'x', 'y'}));
}
