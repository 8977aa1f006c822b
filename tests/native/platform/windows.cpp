// Files are files, global memory is the heap (where a sanitizer sees every byte too far), DIB sections are plain
// memory, a critical section is a recursive mutex, and whether memory can be read is asked of the kernel.
#include "windows.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace {

std::mutex mapsMutex;

std::map<const void*, std::size_t>& globalBlocks() {
    static std::map<const void*, std::size_t> blocks;
    return blocks;
}

std::map<const char*, std::size_t>& pageRanges() {
    static std::map<const char*, std::size_t> ranges;
    return ranges;
}

std::string narrow(const WCHAR* wide) {
    std::string name;
    for (; *wide; wide++) name += static_cast<char>(*wide);
    return name;
}

int descriptor(HANDLE file) { return static_cast<int>(reinterpret_cast<std::intptr_t>(file)) - 1000; }
HANDLE handleOf(int fd) { return fd < 0 ? INVALID_HANDLE_VALUE : reinterpret_cast<HANDLE>(std::intptr_t{fd + 1000}); }

}  // namespace

// --- memory and pointers -------------------------------------------------------------------------------------------

HGLOBAL GlobalAlloc(UINT, UINT size) {
    // Programs on the real system have 2 GB at most; a fuzzer shall see allocations of that order fail.
    if (size > 0x30000000) return nullptr;
    void* block = std::calloc(1, size);
    if (!block) return nullptr;
    const std::lock_guard lock(mapsMutex);
    globalBlocks()[block] = size;
    return block;
}
void* GlobalLock(HGLOBAL handle) { return handle; }
BOOL GlobalUnlock(HGLOBAL) { return TRUE; }
HGLOBAL GlobalHandle(const void* block) {
    const std::lock_guard lock(mapsMutex);
    return globalBlocks().count(block) ? const_cast<void*>(block) : nullptr;
}
UINT GlobalSize(HGLOBAL handle) {
    const std::lock_guard lock(mapsMutex);
    const auto found = globalBlocks().find(handle);
    return found == globalBlocks().end() ? 0 : static_cast<UINT>(found->second);
}
HGLOBAL GlobalFree(HGLOBAL handle) {
    const std::lock_guard lock(mapsMutex);
    if (!globalBlocks().erase(handle)) std::abort();  // freed twice, or never allocated
    std::free(handle);
    return nullptr;
}

// The kernel copies a byte of every page, or says that it cannot.
BOOL IsBadReadPtr(const void* p, UINT count) {
    if (count == 0) return FALSE;
    const auto start = reinterpret_cast<std::uintptr_t>(p);
    if (start + count < start) return TRUE;
    for (std::uintptr_t at = start; at < start + count; at = (at | 4095) + 1) {
        char byte;
        const iovec here = {&byte, 1}, there = {reinterpret_cast<void*>(at), 1};
        if (process_vm_readv(getpid(), &here, 1, &there, 1, 0) != 1) return TRUE;
    }
    return FALSE;
}

void* VirtualAlloc(void* address, UINT size, DWORD type, DWORD protection) {
    const int access = protection == PAGE_READWRITE ? PROT_READ | PROT_WRITE : PROT_NONE;
    if (!(type & MEM_RESERVE)) return mprotect(address, size, access) == 0 ? address : nullptr;
    void* block = mmap(nullptr, size, access, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) return nullptr;
    const std::lock_guard lock(mapsMutex);
    pageRanges()[static_cast<char*>(block)] = size;
    return block;
}
BOOL VirtualLock(void*, UINT) { return TRUE; }
BOOL VirtualUnlock(void*, UINT) { return TRUE; }
// Tells of a page at a time, and of pages of VirtualAlloc only: elsewhere a sanitizer may keep its own, or guard parts
// of a page, and sources in memory are read as far as a damaged file says.
UINT VirtualQuery(const void* address, MEMORY_BASIC_INFORMATION* info, UINT size) {
    char* at = static_cast<char*>(const_cast<void*>(address));
    const std::lock_guard lock(mapsMutex);
    const auto above = pageRanges().upper_bound(at);
    if (above == pageRanges().begin()) return 0;
    const auto& [start, length] = *std::prev(above);
    if (at >= start + length) return 0;
    char* page = at - (at - start) % 4096;
    const DWORD protection = IsBadReadPtr(page, 1) ? PAGE_NOACCESS : PAGE_READWRITE;
    *info = {page, const_cast<char*>(start), 4096, MEM_COMMIT, protection};
    return size;
}
BOOL VirtualFree(void* address, UINT, DWORD) {
    const std::lock_guard lock(mapsMutex);
    const auto found = pageRanges().find(static_cast<char*>(address));
    if (found == pageRanges().end()) std::abort();
    munmap(address, found->second);
    pageRanges().erase(found);
    return TRUE;
}

