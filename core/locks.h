// The locks that serialise calls: one per module that is not re-entrant by contract.
#pragma once

#include "core/platform.h"

namespace orn32 {

// The twelve module locks; the spare ones are made and never taken.
enum class Module {
    bmp,
    gif,
    jpeg,
    png,
    streams,
    matching,
    cover,
    coverclear,
    spare1,
    spare2,
    spare3,
    spare4
};

// Holds a module's lock for as long as it lives, so that no path out of a call leaves it taken.
class ModuleLock {
 public:
    explicit ModuleLock(Module module) noexcept;
    ~ModuleLock();
    ModuleLock(const ModuleLock&) = delete;
    ModuleLock& operator=(const ModuleLock&) = delete;

 private:
    CRITICAL_SECTION& section_;
};

}  // namespace orn32
