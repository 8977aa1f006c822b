#include <gtest/gtest.h>

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
        EXPECT_EQ(replaceTail(file, dropped, fresh, length), 0);
        EXPECT_EQ(readFile(file.name()), slice(old, 0, 10 - dropped) + slice(fresh, 0, length));
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
    const HANDLE handle = CreateFileA(file.name(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    LONG high = 1;
    SetFilePointer(handle, 5, &high, FILE_BEGIN);
    const bool sparse = SetEndOfFile(handle);
    CloseHandle(handle);
    if (!sparse) GTEST_SKIP() << "no room for a file of 4 GB";
    EXPECT_EQ(replaceTail(file, 1, {'x', 'y'}, 2), 0);
    DWORD sizeHigh = 0;
    const HANDLE again =
        CreateFileA(file.name(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(GetFileSize(again, &sizeHigh), 6u);
    EXPECT_EQ(sizeHigh, 1u);
    CloseHandle(again);
    const FileTail tail(toFile(file.name()));
    ASSERT_EQ(tail.count(), 16u);
    EXPECT_EQ(Bytes(tail.bytes(), tail.bytes() + 16),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 'x', 'y'}));
}
