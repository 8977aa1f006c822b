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
void discount(void* block) {
    const std::lock_guard lock(blocksMutex);
    if (blocks().erase(block)) bytes -= static_cast<long long>(_msize(block));
}
void* __cdecl alloc(UINT size) {
    return strikes(Kind::allocation) ? nullptr : counted(std::malloc(size));
}
void* __cdecl calloc(UINT count, UINT size) {
    return strikes(Kind::allocation) ? nullptr : counted(std::calloc(count, size));
}
void __cdecl release(void* block) {
    discount(block);
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

HGLOBAL WINAPI globalAlloc(UINT flags, SIZE_T size) {
    if (strikes(Kind::globalMemory)) return nullptr;
    const HGLOBAL handle = GlobalAlloc(flags, size);
    if (handle) {
        globals++;
        count(GlobalSize(handle));
    }
    return handle;
}
HGLOBAL WINAPI globalFree(HGLOBAL handle) {
    globals--;
    bytes -= static_cast<long long>(GlobalSize(handle));
    return GlobalFree(handle);
}
HANDLE opened(HANDLE file) {
    if (file != INVALID_HANDLE_VALUE) files++;
    return file;
}
HANDLE WINAPI createFileA(const char* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                          DWORD disposition, DWORD flags, HANDLE model) {
    if (strikes(Kind::open)) return INVALID_HANDLE_VALUE;
    return opened(CreateFileA(name, access, share, security, disposition, flags, model));
}
HANDLE WINAPI createFileW(const WCHAR* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                          DWORD disposition, DWORD flags, HANDLE model) {
    if (strikes(Kind::open)) return INVALID_HANDLE_VALUE;
    return opened(CreateFileW(name, access, share, security, disposition, flags, model));
}
BOOL WINAPI closeHandle(HANDLE file) {
    files--;
    return CloseHandle(file);
}
BOOL WINAPI readFile(HANDLE file, void* to, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
    if (!strikes(Kind::read)) return ReadFile(file, to, count, done, overlapped);
    if (plan.isShort) return ReadFile(file, to, count / 2, done, overlapped);
    *done = 0;
    return FALSE;
}
BOOL WINAPI writeFile(HANDLE file, const void* from, DWORD count, DWORD* done, OVERLAPPED* overlapped) {
    if (!strikes(Kind::write)) return WriteFile(file, from, count, done, overlapped);
    if (plan.isShort) return WriteFile(file, from, count / 2, done, overlapped);
    *done = 0;
    return FALSE;
}
DWORD WINAPI setFilePointer(HANDLE file, LONG distance, LONG* high, DWORD method) {
    return strikes(Kind::seek) ? INVALID_SET_FILE_POINTER : SetFilePointer(file, distance, high, method);
}
BOOL WINAPI setEndOfFile(HANDLE file) {
    return strikes(Kind::end) ? FALSE : SetEndOfFile(file);
}
DWORD WINAPI getFileSize(HANDLE file, DWORD* high) {
    return strikes(Kind::seek) ? INVALID_FILE_SIZE : GetFileSize(file, high);
}
DWORD WINAPI getTempPathW(DWORD size, WCHAR* folder) {
    return strikes(Kind::temporary) ? 0 : GetTempPathW(size, folder);
}
UINT WINAPI getTempFileNameW(const WCHAR* folder, const WCHAR* prefix, UINT unique, WCHAR* name) {
    return strikes(Kind::temporary) ? 0 : GetTempFileNameW(folder, prefix, unique, name);
}

template <class Object>
Object made(Object object) {
    if (object) objects++;
    return object;
}
HBITMAP WINAPI createDibSection(HDC dc, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section,
                                DWORD offset) {
    if (strikes(Kind::dibSection)) return nullptr;
    return made(CreateDIBSection(dc, info, usage, bits, section, offset));
}
HPALETTE WINAPI createPalette(const LOGPALETTE* palette) {
    return strikes(Kind::palette) ? nullptr : made(CreatePalette(palette));
}
HPALETTE WINAPI createHalftonePalette(HDC dc) {
    return strikes(Kind::palette) ? nullptr : CreateHalftonePalette(dc);  // kept for the process's life
}
BOOL WINAPI deleteObject(HGDIOBJ object) {
    objects--;
    return DeleteObject(object);
}
HDC WINAPI getDc(HWND window) {
    return strikes(Kind::deviceContext) ? nullptr : made(GetDC(window));
}
int WINAPI releaseDc(HWND window, HDC dc) {
    if (dc) objects--;
    return ReleaseDC(window, dc);
}
HDC WINAPI createCompatibleDc(HDC dc) {
    return strikes(Kind::deviceContext) ? nullptr : made(CreateCompatibleDC(dc));
}
BOOL WINAPI deleteDc(HDC dc) {
    objects--;
    return DeleteDC(dc);
}
int WINAPI getDeviceCaps(HDC dc, int which) {
    return which == BITSPIXEL && screenDepth ? screenDepth : GetDeviceCaps(dc, which);
}

DWORD WINAPI getModuleFileName(HMODULE module, char* name, DWORD size) {
    return strikes(Kind::version) ? 0 : GetModuleFileNameA(module, name, size);
}
DWORD WINAPI getFileVersionInfoSize(const char* name, DWORD* handle) {
    return strikes(Kind::version) ? 0 : GetFileVersionInfoSizeA(name, handle);
}
BOOL WINAPI getFileVersionInfo(const char* name, DWORD handle, DWORD size, void* block) {
    return strikes(Kind::version) ? FALSE : GetFileVersionInfoA(name, handle, size, block);
}
BOOL WINAPI verQueryValue(const void* block, const char* path, void** value, UINT* length) {
    return strikes(Kind::version) ? FALSE : VerQueryValueA(block, path, value, length);
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
    constexpr const char* names[] = {"allocation",
                                     "global memory",
                                     "opening a file",
                                     "read",
                                     "write",
                                     "seek",
                                     "setting the end of the file",
                                     "temporary file",
                                     "making a bitmap",
                                     "making a palette",
                                     "device context",
                                     "version query",
                                     "runtime heap"};
    return names[static_cast<int>(kind)];
}

void hook(HMODULE dll) {
    const struct {
        const char* name;
        void* function;
    } hooks[] = {{"GlobalAlloc", reinterpret_cast<void*>(globalAlloc)},
                 {"GlobalFree", reinterpret_cast<void*>(globalFree)},
                 {"CreateFileA", reinterpret_cast<void*>(createFileA)},
                 {"CreateFileW", reinterpret_cast<void*>(createFileW)},
                 {"CloseHandle", reinterpret_cast<void*>(closeHandle)},
                 {"ReadFile", reinterpret_cast<void*>(readFile)},
                 {"WriteFile", reinterpret_cast<void*>(writeFile)},
                 {"SetFilePointer", reinterpret_cast<void*>(setFilePointer)},
                 {"SetEndOfFile", reinterpret_cast<void*>(setEndOfFile)},
                 {"GetFileSize", reinterpret_cast<void*>(getFileSize)},
                 {"GetTempPathW", reinterpret_cast<void*>(getTempPathW)},
                 {"GetTempFileNameW", reinterpret_cast<void*>(getTempFileNameW)},
                 {"CreateDIBSection", reinterpret_cast<void*>(createDibSection)},
                 {"CreatePalette", reinterpret_cast<void*>(createPalette)},
                 {"CreateHalftonePalette", reinterpret_cast<void*>(createHalftonePalette)},
                 {"DeleteObject", reinterpret_cast<void*>(deleteObject)},
                 {"GetDC", reinterpret_cast<void*>(getDc)},
                 {"ReleaseDC", reinterpret_cast<void*>(releaseDc)},
                 {"CreateCompatibleDC", reinterpret_cast<void*>(createCompatibleDc)},
                 {"DeleteDC", reinterpret_cast<void*>(deleteDc)},
                 {"GetDeviceCaps", reinterpret_cast<void*>(getDeviceCaps)},
                 {"GetModuleFileNameA", reinterpret_cast<void*>(getModuleFileName)},
                 {"GetFileVersionInfoSizeA", reinterpret_cast<void*>(getFileVersionInfoSize)},
                 {"GetFileVersionInfoA", reinterpret_cast<void*>(getFileVersionInfo)},
                 {"VerQueryValueA", reinterpret_cast<void*>(verQueryValue)},
                 {"EnterCriticalSection", reinterpret_cast<void*>(enterCriticalSection)},
                 {"LeaveCriticalSection", reinterpret_cast<void*>(leaveCriticalSection)},
                 {"malloc", reinterpret_cast<void*>(runtimeMalloc)},
                 {"calloc", reinterpret_cast<void*>(runtimeCalloc)},
                 {"free", reinterpret_cast<void*>(release)}};
    for (const auto& h : hooks) replaceImport(dll, h.name, h.function);
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
    deleteObject(palette);
}

ScreenDepth::ScreenDepth(int bits) {
    screenDepth = bits;
}

ScreenDepth::~ScreenDepth() {
    screenDepth = 0;
}

}  // namespace faults
