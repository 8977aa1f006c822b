#include "io/append.h"

#include <algorithm>

#include "io/open_file.h"
#include "orn32.h"

namespace orn32 {
namespace {

constexpr std::uint32_t pieceBytes = 8192;

bool seek(HANDLE handle, std::uint64_t position) {
    LONG high = static_cast<LONG>(position >> 32);
    return SetFilePointer(handle, static_cast<LONG>(position), &high, FILE_BEGIN) ==
           static_cast<DWORD>(position);
}

}  // namespace

TemporaryFile::TemporaryFile(const WCHAR* prefix) : name_{} {
    WCHAR folder[MAX_PATH + 1];
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    if (length == 0 || length > MAX_PATH || !GetTempFileNameW(folder, prefix, 0, name_)) name_[0] = 0;
}

TemporaryFile::~TemporaryFile() {
    if (exists()) DeleteFileW(name_);
}

FileTail::FileTail(const Target& target)
    : handle_(openFile(target.wideName, target.narrowName, GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING)) {
    if (!isOpen()) return;
    DWORD high = 0;
    size_ = GetFileSize(handle_, &high);
    size_ |= std::uint64_t{high} << 32;
    count_ = static_cast<std::uint32_t>(std::min<std::uint64_t>(size_, mostBytes));
    DWORD found = 0;
    readFailed_ = !seek(handle_, size_ - count_) || !ReadFile(handle_, bytes_, count_, &found, nullptr) ||
                  found < count_;
}

FileTail::~FileTail() {
    if (isOpen()) CloseHandle(handle_);
}

int FileTail::replace(std::uint32_t dropped, InputStream& by, std::uint32_t length) {
    if (!seek(handle_, size_ - dropped)) return ERR_WRITE;
    if (copy(by, length) && SetEndOfFile(handle_)) return 0;
    if (!seek(handle_, size_ - dropped)) return ERR_WRITE;
    write(bytes_ + count_ - dropped, dropped);
    SetEndOfFile(handle_);
    return ERR_WRITE;
}

bool FileTail::copy(InputStream& from, std::uint32_t length) {
    std::uint8_t piece[pieceBytes];
    while (length > 0) {
        const std::uint32_t n = std::min(length, pieceBytes);
        if (!from.readWhole(piece, n) || !write(piece, n)) return false;
        length -= n;
    }
    return true;
}

bool FileTail::write(const void* source, std::uint32_t count) {
    DWORD written = 0;
    return WriteFile(handle_, source, count, &written, nullptr) && written == count;
}

}  // namespace orn32
