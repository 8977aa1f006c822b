// Which function the program calls as WriteFile.
#pragma once

#include <windows.h>

namespace test {

using WriteFunction = BOOL(WINAPI*)(HANDLE, const void*, DWORD, DWORD*, OVERLAPPED*);

// Takes the function's place and returns what was called before.
WriteFunction importWriteFile(WriteFunction function);

}  // namespace test