// --- files ---------------------------------------------------------------------------------------------------------

HANDLE CreateFileA(const char* name, DWORD access, DWORD, SECURITY_ATTRIBUTES*, DWORD disposition, DWORD, HANDLE) {
    if (!name) return INVALID_HANDLE_VALUE;
    const bool reads = access & GENERIC_READ, writes = access & GENERIC_WRITE;
    int flags = O_LARGEFILE | (reads && writes ? O_RDWR : writes ? O_WRONLY : O_RDONLY);
    if (disposition == CREATE_ALWAYS) flags |= O_CREAT | O_TRUNC;
    std::string path = name;
    std::replace(path.begin(), path.end(), '\\', '/');
    return handleOf(open(path.c_str(), flags, 0600));
}
HANDLE CreateFileW(const WCHAR* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD disposition,
                   DWORD attributes, HANDLE model) {
    return name ? CreateFileA(narrow(name).c_str(), access, share, security, disposition, attributes, model)
                : INVALID_HANDLE_VALUE;
}
BOOL ReadFile(HANDLE file, void* destination, DWORD count, DWORD* bytesRead, OVERLAPPED*) {
    const ssize_t n = read(descriptor(file), destination, count);
    *bytesRead = n > 0 ? static_cast<DWORD>(n) : 0;
    return n >= 0;
}
namespace {
BOOL writeToFile(HANDLE file, const void* source, DWORD count, DWORD* bytesWritten, OVERLAPPED*) {
    const ssize_t n = write(descriptor(file), source, count);
    *bytesWritten = n > 0 ? static_cast<DWORD>(n) : 0;
    return n >= 0;
}
}  // namespace
extern "C" decltype(&WriteFile) importedWriteFile;
decltype(&WriteFile) importedWriteFile = writeToFile;
BOOL WriteFile(HANDLE file, const void* source, DWORD count, DWORD* bytesWritten, OVERLAPPED* overlapped) {
    return importedWriteFile(file, source, count, bytesWritten, overlapped);
}
DWORD SetFilePointer(HANDLE file, LONG distance, LONG* high, DWORD method) {
    const long long by = high ? static_cast<long long>(*high) << 32 | static_cast<DWORD>(distance) : distance;
    const off64_t at = lseek64(descriptor(file), by,
                               method == FILE_BEGIN     ? SEEK_SET
                               : method == FILE_CURRENT ? SEEK_CUR
                                                        : SEEK_END);
    return at < 0 ? INVALID_SET_FILE_POINTER : static_cast<DWORD>(at);
}
BOOL SetEndOfFile(HANDLE file) { return ftruncate64(descriptor(file), lseek64(descriptor(file), 0, SEEK_CUR)) == 0; }
DWORD GetFileSize(HANDLE file, DWORD* high) {
    struct stat64 status;
    if (fstat64(descriptor(file), &status) != 0) return ~0ul;
    if (high) *high = static_cast<DWORD>(static_cast<unsigned long long>(status.st_size) >> 32);
    return static_cast<DWORD>(status.st_size);
}
BOOL CloseHandle(HANDLE file) { return close(descriptor(file)) == 0; }
BOOL DeleteFileA(const char* name) { return name && unlink(name) == 0; }
BOOL DeleteFileW(const WCHAR* name) { return name && DeleteFileA(narrow(name).c_str()); }
DWORD GetFileAttributesA(const char* name) {
    return access(name, F_OK) == 0 ? FILE_ATTRIBUTE_NORMAL : INVALID_FILE_ATTRIBUTES;
}

