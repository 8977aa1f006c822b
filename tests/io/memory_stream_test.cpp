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

static Bytes bytesOf(void* buffer, std::size_t size) {
    auto* p = static_cast<std::uint8_t*>(buffer);
    return {p, p + size};
}

TEST(MemoryStream, SixteenStreamsOfEachKindAndNoMore) {
    HANDLE in[16], out[16];
    const int buffer = 0;
    for (int i = 0; i < 16; i++) {
        in[i] = memory_stream::openInput(&buffer, GENERIC_READ);
        out[i] = memory_stream::openOutput();
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(in[i]), static_cast<std::uintptr_t>(i + 1));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(out[i]), static_cast<std::uintptr_t>(i + 1));
    }
    EXPECT_EQ(memory_stream::openInput(&buffer, GENERIC_READ), INVALID_HANDLE_VALUE);
    EXPECT_EQ(memory_stream::openOutput(), INVALID_HANDLE_VALUE);
    memory_stream::closeInput(in[4]);
    EXPECT_EQ(memory_stream::openInput(&buffer, GENERIC_WRITE), INVALID_HANDLE_VALUE);
    EXPECT_EQ(memory_stream::openInput(&buffer, GENERIC_READ), in[4]);
    for (int i = 0; i < 16; i++) {
        EXPECT_TRUE(memory_stream::closeInput(in[i]));
        EXPECT_TRUE(memory_stream::closeOutput(out[i]));
    }
}

TEST(MemoryStream, HandlesOutsideTheTablesAreRefused) {
    for (const std::uintptr_t number : {std::uintptr_t{0}, std::uintptr_t{17}, ~std::uintptr_t{0}}) {
        const HANDLE handle = reinterpret_cast<HANDLE>(number);
        char byte;
        DWORD n = 5;
        void* result = nullptr;
        EXPECT_FALSE(memory_stream::read(handle, &byte, 1, &n, nullptr));
        EXPECT_EQ(n, 0u);
        n = 5;
        EXPECT_FALSE(memory_stream::write(handle, &byte, 1, &n, nullptr));
        EXPECT_EQ(n, 0u);
        EXPECT_EQ(memory_stream::seekInput(handle, 0, nullptr, FILE_BEGIN), ~DWORD{0});
        EXPECT_EQ(memory_stream::seekOutput(handle, 0, nullptr, FILE_BEGIN), ~DWORD{0});
        EXPECT_EQ(memory_stream::finishOutput(handle, &result), ERR_MEMORY);
        EXPECT_FALSE(memory_stream::closeInput(handle));
        EXPECT_FALSE(memory_stream::closeOutput(handle));
    }
}

TEST(MemoryStream, ReadsUpToTheEndOfReadableMemory) {
    for (const unsigned size : {0u, 1u, 100u, 4096u, 4097u, 20000u}) {
        Random random(size);
        const Bytes content = random.bytes(size);
        const GuardedBytes source(content);
        InputStream in(fromBuffer(source.data()));
        Bytes got(size + 9000, 0xEE);
        EXPECT_EQ(in.read(got.data(), size + 9000), size);
        EXPECT_TRUE(std::equal(content.begin(), content.end(), got.begin()));
        EXPECT_EQ(in.read(got.data(), 1), 0u);
        EXPECT_EQ(in.position(), size);
    }
}

TEST(MemoryStream, PositionsOutsideTheBufferReadNothing) {
    const GuardedBytes source(Random(1).bytes(50));
    InputStream in(fromBuffer(source.data()));
    char byte;
    for (const std::uint32_t position : {50u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        EXPECT_EQ(in.seek(position), position);
        EXPECT_EQ(in.read(&byte, 1), 0u) << position;
    }
    EXPECT_EQ(in.seek(10), 10u);
    EXPECT_EQ(in.skip(-3), 7u);
    EXPECT_EQ(in.read(&byte, 1), 1u);
    EXPECT_EQ(static_cast<std::uint8_t>(byte), source.data()[7]);
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

TEST(MemoryStream, LaterWritesWinAndGapsAreZero) {
    const MemoryWatch watch;
    void* result = nullptr;
    {
        OutputStream out(toBuffer(&result));
        out.write("0123456789", 10);
        out.seek(2);
        out.write("abc", 3);
        out.seek(15);
        out.write("z", 1);
        out.write("", 0);
        ASSERT_EQ(out.commit(), 0);
    }
    EXPECT_EQ(bytesOf(result, 16),
              (Bytes{'0', '1', 'a', 'b', 'c', '5', '6', '7', '8', '9', 0, 0, 0, 0, 0, 'z'}));
    EXPECT_EQ(watch.live(), 1);
    freeGuarded(result);
}

TEST(MemoryStream, AReservedBufferIsWrittenInPlaceAndNotBeyondItsEnd) {
    void* result = nullptr;
    {
        OutputStream out(toBuffer(&result));
        out.reserve(10);
        out.seek(4);
        EXPECT_TRUE(out.write("456789", 6));
        EXPECT_FALSE(out.write("x", 1));
        out.seek(11);
        EXPECT_FALSE(out.write("", 0));
        EXPECT_EQ(out.commit(), ERR_MEMORY);
        EXPECT_EQ(result, nullptr);
    }
    {
        OutputStream out(toBuffer(&result));
        out.reserve(10);
        out.seek(4);
        out.write("456789", 6);
        out.seek(0);
        out.write("01", 2);
        ASSERT_EQ(out.commit(), 0);
    }
    EXPECT_EQ(bytesOf(result, 10), (Bytes{'0', '1', 0, 0, '4', '5', '6', '7', '8', '9'}));
    EXPECT_EQ(GlobalSize(GlobalHandle(result)), 10u);
    GlobalFree(GlobalHandle(result));

    OutputStream tooLarge(toBuffer(&result)), nothing(toBuffer(&result));
    tooLarge.reserve(0xFFFFFFF0);
    EXPECT_EQ(tooLarge.commit(), ERR_MEMORY);
    EXPECT_EQ(nothing.commit(), ERR_MEMORY) << "nothing written";
    EXPECT_EQ(result, nullptr);
}

TEST(MemoryStream, EveryFailedAllocationIsReportedAndNothingLeaks) {
    void* result = nullptr;
    const int steps = failEveryAllocation(
        [&] {
            OutputStream out(toBuffer(&result));
            out.write("0123456789", 10);
            out.write("ab", 2);
            return out.commit();
        },
        [&](int n, int code, const MemoryWatch& watch) {
            EXPECT_EQ(code, ERR_MEMORY) << "allocation " << n;
            EXPECT_EQ(result, nullptr) << "allocation " << n;
            EXPECT_EQ(watch.live(), 0) << "allocation " << n;
        });
    EXPECT_EQ(steps, 5);
    freeGuarded(result);
}

TEST(OutputStream, AFileThatIsNotCommittedVanishes) {
    const TempFile file(".bin");
    {
        OutputStream out(toFile(file.name()));
        ASSERT_TRUE(out.isOpen());
        EXPECT_TRUE(out.write("abc", 3));
        EXPECT_TRUE(file.exists());
    }
    EXPECT_FALSE(file.exists());
    {
        OutputStream out(toFile(file.wideName()));
        EXPECT_TRUE(out.write("abc", 3));
        EXPECT_EQ(out.position(), 3u);
        EXPECT_EQ(out.commit(), 0);
    }
    EXPECT_EQ(readFile(file.name()), (Bytes{'a', 'b', 'c'}));
}
