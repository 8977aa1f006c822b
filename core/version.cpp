// Versions, read from the DLL's own version resource; and printing, which is not provided.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/library.h"
#include "core/memory.h"
#include "orn32.h"

namespace orn32 {
namespace {

constexpr char buildDate[] = "Jun 17 2004, 16:33:13";

struct Version {
    WORD number = 0;
    WORD build = 0;
};

// The version block comes from the memory table but goes back to the runtime's free, not through the table's
// release: old quirk that InitializeLibrary's callers are told about.
struct VersionBlock {
    void* data;
    explicit VersionBlock(DWORD size) : data(allocateWork(MemoryEntry::first, size, 1)) {}
    ~VersionBlock() { std::free(data); }
    VersionBlock(const VersionBlock&) = delete;
    VersionBlock& operator=(const VersionBlock&) = delete;
};

WORD fixedVersion(const void* block) {
    void* found = nullptr;
    UINT length = 0;
    if (!VerQueryValueA(block, "\\", &found, &length) || length < sizeof(VS_FIXEDFILEINFO)) return 0;
    const DWORD most = static_cast<const VS_FIXEDFILEINFO*>(found)->dwFileVersionMS;
    return static_cast<WORD>((HIWORD(most) & 0xFF) << 8 | (LOWORD(most) & 0xFF));
}

// The internal name ends in the build's four digits.
WORD buildNumber(const void* block) {
    void* found = nullptr;
    UINT length = 0;
    if (!VerQueryValueA(block, "\\StringFileInfo\\040904E4\\InternalName", &found, &length)) return 0;
    const char* name = static_cast<const char*>(found);
    const std::size_t n = std::strlen(name);
    WORD build = 0;
    for (std::size_t i = n < 4 ? n : n - 4; i < n; i++)
        build = static_cast<WORD>(build << 4 | (name[i] & 15));
    return build;
}

Version readVersion() {
    char path[256];
    if (!GetModuleFileNameA(library.instance, path, sizeof path)) return {};
    DWORD ignored;
    const DWORD size = GetFileVersionInfoSizeA(path, &ignored);
    if (!size) return {};
    const VersionBlock block(size);
    if (!block.data || !GetFileVersionInfoA(path, 0, size, block.data)) return {};
    return {fixedVersion(block.data), buildNumber(block.data)};
}

template <class Char>
void copyDate(const Char* date, Char* buffer, int size) {
    const int n = std::min<int>(sizeof buildDate, size);
    if (n > 0) std::memcpy(buffer, date, static_cast<std::size_t>(n) * sizeof(Char));
}

}  // namespace
}  // namespace orn32

using namespace orn32;

extern "C" WORD ORNAPI Orrinversionex(WORD words[2]) {
    const Version version = readVersion();
    words[0] = version.number;
    words[1] = version.build;
    return version.number;
}

extern "C" WORD ORNAPI Orrinversion() {
    return readVersion().number;
}

extern "C" WORD ORNAPI Orrinversiondate(char* buffer, int size) {
    copyDate(buildDate, buffer, size);
    return readVersion().number;
}

extern "C" WORD ORNAPI OrrinversiondateW(WCHAR* buffer, int size) {
    WCHAR wide[sizeof buildDate];
    MultiByteToWideChar(CP_ACP, 0, buildDate, sizeof buildDate, wide, sizeof buildDate);
    copyDate(wide, buffer, size);
    return readVersion().number;
}

extern "C" int ORNAPI printimage(long, long, long, long, long, long, long) {
    return 0;
}
