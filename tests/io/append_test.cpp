#include <gtest/gtest.h>

#include <string>

#include "io/append.h"
#include "orn32.h"
#include "tests/support/failing_writes.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"

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
    const Bytes fresh = {'x', 'y', 'z'};
    const struct {
        std::uint32_t dropped, length;
        const char* want;
    } cases[] = {{0, 3, "0123456789xyz"}, {1, 3, "012345678xyz"}, {10, 2, "xy"}, {4, 0, "012345"}};
    for (const auto& c : cases) {
        const TempFile file(".bin");
        writeFile(file.name(), {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9'});
        EXPECT_EQ(replaceTail(file, c.dropped, fresh, c.length), 0);
        const Bytes have = readFile(file.name());
        EXPECT_EQ(std::string(have.begin(), have.end()), c.want) << c.dropped << " for " << c.length;
    }
}

TEST(FileTail, AFileThatCannotGrowStaysAsItWas) {
    Bytes old(100);
    for (std::size_t i = 0; i < old.size(); i++) old[i] = static_cast<std::uint8_t>(i);
    const TempFile file(".bin");
    writeFile(file.name(), old);
    const Bytes fresh(20000, 'x');
    for (const unsigned room : {0u, 1u, 8191u, 8192u, 8193u, 19980u, 19986u}) {
        const FullDisk disk(room);
        EXPECT_EQ(replaceTail(file, 13, fresh, 20000), ERR_WRITE) << room;
        EXPECT_EQ(readFile(file.name()), old) << room;
    }
    const FullDisk disk(19987);
    EXPECT_EQ(replaceTail(file, 13, fresh, 20000), 0);
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
