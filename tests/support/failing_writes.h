// Makes the program's file writes come up short, as on a full disk.
#pragma once

#include <windows.h>

namespace test {

using WriteFunction = BOOL(WINAPI*)(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*);

// Takes the place of what the program calls as WriteFile, and returns what was called before.
WriteFunction importWriteFile(WriteFunction function);

// While it lives, writes succeed until a number of bytes has been written; what is beyond does not get to
// disk. Bytes of a file that were there before can be overwritten in any case.
class FullDisk {
 public:
    explicit FullDisk(unsigned freeBytes);
    ~FullDisk();
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
};

}  // namespace test
