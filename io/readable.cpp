#include "io/readable.h"

#include <algorithm>

#include "core/platform.h"

namespace orn32 {
namespace {

bool canBeRead(const MEMORY_BASIC_INFORMATION& region) {
    return region.State == MEM_COMMIT && !(region.Protect & (PAGE_NOACCESS | PAGE_GUARD));
}

}  // namespace

// The system is asked, and the memory left alone: a file can name any distance, and a touch to find out what
// is there would use up the guard page at the end of another thread's stack.
std::uintptr_t readableEnd(std::uintptr_t start, std::uint32_t count) {
    const std::uintptr_t wanted = start + std::min<std::uintptr_t>(count, 0 - start - 1);
    std::uintptr_t end = start;
    while (end < wanted) {
        MEMORY_BASIC_INFORMATION region;
        if (!VirtualQuery(reinterpret_cast<const void*>(end), &region, sizeof region) || !canBeRead(region))
            break;
        end = reinterpret_cast<std::uintptr_t>(region.BaseAddress) + region.RegionSize;
        if (end < start) return wanted;  // the last region of the address space
    }
    return end;
}

}  // namespace orn32
