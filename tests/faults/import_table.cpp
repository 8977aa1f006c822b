#include "tests/faults/import_table.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>

#include "orn32.h"

namespace faults {
namespace {

Plan plan;
std::atomic<int> calls[static_cast<int>(Kind::count)];
std::atomic<bool> struck;
std::atomic<long> globals, files, objects;
thread_local int screenDepth;  // 0: the real one

bool strikes(Kind kind) {
    const int n = ++calls[static_cast<int>(kind)];
    if (plan.n == 0 || kind != plan.kind || (plan.forGood ? n < plan.n : n != plan.n)) return false;
    struck = true;
    return true;
}

// --- memory, as given to InitializeLibrary ---

std::atomic<long long> bytes, bytesAtStart, mostBytes;

void count(std::size_t size) {
    bytes += static_cast<long long>(size);
    if (bytes > mostBytes) mostBytes = bytes.load();
}

// The blocks that are in use. Never destroyed: the DLL outlives this program's objects.
std::mutex blocksMutex;
std::set<void*>& blocks() {
    static auto* all = new std::set<void*>;
    return *all;
}

void* counted(void* block) {
    if (!block) return block;
    count(_msize(block));
    const std::lock_guard lock(blocksMutex);
    blocks().insert(block);
    return block;
}
void* __cdecl alloc(UINT size) {
    return strikes(Kind::allocation) ? nullptr : counted(std::malloc(size));
}
void* __cdecl calloc(UINT count, UINT size) {
    return strikes(Kind::allocation) ? nullptr : counted(std::calloc(count, size));
}
void __cdecl release(void* block) {
    {
        const std::lock_guard lock(blocksMutex);
        if (blocks().erase(block)) bytes -= static_cast<long long>(_msize(block));
    }
    std::free(block);
}

// What the runtime inside the DLL takes for itself, and what the version functions release past `release`.
void* __cdecl runtimeMalloc(std::size_t size) {
    ++calls[static_cast<int>(Kind::runtimeHeap)];
    return std::malloc(size);
}
void* __cdecl runtimeCalloc(std::size_t count, std::size_t size) {
    ++calls[static_cast<int>(Kind::runtimeHeap)];
    return std::calloc(count, size);
}

// --- the system's functions ---

// One that fails by the plan. What it makes is counted, if it is told where.
template <auto system, Kind kind, std::atomic<long>* made = nullptr>
struct Failing;
template <class R, class... Arguments, R(WINAPI* system)(Arguments...), Kind kind, std::atomic<long>* made>
struct Failing<system, kind, made> {
    static R WINAPI call(Arguments... arguments) {
        const R failure = (R)(kind == Kind::open || kind == Kind::seek ? -1 : 0);
        if (strikes(kind)) return failure;
        const R result = system(arguments...);
        if constexpr (made != nullptr) *made += result != failure;
        return result;
    }
};

// One that releases what another has made.
template <auto system, std::atomic<long>* made>
struct Releasing;
template <class... Arguments, BOOL(WINAPI* system)(Arguments...), std::atomic<long>* made>
struct Releasing<system, made> {
    static BOOL WINAPI call(Arguments... arguments) {
        const BOOL released = system(arguments...);
        *made -= released != FALSE;
        return released;
    }
};

// ReadFile and WriteFile, which can come up short as well.
template <auto system, Kind kind, class Buffer>
BOOL WINAPI transfer(HANDLE file, Buffer buffer, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
    if (!strikes(kind)) return system(file, buffer, count, done, overlapped);
    if (plan.isShort) return system(file, buffer, count / 2, done, overlapped);
    *done = 0;
    return FALSE;
}

HGLOBAL WINAPI globalAlloc(UINT flags, SIZE_T size) {
    const HGLOBAL handle = Failing<GlobalAlloc, Kind::globalMemory, &globals>::call(flags, size);
    if (handle) count(GlobalSize(handle));
    return handle;
}
HGLOBAL WINAPI globalFree(HGLOBAL handle) {
    globals--;
    bytes -= static_cast<long long>(GlobalSize(handle));
    return GlobalFree(handle);
}
int WINAPI getDeviceCaps(HDC dc, int which) {
    return which == BITSPIXEL && screenDepth ? screenDepth : GetDeviceCaps(dc, which);
}

std::vector<LockStep>* lockSteps;  // null: not wanted

void WINAPI enterCriticalSection(CRITICAL_SECTION* lock) {
    EnterCriticalSection(lock);
    if (lockSteps) lockSteps->push_back({lock, true});
}
void WINAPI leaveCriticalSection(CRITICAL_SECTION* lock) {
    if (lockSteps) lockSteps->push_back({lock, false});
    LeaveCriticalSection(lock);
}

void replaceImport(HMODULE dll, const char* name, void* function) {
    auto* base = reinterpret_cast<std::uint8_t*>(dll);
    const auto* headers =
        reinterpret_cast<IMAGE_NT_HEADERS32*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    auto* import = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(
        base + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    for (; import->Name; import++) {
        auto* names = reinterpret_cast<IMAGE_THUNK_DATA32*>(base + import->OriginalFirstThunk);
        auto* slots = reinterpret_cast<void**>(base + import->FirstThunk);
        for (; names->u1.AddressOfData; names++, slots++) {
            const auto* entry = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(entry->Name), name) != 0) continue;
            DWORD protection;
            VirtualProtect(slots, sizeof *slots, PAGE_READWRITE, &protection);
            *slots = function;
            VirtualProtect(slots, sizeof *slots, protection, &protection);
            return;
        }
    }
    throw std::runtime_error(std::string("not imported: ") + name);
}

}  // namespace