DWORD GetTempPathA(DWORD size, char* folder) {
    const char* set = std::getenv("TMPDIR");
    return static_cast<DWORD>(std::snprintf(folder, size, "%s/", set ? set : "/tmp"));
}
DWORD GetTempPathW(DWORD size, WCHAR* folder) {
    char name[MAX_PATH];
    const DWORD n = std::min(GetTempPathA(sizeof name, name), size - 1);
    std::copy(name, name + n + 1, folder);
    return n;
}
UINT GetTempFileNameW(const WCHAR* folder, const WCHAR* prefix, UINT, WCHAR* name) {
    std::string made = narrow(folder) + "/" + narrow(prefix) + "XXXXXX";
    const int fd = mkstemp(made.data());
    if (fd < 0) return 0;
    close(fd);
    std::copy_n(made.c_str(), made.size() + 1, name);
    return 1;
}

// --- process, locks, versions --------------------------------------------------------------------------------------

void InitializeCriticalSection(CRITICAL_SECTION* section) {
    auto* mutex = new pthread_mutex_t;
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(mutex, &attributes);
    section->mutex = mutex;
}
void DeleteCriticalSection(CRITICAL_SECTION* section) { delete static_cast<pthread_mutex_t*>(section->mutex); }
void EnterCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutex_lock(static_cast<pthread_mutex_t*>(section->mutex));
}
void LeaveCriticalSection(CRITICAL_SECTION* section) {
    pthread_mutex_unlock(static_cast<pthread_mutex_t*>(section->mutex));
}
void* InterlockedCompareExchangePointer(void** target, void* exchange, void* comparand) {
    return __sync_val_compare_and_swap(target, comparand, exchange);
}

LONG InterlockedExchangeAdd(LONG volatile* target, LONG value) { return __sync_fetch_and_add(target, value); }

namespace {
std::mutex listMutex;
}
SLIST_ENTRY* InterlockedPushEntrySList(SLIST_HEADER* list, SLIST_ENTRY* entry) {
    const std::lock_guard lock(listMutex);
    entry->Next = list->first;
    return std::exchange(list->first, entry);
}
SLIST_ENTRY* InterlockedPopEntrySList(SLIST_HEADER* list) {
    const std::lock_guard lock(listMutex);
    SLIST_ENTRY* entry = list->first;
    if (entry) list->first = entry->Next;
    return entry;
}

HMODULE GetModuleHandle(const WCHAR*) { return nullptr; }
DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }
HANDLE GetCurrentProcess() { return nullptr; }
DWORD GetVersion() { return 6 | 1 << 8; }
DWORD GetModuleFileNameA(HMODULE, char*, DWORD) { return 0; }
DWORD GetFileVersionInfoSizeA(const char*, DWORD*) { return 0; }
BOOL GetFileVersionInfoA(const char*, DWORD, DWORD, void*) { return FALSE; }
BOOL VerQueryValueA(const void*, const char*, void**, UINT*) { return FALSE; }
int MultiByteToWideChar(UINT, DWORD, const char* text, int count, WCHAR* wide, int size) {
    const int n = std::min(count, size);
    std::copy(text, text + n, wide);
    return n;
}

// --- bitmaps and palettes ------------------------------------------------------------------------------------------

