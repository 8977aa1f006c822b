#include "core/locks.h"

namespace orn32 {
namespace {

struct NamedLock {
    const char* name = "ORN32_Critical_Section";  // for who looks with a debugger
    CRITICAL_SECTION section;

    NamedLock() { InitializeCriticalSection(&section); }
    ~NamedLock() { DeleteCriticalSection(&section); }
};

NamedLock locks[static_cast<int>(Module::spare4) + 1];

}  // namespace

ModuleLock::ModuleLock(Module module) noexcept : section_(locks[static_cast<int>(module)].section) {
    EnterCriticalSection(&section_);
}

ModuleLock::~ModuleLock() {
    LeaveCriticalSection(&section_);
}

}  // namespace orn32
