#include "tests/support/failing_writes.h"

#include <algorithm>

#include "tests/support/import_write.h"

namespace test {
namespace {

unsigned left;
bool full;
WriteFunction systemWriteFile;

BOOL WINAPI writeWhatFits(HANDLE file, const void* source, DWORD count, DWORD* written,
                          OVERLAPPED* overlapped) {
    const DWORD position = SetFilePointer(file, 0, nullptr, FILE_CURRENT), size = GetFileSize(file, nullptr);
    const DWORD inside = position < size ? size - position : 0;
    const DWORD fresh = count > inside ? count - inside : 0;
    const DWORD fits = std::min(fresh, static_cast<DWORD>(left));
    left -= fits;
    if (fits < fresh) full = true;
    return systemWriteFile(file, source, count - fresh + fits, written, overlapped);
}

}  // namespace

FullDisk::FullDisk(unsigned freeBytes) {
    left = freeBytes;
    full = false;
    systemWriteFile = importWriteFile(writeWhatFits);
}

FullDisk::~FullDisk() {
    importWriteFile(systemWriteFile);
}

bool FullDisk::wasFull() const {
    return full;
}

}  // namespace test