const char* nameOf(Kind kind) {
    constexpr const char* names[] = {"allocation",  "global memory", "open",           "read",
                                     "write",       "seek",          "file's end",     "temporary file",
                                     "DIB section", "palette",       "device context", "version query",
                                     "runtime heap"};
    return names[static_cast<int>(kind)];
}

void hook(HMODULE dll) {
#define WITH(name, function) replaceImport(dll, #name, reinterpret_cast<void*>(function))
#define FAILING(name, ...) WITH(name, (Failing<name, __VA_ARGS__>::call))
#define RELEASING(name, made) WITH(name, (Releasing<name, made>::call))
    WITH(GlobalAlloc, globalAlloc);
    WITH(GlobalFree, globalFree);
    FAILING(CreateFileA, Kind::open, &files);
    FAILING(CreateFileW, Kind::open, &files);
    RELEASING(CloseHandle, &files);
    WITH(ReadFile, (transfer<ReadFile, Kind::read, void*>));
    WITH(WriteFile, (transfer<WriteFile, Kind::write, const void*>));
    FAILING(SetFilePointer, Kind::seek);
    FAILING(GetFileSize, Kind::seek);
    FAILING(SetEndOfFile, Kind::end);
    FAILING(GetTempPathW, Kind::temporary);
    FAILING(GetTempFileNameW, Kind::temporary);
    FAILING(CreateDIBSection, Kind::dibSection, &objects);
    FAILING(CreatePalette, Kind::palette, &objects);
    FAILING(CreateHalftonePalette, Kind::palette);  // kept for the process's life
    RELEASING(DeleteObject, &objects);
    FAILING(GetDC, Kind::deviceContext, &objects);
    RELEASING(ReleaseDC, &objects);
    FAILING(CreateCompatibleDC, Kind::deviceContext, &objects);
    RELEASING(DeleteDC, &objects);
    WITH(GetDeviceCaps, getDeviceCaps);
    FAILING(GetModuleFileNameA, Kind::version);
    FAILING(GetFileVersionInfoSizeA, Kind::version);
    FAILING(GetFileVersionInfoA, Kind::version);
    FAILING(VerQueryValueA, Kind::version);
    WITH(EnterCriticalSection, enterCriticalSection);
    WITH(LeaveCriticalSection, leaveCriticalSection);
    WITH(malloc, runtimeMalloc);
    WITH(calloc, runtimeCalloc);
    WITH(free, release);
    installMemory();
}

void installMemory() {
    InitializeLibrary(alloc, alloc, calloc, calloc, release);
}

void start(const Plan& next) {
    plan = next;
    struck = false;
    for (auto& n : calls) n = 0;
    bytesAtStart = mostBytes = bytes.load();
}

bool hasStruck() {
    return struck;
}

void stop() {
    plan = {};
}

int callsOf(Kind kind) {
    return calls[static_cast<int>(kind)];
}

Held held() {
    const std::lock_guard lock(blocksMutex);
    return {static_cast<long>(blocks().size()), globals, files, objects};
}

std::size_t peakBytes() {
    return static_cast<std::size_t>(mostBytes - bytesAtStart);
}

std::vector<LockStep> lockStepsOf(const std::function<void()>& run) {
    std::vector<LockStep> steps;
    lockSteps = &steps;
    run();
    lockSteps = nullptr;
    return steps;
}

std::size_t sizeOf(void* block) {
    return _msize(block);
}

void releaseBlock(void* block) {
    release(block);
}

void deletePalette(HPALETTE palette) {
    Releasing<DeleteObject, &objects>::call(palette);
}

void pretendScreenDepth(int bits) {
    screenDepth = bits;
}

}  // namespace faults
