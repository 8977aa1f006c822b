#include "tests/support/failing_writes.h"

// The program's own entry for WriteFile in its import table.
extern "C" void* importedWriteFile __asm__("__imp__WriteFile@20");

namespace test {

WriteFunction importWriteFile(WriteFunction function) {
    const auto before = reinterpret_cast<WriteFunction>(importedWriteFile);
    DWORD protection;
    VirtualProtect(&importedWriteFile, sizeof(void*), PAGE_READWRITE, &protection);
    importedWriteFile = reinterpret_cast<void*>(function);
    VirtualProtect(&importedWriteFile, sizeof(void*), protection, &protection);
    return before;
}

}  // namespace test
