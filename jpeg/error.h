// The JPEG codec's detail codes, the last of which jpeggeterror returns, and the way up for deep failures.
#pragma once

#include "core/boundary.h"
#include "orn32.h"

namespace orn32::jpeg {

enum class Detail {
    none = 0,
    precision = -100,  // not 8 bits per sample
    endOfData = -101,
    readFailure = -104,
    huffmanCode = -105,  // a code longer than 16 bits, or a table that cannot be
    components = -106,   // too many of them, bad sampling factors, or a table that is missing
    blocksPerMcu = -107,
    componentCount = -109,  // not 1, 3 or 4
    frameType = -110,       // not Huffman-coded baseline, extended or progressive
    scanParameters = -113,
    writeToMemory = -114,
    writeFailure = -115,
};

// The detail code belongs to the whole process: it outlives the call that records it.
void record(Detail detail);

// A refusal that needs no unwinding: records why, and is the result.
[[nodiscard]] inline int refuse(Detail detail) {
    record(detail);
    return ERR_BAD_JPEG;
}

// Unwinds from deep inside the codec to the nearest unwindTo.
[[noreturn]] inline void fail(Detail detail) {
    throw Failure{0, static_cast<int>(detail)};
}
[[noreturn]] inline void failWith(int code) {
    throw Failure{code};
}

// Runs body, which returns a result code. What fail throws inside it is recorded and becomes code, whose
// value depends on what the call was doing; what failWith throws is a result code already.
template <class Body>
int unwindTo(int code, Body body) {
    try {
        return body();
    } catch (const Failure& failure) {
        if (failure.detail) record(static_cast<Detail>(failure.detail));
        return failure.code ? failure.code : code;
    }
}

}  // namespace orn32::jpeg
