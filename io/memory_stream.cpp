#include "io/memory_stream.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "core/locks.h"
#include "core/memory.h"
#include "io/readable.h"
#include "orn32.h"

namespace orn32 {

namespace memory_stream {
namespace {

struct InputSlot {
    std::uint32_t id;  // slot index + 1, 0 when free
    const std::uint8_t* base;
    std::uint32_t position;
    std::uintptr_t readableFrom, readableTo;  // what is known already
};

struct Chunk {
    std::uint8_t* data;  // null where its memory could not be had
    std::uint32_t length;
    std::uint32_t offset;
    Chunk* next;
    Chunk* previous;
};

struct OutputSlot {
    std::uint32_t id;
    std::uint32_t size;  // the highest offset ever written to
    std::uint32_t chunkcount;
    Chunk* firstchunk;
    Chunk* lastchunk;
    std::uint32_t position;
    std::uint8_t* block;  // the finished block, where its size was known from the start
    std::uint32_t reserved;
};

InputSlot inputs[slotCount];
OutputSlot outputs[slotCount];

template <class Slot>
HANDLE takeSlot(Slot (&slots)[slotCount]) {
    const ModuleLock lock(Module::streams);
    for (std::uint32_t i = 0; i < slotCount; i++) {
        if (slots[i].id) continue;
        slots[i] = {};
        slots[i].id = i + 1;
        return reinterpret_cast<HANDLE>(std::uintptr_t{i + 1});
    }
    return INVALID_HANDLE_VALUE;
}

template <class Slot>
Slot* slotOf(Slot (&slots)[slotCount], HANDLE handle) {
    const std::uintptr_t number = reinterpret_cast<std::uintptr_t>(handle);
    return number >= 1 && number <= slotCount ? &slots[number - 1] : nullptr;
}

std::uint32_t blockSize(const std::uint8_t* base) {
    if (!base) return 0;
    const HGLOBAL handle = GlobalHandle(base);
    return handle ? static_cast<std::uint32_t>(GlobalSize(handle)) : 0;
}

// The list of chunks is circular: the first one's previous is the last.
void link(OutputSlot& slot, Chunk* chunk) {
    if (!slot.firstchunk) slot.firstchunk = slot.lastchunk = chunk;
    chunk->previous = slot.lastchunk;
    chunk->next = slot.firstchunk;
    slot.lastchunk->next = chunk;
    slot.firstchunk->previous = chunk;
    slot.lastchunk = chunk;
    slot.chunkcount++;
}

// Calls visit(chunk) for every chunk in the order written; a visited chunk may be released.
template <class Visit>
void forEachChunk(const OutputSlot& slot, Visit visit) {
    Chunk* chunk = slot.firstchunk;
    for (std::uint32_t n = slot.chunkcount; n > 0; n--) {
        Chunk* next = chunk->next;
        visit(chunk);
        chunk = next;
    }
}

}  // namespace

HANDLE openInput(const void* buffer, DWORD access) {
    if (access != GENERIC_READ) return INVALID_HANDLE_VALUE;
    const HANDLE handle = takeSlot(inputs);
    if (InputSlot* slot = slotOf(inputs, handle)) slot->base = static_cast<const std::uint8_t*>(buffer);
    return handle;
}

const std::uint8_t* readInPlace(HANDLE handle, std::uint32_t& count) {
    const std::uint32_t wanted = std::exchange(count, 0);
    InputSlot* slot = slotOf(inputs, handle);
    if (!slot) return nullptr;
    const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(slot->base);
    const std::uintptr_t at = base + slot->position;
    const auto* p = reinterpret_cast<const std::uint8_t*>(at);
    if (at < base) return p;  // beyond the address space, or before the buffer
    if (at < slot->readableFrom || at > slot->readableTo || slot->readableTo - at < wanted) {
        slot->readableFrom = at;
        slot->readableTo = readableEnd(at, wanted);
    }
    count = static_cast<std::uint32_t>(std::min<std::uintptr_t>(wanted, slot->readableTo - at));
    slot->position += count;
    return p;
}

BOOL WINAPI read(HANDLE handle, void* destination, DWORD count, DWORD* bytesRead, OVERLAPPED*) {
    *bytesRead = 0;
    if (!slotOf(inputs, handle)) return FALSE;
    std::uint32_t n = count;
    const std::uint8_t* p = readInPlace(handle, n);
    std::memcpy(destination, p, n);
    *bytesRead = n;
    return TRUE;
}

DWORD WINAPI seekInput(HANDLE handle, LONG distance, LONG*, DWORD method) {
    InputSlot* slot = slotOf(inputs, handle);
    if (!slot) return INVALID_SET_FILE_POINTER;
    const std::uint32_t by = static_cast<std::uint32_t>(distance);
    if (method == FILE_BEGIN) slot->position = by;
    if (method == FILE_CURRENT) slot->position += by;
    if (method == FILE_END) slot->position = blockSize(slot->base) + by;
    return slot->position;
}

BOOL WINAPI closeInput(HANDLE handle) {
    InputSlot* slot = slotOf(inputs, handle);
    if (!slot) return FALSE;
    slot->id = 0;
    return TRUE;
}

HANDLE openOutput() {
    return takeSlot(outputs);
}

bool reserveOutput(HANDLE handle, DWORD size) {
    OutputSlot* slot = slotOf(outputs, handle);
    if (!slot) return false;
    if (callerAllocatesBlocks()) return true;
    slot->block = static_cast<std::uint8_t*>(allocateBlock(size));
    if (!slot->block) return false;
    slot->reserved = static_cast<std::uint32_t>(size);
    bringInBlock(slot->block, slot->reserved);
    return true;
}

namespace {

bool writeToBlock(const OutputSlot& slot, const void* source, std::uint32_t count) {
    if (slot.position > slot.reserved || count > slot.reserved - slot.position) return false;
    std::memcpy(slot.block + slot.position, source, count);
    return true;
}

// A chunk whose data could not be kept stays in the list, but the write has failed: better no buffer than one
// with a hole.
bool writeChunk(OutputSlot& slot, const void* source, std::uint32_t count) {
    Chunk* chunk = static_cast<Chunk*>(allocateWork(MemoryEntry::counted, 1, sizeof(Chunk)));
    if (!chunk) return false;
    link(slot, chunk);
    if (count > 0) {
        chunk->data = static_cast<std::uint8_t*>(allocateToFill(count));
        if (!chunk->data) return false;
        std::memcpy(chunk->data, source, count);
    }
    chunk->length = count;
    chunk->offset = slot.position;
    return true;
}

}  // namespace

BOOL WINAPI write(HANDLE handle, const void* source, DWORD count, DWORD* bytesWritten, OVERLAPPED*) {
    *bytesWritten = 0;
    OutputSlot* slot = slotOf(outputs, handle);
    if (!slot) return FALSE;
    const std::uint32_t n = static_cast<std::uint32_t>(count);
    if (!(slot->block ? writeToBlock(*slot, source, n) : writeChunk(*slot, source, n))) return FALSE;
    slot->position += n;
    if (slot->position > slot->size) slot->size = slot->position;
    *bytesWritten = count;
    return TRUE;
}

DWORD WINAPI seekOutput(HANDLE handle, LONG distance, LONG*, DWORD method) {
    OutputSlot* slot = slotOf(outputs, handle);
    if (!slot) return INVALID_SET_FILE_POINTER;
    const std::uint32_t by = static_cast<std::uint32_t>(distance);
    if (method == FILE_BEGIN) slot->position = by;
    if (method == FILE_CURRENT) slot->position += by;
    return slot->position;
}

int finishOutput(HANDLE handle, void** result) {
    OutputSlot* slot = slotOf(outputs, handle);
    if (!slot || slot->size == 0) return ERR_MEMORY;
    if (slot->block) {
        *result = std::exchange(slot->block, nullptr);
        return 0;
    }
    std::uint8_t* buffer = static_cast<std::uint8_t*>(allocateBlock(slot->size));
    if (!buffer) return ERR_MEMORY;
    bringInBlock(buffer, slot->size);
    forEachChunk(*slot, [&](const Chunk* chunk) {
        if (chunk->data) std::memcpy(buffer + chunk->offset, chunk->data, chunk->length);
    });
    *result = buffer;
    return 0;
}

BOOL WINAPI closeOutput(HANDLE handle) {
    OutputSlot* slot = slotOf(outputs, handle);
    if (!slot) return FALSE;
    forEachChunk(*slot, [](Chunk* chunk) {
        if (chunk->data) releaseWork(chunk->data);
        releaseWork(chunk);
    });
    if (slot->block) freeBlock(slot->block);
    slot->id = 0;
    return TRUE;
}

}  // namespace memory_stream
}  // namespace orn32
