// Puts functions of the tests in place of the system's in the DLL's import table, and counts and fails their
// calls.
#pragma once

#include <windows.h>

#include <functional>
#include <vector>

namespace faults {

enum class Kind {
    allocation,
    globalMemory,
    open,
    read,
    write,
    seek,
    end,
    temporary,
    dibSection,
    palette,
    deviceContext,
    version,
    runtimeHeap,  // counted only: what the runtime takes for itself
    count
};

const char* nameOf(Kind kind);

// Which calls go wrong: call n of a kind (0: none), and those after it if forGood. A short one does half of
// what was asked and reports that; else the call fails.
struct Plan {
    Kind kind = Kind::allocation;
    int n = 0;
    bool forGood = false;
    bool isShort = false;
};

// Hooks the DLL's imports, once.
void hook(HMODULE dll);

// From here on calls are counted anew and go wrong by the plan.
void start(const Plan& plan);
bool hasStruck();        // a call has gone wrong since start
void stop();             // all calls work again
int callsOf(Kind kind);  // since start

// Gives the DLL the tests' memory functions, as hook has done already.
void installMemory();

// What the DLL holds: memory blocks (of the functions of InitializeLibrary, global memory), open files, and
// GDI's bitmaps, palettes and device contexts.
struct Held {
    long blocks, globals, files, objects;
    bool operator==(const Held&) const = default;
};
Held held();

// The most bytes that were held at a time since start, beyond those held then.
std::size_t peakBytes();

// The locks that the DLL takes and leaves while run() runs, in their order. For one thread at a time.
struct LockStep {
    const CRITICAL_SECTION* lock;
    bool taken;  // else left
};
std::vector<LockStep> lockStepsOf(const std::function<void()>& run);

// A buffer that the DLL has handed out.
std::size_t sizeOf(void* block);
void releaseBlock(void* block);

// A palette that the DLL has handed out.
void deletePalette(HPALETTE palette);

// This thread's device contexts tell the DLL that they have so many bits per pixel; 0: what they have.
void pretendScreenDepth(int bits);

}  // namespace faults
