// Appending to a file in such a way that it is either done or has not happened.
#pragma once

#include <cstdint>

#include "core/platform.h"
#include "io/stream.h"

namespace orn32 {

// A file in the system's temporary folder, deleted at the end.
class TemporaryFile {
 public:
    explicit TemporaryFile(const WCHAR* prefix);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    bool exists() const { return name_[0] != 0; }
    const WCHAR* name() const { return name_; }

 private:
    WCHAR name_[MAX_PATH];
};

// The last bytes of an existing file, and the way to put others in their place.
class FileTail {
 public:
    static constexpr std::uint32_t mostBytes = 16;

    // Opens the file for itself alone; not open where there is none.
    explicit FileTail(const Target& target);
    ~FileTail();
    FileTail(const FileTail&) = delete;
    FileTail& operator=(const FileTail&) = delete;

    bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
    bool readFailed() const { return readFailed_; }
    const std::uint8_t* bytes() const { return bytes_; }
    std::uint32_t count() const { return count_; }

    // Replaces the last dropped bytes, at most count(), by length bytes of another file. Where that fails,
    // the file gets back the bytes and the length that it had. Returns 0 or ERR_WRITE.
    [[nodiscard]] int replace(std::uint32_t dropped, InputStream& by, std::uint32_t length);

 private:
    bool copy(InputStream& from, std::uint32_t length);
    bool write(const void* source, std::uint32_t count);

    HANDLE handle_;
    std::uint64_t size_ = 0;
    std::uint32_t count_ = 0;
    bool readFailed_ = false;
    std::uint8_t bytes_[mostBytes];
};

}  // namespace orn32
