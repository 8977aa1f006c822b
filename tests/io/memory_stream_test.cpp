#include <gtest/gtest.h>

#include "io/memory_stream.h"
#include "io/stream.h"
#include "orn32.h"
#include "tests/support/files.h"
#include "tests/support/guarded.h"
#include "tests/support/memory_watch.h"
#include "tests/support/random.h"

using namespace orn32;
using namespace test;

TEST(MemoryStream, SixteenStreamsOfEachKindAndNoMore) {
    HANDLE in[16], out[16];
    const int buffer = 0;
    for (std::uintptr_t i = 0; i < 16; i++) {
        in[i] = memory_stream::openInput(&buffer, GENERIC_READ);
        out[i] = memory_stream::openOutput();
        EXPECT_EQ(in[i], reinterpret_cast<HANDLE>(i + 1));
        EXPECT_EQ(out[i], reinterpret_cast<HANDLE>(i + 1));
    }
    EXPECT_EQ(memory_stream::openInput(&buffer, GENERIC_READ), INVALID_HANDLE_VALUE);
    EXPECT_EQ(memory_stream::openOutput(), INVALID_HANDLE_VALUE);
    memory_stream::closeInput(in[4]);
    EXPECT_EQ(memory_stream::openInput(&buffer, GENERIC_WRITE), INVALID_HANDLE_VALUE);
    EXPECT_EQ(memory_stream::openInput(&buffer, GENERIC_READ), in[4]);
    for (const HANDLE handle : in) EXPECT_TRUE(memory_stream::closeInput(handle));
    for (const HANDLE handle : out) EXPECT_TRUE(memory_stream::closeOutput(handle));
}

TEST(MemoryStream, HandlesOutsideTheTablesAreRefused) {
    for (const std::intptr_t number : {0, 17, -1}) {
        SCOPED_TRACE(number);
        const HANDLE handle = reinterpret_cast<HANDLE>(number);
        char byte;
        DWORD n = 5, m = 5;
        void* result = nullptr;
        EXPECT_FALSE(memory_stream::read(handle, &byte, 1, &n, nullptr));
        EXPECT_FALSE(memory_stream::write(handle, &byte, 1, &m, nullptr));
        EXPECT_EQ(n + m, 0u);
        EXPECT_EQ(memory_stream::seekInput(handle, 0, nullptr, FILE_BEGIN), ~DWORD{0});
        EXPECT_EQ(memory_stream::seekOutput(handle, 0, nullptr, FILE_BEGIN), ~DWORD{0});
        EXPECT_EQ(memory_stream::finishOutput(handle, &result), ERR_MEMORY);
        EXPECT_FALSE(memory_stream::closeInput(handle));
        EXPECT_FALSE(memory_stream::closeOutput(handle));
    }
}

TEST(MemoryStream, ReadsUpToTheEndOfReadableMemory) {
    for (const unsigned size : {0u, 1u, 100u, 4096u, 4097u, 20000u}) {
        const Bytes content = Random(size).bytes(size);
        const GuardedBytes source(content);
        InputStream in(fromBuffer(source.data()));
        Bytes got(size + 9000, 0xEE);
        EXPECT_EQ(in.read(got.data(), size + 9000), size);
        EXPECT_EQ(slice(got, 0, size), content);
        EXPECT_EQ(in.read(got.data(), 1), 0u);
        EXPECT_EQ(in.position(), size);
    }
}

