#include "tests/support/files.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
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
    FILE* file = std::fopen(name.c_str(), "wb");
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
        throw std::runtime_error("cannot write " + name);
    std::fclose(file);
}

Bytes readFile(const std::string& name) {
    FILE* file = std::fopen(name.c_str(), "rb");
    if (!file) throw std::runtime_error("cannot read " + name);
    Bytes bytes;
    std::uint8_t block[65536];
    while (const std::size_t n = std::fread(block, 1, sizeof block, file))
        bytes.insert(bytes.end(), block, block + n);
    std::fclose(file);
    return bytes;
}

std::string corpusFile(const std::string& name) {
    const char* corpus = std::getenv("ORN32_CORPUS");
    if (!corpus) return "";
    const std::string full = std::string(corpus) + "/" + name;
    return GetFileAttributesA(full.c_str()) == INVALID_FILE_ATTRIBUTES ? "" : full;
}

std::vector<std::string> corpusFiles(const std::string& folder, const std::string& extension) {
    std::vector<std::string> names;
    const std::string full = corpusFile(folder);
    if (full.empty()) return names;
    for (const auto& entry : std::filesystem::directory_iterator(full)) {
        const std::string name = entry.path().filename().string();
        if (name.ends_with(extension)) names.push_back(full + "/" + name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace test