namespace {

struct Bitmap {
    void* bits;
    UINT colours;
    RGBQUAD table[256];
};

struct Context {
    Bitmap* selected;
};

struct Palette {
    UINT count;
    PALETTEENTRY entries[256];
};

int objects;

// The 20 static colours; entries 8 to 11 belong to the desktop.
Palette& stockPalette() {
    static Palette palette = {
        20, {{0, 0, 0, 0},       {128, 0, 0, 0},     {0, 128, 0, 0},     {128, 128, 0, 0},   {0, 0, 128, 0},
             {128, 0, 128, 0},   {0, 128, 128, 0},   {192, 192, 192, 0}, {192, 220, 192, 0}, {166, 202, 240, 0},
             {255, 251, 240, 0}, {160, 160, 164, 0}, {128, 128, 128, 0}, {255, 0, 0, 0},     {0, 255, 0, 0},
             {255, 255, 0, 0},   {0, 0, 255, 0},     {255, 0, 255, 0},   {0, 255, 255, 0},   {255, 255, 255, 0}}};
    return palette;
}

Context* contextOf(HDC dc) { return reinterpret_cast<Context*>(dc); }

}  // namespace

HWND GetDesktopWindow() { return nullptr; }
HDC GetDC(HWND) { return nullptr; }
int ReleaseDC(HWND, HDC) { return 1; }
HDC CreateCompatibleDC(HDC) { return reinterpret_cast<HDC>(new Context{}); }
BOOL DeleteDC(HDC dc) {
    delete contextOf(dc);
    return TRUE;
}
HGDIOBJ SelectObject(HDC dc, HGDIOBJ object) {
    return std::exchange(contextOf(dc)->selected, static_cast<Bitmap*>(object));
}
BOOL DeleteObject(HGDIOBJ object) {
    auto* bitmap = static_cast<Bitmap*>(object);
    std::free(bitmap->bits);
    delete bitmap;
    objects--;
    return TRUE;
}
HGDIOBJ GetStockObject(int) { return &stockPalette(); }
HBITMAP CreateDIBSection(HDC, const BITMAPINFO* info, UINT, void** bits, HANDLE, DWORD) {
    const BITMAPINFOHEADER& header = info->bmiHeader;
    if (header.biSizeImage > 0x30000000) return nullptr;
    auto* bitmap = new Bitmap{std::calloc(1, header.biSizeImage), header.biClrUsed, {}};
    *bits = bitmap->bits;
    objects++;
    return reinterpret_cast<HBITMAP>(bitmap);
}
UINT SetDIBColorTable(HDC dc, UINT first, UINT count, const RGBQUAD* colours) {
    Bitmap* bitmap = contextOf(dc)->selected;
    if (!bitmap || first >= bitmap->colours) return 0;
    count = std::min(count, bitmap->colours - first);
    std::copy(colours, colours + count, bitmap->table + first);
    return count;
}
UINT GetDIBColorTable(HDC dc, UINT first, UINT count, RGBQUAD* colours) {
    const Bitmap* bitmap = contextOf(dc)->selected;
    if (!bitmap || first >= bitmap->colours) return 0;
    count = std::min(count, bitmap->colours - first);
    std::copy(bitmap->table + first, bitmap->table + first + count, colours);
    return count;
}
HPALETTE CreateHalftonePalette(HDC) {
    static Palette palette = [] {
        Palette made = {256, {}};
        for (UINT i = 0; i < 256; i++) {
            const BYTE level = static_cast<BYTE>(i);
            made.entries[i] = {level, level, level, 0};
        }
        return made;
    }();
    return reinterpret_cast<HPALETTE>(&palette);
}
UINT GetPaletteEntries(HPALETTE palette, UINT first, UINT count, PALETTEENTRY* entries) {
    const auto* from = reinterpret_cast<const Palette*>(palette);
    if (first >= from->count) return 0;
    count = std::min(count, from->count - first);
    std::copy(from->entries + first, from->entries + first + count, entries);
    return count;
}
DWORD GetGuiResources(HANDLE, DWORD) { return static_cast<DWORD>(objects); }
