// Files for tests: temporary ones that vanish, and the picture corpus beside the checkout.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline Bytes slice(const Bytes& bytes, std::size_t from, std::size_t count) {
    const auto start = bytes.begin() + static_cast<std::ptrdiff_t>(from);
    return {start, start + static_cast<std::ptrdiff_t>(count)};
}

// A name in the temporary folder, for a file that is deleted at the end.
class TempFile {
 public:
    explicit TempFile(const char* extension);
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const char* name() const { return name_.c_str(); }
    const wchar_t* wideName() const { return wide_.c_str(); }
    bool exists() const;

 private:
    std::string name_;
    std::wstring wide_;
};

void writeFile(const std::string& name, const Bytes& bytes);
Bytes readFile(const std::string& name);

// The bytes of what a save to memory has made, which is released. There may be more of them than the file
// has.
Bytes taken(void* buffer);

// Files of a corpus folder ("bmp", "png", ...) with full names, sorted; none where the corpus is absent.
std::vector<std::string> corpusFiles(const std::string& folder, const std::string& extension);

}  // namespace test
