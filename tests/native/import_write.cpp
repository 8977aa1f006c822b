// The platform layer's WriteFile calls through this pointer, as programs for Windows do through their import
// table.
#include "tests/support/failing_writes.h"

extern "C" test::WriteFunction importedWriteFile;

namespace test {

WriteFunction importWriteFile(WriteFunction function) {
    const WriteFunction before = importedWriteFile;
    importedWriteFile = function;
    return before;
}

}  // namespace test
