// Byte streams for the codecs: one interface over files named in ANSI or UTF-16 and over caller memory.
#pragma once

#include <cstdint>

#include "core/platform.h"

namespace orn32 {

// Where a picture is read from: the buffer if there is one, else the wide name, else the narrow name.
struct Source {
    const WCHAR* wideName = nullptr;
    const char* narrowName = nullptr;
    const void* buffer = nullptr;
};

// Where a picture is written to, chosen likewise; a buffer's address is stored through result.
struct Target {
    const WCHAR* wideName = nullptr;
    const char* narrowName = nullptr;
    void** result = nullptr;
};

inline Source fromFile(const char* name) {
    return {.narrowName = name};
}
inline Source fromFile(const WCHAR* name) {
    return {.wideName = name};
}
inline Source fromBuffer(const void* buffer) {
    return {.buffer = buffer};
}
inline Target toFile(const char* name) {
    return {.narrowName = name};
}
inline Target toFile(const WCHAR* name) {
    return {.wideName = name};
}
inline Target toBuffer(void** result) {
    return {.result = result};
}

// False when the source is a buffer whose first 100 bytes cannot be read.
bool startIsReadable(const Source& source);

class InputStream {
 public:
    explicit InputStream(const Source& source);
    ~InputStream();
    InputStream(const InputStream&) = delete;
    InputStream& operator=(const InputStream&) = delete;

    bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

    // Reads up to count bytes and returns how many there were: fewer at the end.
    std::uint32_t read(void* destination, std::uint32_t count);

    // For a stream over memory: the bytes that read would copy, where they lie. count becomes how many there
    // are.
    bool inMemory() const { return inMemory_; }
    const std::uint8_t* readInPlace(std::uint32_t& count);

    // Whether the last read came back with an error, and not just with fewer bytes.
    bool readFailed() const { return readFailed_; }

    // Reads a whole record, or reports that there was not enough.
    bool readWhole(void* destination, std::uint32_t count) { return read(destination, count) == count; }

    // Positions are absolute, or relative to the current one; both return the new position. After one that
    // the system refuses, reads fail until another succeeds: no bytes rather than wrong ones.
    std::uint32_t seek(std::uint32_t position);
    std::uint32_t skip(std::int32_t distance);
    std::uint32_t position() { return skip(0); }

 private:
    bool inMemory_;
    bool readFailed_ = false;
    bool lost_ = false;  // the position is not where it was asked to be
    HANDLE handle_;
};

// An output that comes to nothing unless it is committed: its destructor deletes a file that was created.
class OutputStream {
 public:
    explicit OutputStream(const Target& target);
    ~OutputStream();
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

    // A short write is remembered; what follows is written all the same. Returns true if all was written.
    bool write(const void* source, std::uint32_t count);

    // Prepares for exactly size bytes in all, which spares a buffer a copy of them. What cannot be had counts
    // as a write that came up short.
    void reserve(std::uint32_t size);

    // A position that cannot be reached or told counts as a failed write.
    std::uint32_t seek(std::uint32_t position);
    std::uint32_t position();

    // 0, or the result code of a write that came up short: ERR_WRITE, for a buffer ERR_MEMORY.
    int status() const;

    // Keeps the file, or hands the finished buffer to the caller, unless a write has failed.
    // Returns status() or ERR_MEMORY.
    [[nodiscard]] int commit();

 private:
    Target target_;
    HANDLE handle_;
    bool failed_ = false;
    bool committed_ = false;
};

}  // namespace orn32
