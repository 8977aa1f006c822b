// The border between the library's inside and its callers: nothing is thrown across it.
#pragma once

#include "core/locks.h"

namespace orn32 {

// A failure deep inside a codec, on its way up to the call's boundary.
struct Failure {
    int code;        // the result code of the call
    int detail = 0;  // the codec's finer code, where it keeps one
};

// Runs body, which returns a result code, and turns a Failure thrown inside it into its code.
template <class Body>
int guarded(Body body) noexcept {
    try {
        return body();
    } catch (const Failure& failure) {
        return failure.code;
    }
}

// The same under a module's lock.
template <class Body>
int guarded(Module module, Body body) noexcept {
    const ModuleLock lock(module);
    return guarded(body);
}

}  // namespace orn32
