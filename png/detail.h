// What exactly was wrong with a PNG: the detail code behind ERR_PNG, kept for pnggeterror.
#pragma once

#include "core/boundary.h"
#include "orn32.h"

namespace orn32::png {

enum Detail : int {
    noDetail = 0,
    unknownCriticalChunk = -100,
    badHeaderLength = -102,
    badDepth = -103,
    badColourType = -104,
    badDepthForType = -105,
    badInterlace = -106,
    badCompression = -107,
    badFilterMethod = -108,
    emptyPicture = -109,
    badSignature = -110,
    badCrc = -111,
    badDataLength = -112,  // the compressed data holds too few or too many rows
    shortRead = -113,
    zlibWontStart = -114,
    noMemoryToWrite = zlibWontStart,
    corruptData = -115,
    deflateFailed = -116,
    shortWrite = -117,
};

// The detail of the last failure; success does not clear it, but starting to write does.
extern Detail lastDetail;

// Gives up the call: its result is ERR_PNG, or the code given.
[[noreturn]] inline void fail(Detail detail, int code = ERR_PNG) {
    throw Failure{code, detail};
}

// Runs body, which returns a result code, as one call into the PNG module: alone, and with every failure
// turned into its result and detail code.
template <class Body>
int call(Body body) noexcept {
    const ModuleLock lock(Module::png);
    try {
        return body();
    } catch (const Failure& failure) {
        if (failure.detail) lastDetail = static_cast<Detail>(failure.detail);
        return failure.code;
    }
}

}  // namespace orn32::png
