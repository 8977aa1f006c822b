#include "tests/support/files.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace test {

TempFile::TempFile(const char* extension) {
    static int count = 0;
    char folder[MAX_PATH];
    GetTempPathA(MAX_PATH, folder);
    name_ = folder + std::string("orn32-") + std::to_string(GetCurrentProcessId()) + "-" +
            std::to_string(++count) + extension;
    wide_.assign(name_.begin(), name_.end());
}

TempFile::~TempFile() {
    DeleteFileA(name());
}

bool TempFile::exists() const {
    return GetFileAttributesA(name()) != INVALID_FILE_ATTRIBUTES;
}

void writeFile(const std::string& name, const Bytes& bytes) {
    std::ofstream file(name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + name);
}

Bytes readFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

Bytes taken(void* buffer) {
    const HGLOBAL block = GlobalHandle(buffer);
    const auto* p = static_cast<const std::uint8_t*>(buffer);
    const Bytes bytes(p, p + GlobalSize(block));
    GlobalUnlock(block);
    GlobalFree(block);
    return bytes;
}

std::vector<std::string> corpusFiles(const std::string& folder, const std::string& extension) {
    std::vector<std::string> names;
    const char* corpus = std::getenv("ORN32_CORPUS");
    std::error_code absent;
    if (corpus)
        for (const auto& entry : std::filesystem::directory_iterator(corpus + ("/" + folder), absent))
            if (entry.path().extension() == extension) names.push_back(entry.path().generic_string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace test