TEST(MemoryStream, PositionsOutsideTheBufferReadNothing) {
    const GuardedBytes source(Random(1).bytes(50));
    InputStream in(fromBuffer(source.data()));
    std::uint8_t byte;
    for (const std::uint32_t position : {50u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        EXPECT_EQ(in.seek(position), position);
        EXPECT_EQ(in.read(&byte, 1), 0u) << position;
    }
    EXPECT_EQ(in.seek(10), 10u);
    EXPECT_EQ(in.skip(-3), 7u);
    EXPECT_EQ(in.read(&byte, 1), 1u);
    EXPECT_EQ(byte, source.data()[7]);
}

// A damaged file can name any distance, also one that ends in the guard page of some thread's stack.
TEST(MemoryStream, AGuardPageIsNotTouched) {
    const GuardedBytes source(4096);
    ASSERT_TRUE(VirtualAlloc(source.data() + 4096, 4096, MEM_COMMIT, PAGE_READWRITE | PAGE_GUARD));
    MEMORY_BASIC_INFORMATION region;
    VirtualQuery(source.data() + 4096, &region, sizeof region);
    if (!(region.Protect & PAGE_GUARD)) GTEST_SKIP() << "no guard pages here";
    InputStream in(fromBuffer(source.data()));
    char bytes[9];
    in.seek(4090);
    EXPECT_EQ(in.read(bytes, 9), 6u);
    in.seek(5000);
    EXPECT_EQ(in.read(bytes, 9), 0u);
    VirtualQuery(source.data() + 4096, &region, sizeof region);
    EXPECT_EQ(region.Protect, DWORD{PAGE_READWRITE | PAGE_GUARD});
}

TEST(MemoryStream, TheEndOfAnInputIsTheSizeOfItsGlobalBlock) {
    void* block = GlobalLock(GlobalAlloc(GMEM_MOVEABLE, 1000));
    const HANDLE in = memory_stream::openInput(block, GENERIC_READ);
    EXPECT_EQ(memory_stream::seekInput(in, -10, nullptr, FILE_END), GlobalSize(GlobalHandle(block)) - 10);
    EXPECT_EQ(memory_stream::seekInput(in, 5, nullptr, 7), GlobalSize(GlobalHandle(block)) - 10);
    memory_stream::closeInput(in);
    GlobalFree(GlobalHandle(block));
    const GuardedBytes other(10);
    const HANDLE noBlock = memory_stream::openInput(other.data(), GENERIC_READ);
    EXPECT_EQ(memory_stream::seekInput(noBlock, 4, nullptr, FILE_END), 4u);
    memory_stream::closeInput(noBlock);
}

namespace {

struct Write {
    std::uint32_t at;
    std::string text;
};

// Writes to memory, with so much room reserved, if any.
int write(std::uint32_t reserved, const std::vector<Write>& writes, void** result) {
    OutputStream out(toBuffer(result));
    if (reserved) out.reserve(reserved);
    for (const auto& [at, text] : writes) {
        out.seek(at);
        out.write(text.data(), text.size());
    }
    const int code = out.commit();
    EXPECT_EQ(*result != nullptr, code == 0);
    return code;
}

}  // namespace

TEST(MemoryStream, LaterWritesWinGapsAreZeroAndReservedRoomIsNotPassed) {
    const struct {
        std::uint32_t reserved;
        std::vector<Write> writes;
        int code;
        Bytes bytes = {};
    } cases[] = {{0,
                  {{0, "0123456789"}, {2, "abc"}, {15, "z"}, {16, ""}},
                  0,
                  {'0', '1', 'a', 'b', 'c', '5', '6', '7', '8', '9', 0, 0, 0, 0, 0, 'z'}},
                 {10, {{4, "456789"}, {0, "01"}}, 0, {'0', '1', 0, 0, '4', '5', '6', '7', '8', '9'}},
                 {10, {{4, "456789"}, {10, "x"}}, ERR_MEMORY},
                 {10, {{11, ""}}, ERR_MEMORY},
                 {0xFFFFFFF0, {}, ERR_MEMORY},
                 {0, {}, ERR_MEMORY}};
    for (const auto& c : cases) {
        void* result = nullptr;
        SCOPED_TRACE("case " + std::to_string(&c - cases));
        EXPECT_EQ(write(c.reserved, c.writes, &result), c.code);
        EXPECT_TRUE(!result || taken(result) == c.bytes);
    }
}

TEST(MemoryStream, EveryFailedAllocationIsReportedAndNothingLeaks) {
    const auto check = [](int n, int code, const MemoryWatch& watch) {
        EXPECT_EQ(code, ERR_MEMORY) << "allocation " << n;
        EXPECT_EQ(watch.live(), 0) << "allocation " << n;
    };
    void* result = nullptr;
    EXPECT_EQ(failEveryAllocation(
                  [&] {
                      return write(0, {{0, "0123456789"}, {10, "ab"}}, &result);
                  },
                  check),
              5);
    freeGuarded(result);
}

TEST(OutputStream, AFileThatIsNotCommittedVanishes) {
    const TempFile file(".bin");
    for (const bool commit : {false, true}) {
        EXPECT_FALSE(file.exists());
        OutputStream out(commit ? toFile(file.wideName()) : toFile(file.name()));
        EXPECT_TRUE(out.write("abc", 3));
        EXPECT_EQ(out.position(), 3u);
        EXPECT_TRUE(file.exists());
        if (commit) {
            EXPECT_EQ(out.commit(), 0);
        }
    }
    EXPECT_EQ(readFile(file.name()), (Bytes{'a', 'b', 'c'}));
}
