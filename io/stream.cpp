#include "io/stream.h"

#include "io/memory_stream.h"
#include "io/open_file.h"
#include "io/readable.h"
#include "orn32.h"

namespace orn32 {
namespace {

constexpr std::uint32_t probedBytes = 100;

HANDLE openSource(const Source& source) {
    if (source.buffer) return memory_stream::openInput(source.buffer, GENERIC_READ);
    return openFile(source.wideName, source.narrowName, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
}

HANDLE openTarget(const Target& target) {
    if (!target.result) return openFile(target.wideName, target.narrowName, GENERIC_WRITE, 0, CREATE_ALWAYS);
    *target.result = nullptr;
    return memory_stream::openOutput();
}

}  // namespace

bool startIsReadable(const Source& source) {
    return !source.buffer || isReadable(source.buffer, probedBytes);
}

InputStream::InputStream(const Source& source)
    : inMemory_(source.buffer != nullptr), handle_(openSource(source)) {}

InputStream::~InputStream() {
    if (!isOpen()) return;
    inMemory_ ? memory_stream::closeInput(handle_) : CloseHandle(handle_);
}

std::uint32_t InputStream::read(void* destination, std::uint32_t count) {
    if (lost_) {
        readFailed_ = true;
        return 0;
    }
    DWORD n = 0;
    const BOOL ok = inMemory_ ? memory_stream::read(handle_, destination, count, &n, nullptr)
                              : ReadFile(handle_, destination, count, &n, nullptr);
    readFailed_ = !ok;
    return ok ? n : 0;
}

const std::uint8_t* InputStream::readInPlace(std::uint32_t& count) {
    return memory_stream::readInPlace(handle_, count);
}

// The high part makes the position unsigned for files too: one beyond the end is reached, and reads nothing.
std::uint32_t InputStream::seek(std::uint32_t position) {
    const LONG distance = static_cast<LONG>(position);
    LONG high = 0;
    if (inMemory_) return memory_stream::seekInput(handle_, distance, &high, FILE_BEGIN);
    const DWORD reached = SetFilePointer(handle_, distance, &high, FILE_BEGIN);
    lost_ = reached != position;
    return reached;
}

std::uint32_t InputStream::skip(std::int32_t distance) {
    if (inMemory_) return memory_stream::seekInput(handle_, distance, nullptr, FILE_CURRENT);
    const DWORD reached = SetFilePointer(handle_, distance, nullptr, FILE_CURRENT);
    if (reached == INVALID_SET_FILE_POINTER) lost_ = true;
    return reached;
}

OutputStream::OutputStream(const Target& target) : target_(target), handle_(openTarget(target)) {}

OutputStream::~OutputStream() {
    if (!isOpen()) return;
    if (target_.result) {
        memory_stream::closeOutput(handle_);
        return;
    }
    CloseHandle(handle_);
    if (committed_) return;
    target_.wideName ? DeleteFileW(target_.wideName) : DeleteFileA(target_.narrowName);
}

void OutputStream::reserve(std::uint32_t size) {
    if (target_.result && !memory_stream::reserveOutput(handle_, size)) failed_ = true;
}

bool OutputStream::write(const void* source, std::uint32_t count) {
    DWORD n = 0;
    const BOOL ok = target_.result ? memory_stream::write(handle_, source, count, &n, nullptr)
                                   : WriteFile(handle_, source, count, &n, nullptr);
    if (ok && n == count) return true;
    failed_ = true;
    return false;
}

std::uint32_t OutputStream::seek(std::uint32_t position) {
    const LONG distance = static_cast<LONG>(position);
    const DWORD reached = target_.result ? memory_stream::seekOutput(handle_, distance, nullptr, FILE_BEGIN)
                                         : SetFilePointer(handle_, distance, nullptr, FILE_BEGIN);
    if (reached != position) failed_ = true;
    return reached;
}

std::uint32_t OutputStream::position() {
    const DWORD at = target_.result ? memory_stream::seekOutput(handle_, 0, nullptr, FILE_CURRENT)
                                    : SetFilePointer(handle_, 0, nullptr, FILE_CURRENT);
    if (at == INVALID_SET_FILE_POINTER) failed_ = true;
    return at;
}

int OutputStream::status() const {
    if (!failed_) return 0;
    return target_.result ? ERR_MEMORY : ERR_WRITE;
}

int OutputStream::commit() {
    if (failed_) return status();
    if (target_.result)
        if (const int code = memory_stream::finishOutput(handle_, target_.result)) return code;
    committed_ = true;
    return 0;
}

}  // namespace orn32
