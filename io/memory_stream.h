// Streams over memory, shaped like the Windows file functions so that a codec cannot tell them from files.
// Handles are the slot numbers 1 to 16 of two tables, one for inputs and one for outputs.
#pragma once

#include <cstdint>

#include "core/platform.h"

namespace orn32::memory_stream {

constexpr int slotCount = 16;

// An input has no stored end: it ends where the caller's memory stops being readable.
HANDLE openInput(const void* buffer, DWORD access);
BOOL WINAPI read(HANDLE handle, void* destination, DWORD count, DWORD* bytesRead, OVERLAPPED*);
DWORD WINAPI seekInput(HANDLE handle, LONG distance, LONG* high, DWORD method);

// A read without the copy: the address of the bytes; count becomes how many there are.
const std::uint8_t* readInPlace(HANDLE handle, std::uint32_t& count);
BOOL WINAPI closeInput(HANDLE handle);

// An output keeps every write as a chunk of its own until it is finished.
HANDLE openOutput();
BOOL WINAPI write(HANDLE handle, const void* source, DWORD count, DWORD* bytesWritten, OVERLAPPED*);
DWORD WINAPI seekOutput(HANDLE handle, LONG distance, LONG* high, DWORD method);
BOOL WINAPI closeOutput(HANDLE handle);

// Makes the finished block at once, for a writer that knows its size: what is written goes straight into it,
// and nothing can be written beyond it. Does nothing where the caller's own functions see every chunk.
// Returns false when the memory cannot be had.
bool reserveOutput(HANDLE handle, DWORD size);

// Replays the chunks, in the order written, into a new block that the caller of the library owns.
// Returns 0 or ERR_MEMORY (also when nothing was written).
int finishOutput(HANDLE handle, void** result);

}  // namespace orn32::memory_stream
