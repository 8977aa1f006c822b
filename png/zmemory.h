// The compressor's and decompressor's tables come from the library's own memory functions.
#pragma once

#include <zlib.h>

#include "core/memory.h"

namespace orn32::png {

inline voidpf allocateTables(voidpf, uInt count, uInt size) {
    return allocateWork(MemoryEntry::secondCounted, count, size);
}
inline void releaseTables(voidpf, voidpf block) {
    releaseWork(block);
}

// A stream without data, ready for inflateInit2 or deflateInit2.
inline z_stream emptyStream() {
    z_stream stream = {};
    stream.zalloc = allocateTables;
    stream.zfree = releaseTables;
    return stream;
}

}  // namespace orn32::png
