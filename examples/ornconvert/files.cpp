// File names and files.
#include "files.h"

#include <windows.h>

#include <algorithm>

#include "interrupt.h"
#include "messages.h"

namespace ornconvert {
namespace {

class FileHandle {
 public:
    FileHandle(const std::wstring& name, DWORD access, DWORD disposition, DWORD flags = FILE_ATTRIBUTE_NORMAL)
        : handle_(CreateFileW(name.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, disposition, flags, nullptr)) {}
    ~FileHandle() {
        if (*this) CloseHandle(handle_);
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle_; }

 private:
    HANDLE handle_;
};

[[noreturn]] void failForSystemError(const wchar_t* attempt, DWORD error, const std::wstring& file = {}) {
    throw Failure{text(attempt, L": ", systemErrorInWords(error)), file};
}

std::wstring inCapitals(std::wstring name) {
    CharUpperBuffW(name.data(), static_cast<DWORD>(name.size()));
    return name;
}

// A name that no file has, in the folder of the given one, proved by creating such a file. It is gone again,
// as appending to a file that is there differs from creating it. Process numbers are not unique on a disk
// that machines share.
std::wstring freeNameBeside(const std::wstring& file) {
    const std::wstring folder = splitName(file).folder;
    const DWORD process = GetCurrentProcessId();
    for (DWORD attempt = GetTickCount();; attempt++) {
        const std::wstring name = text(folder, L"ornconvert-", process, L"-", attempt, L".tmp");
        if (FileHandle(name, GENERIC_WRITE, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE)) return name;
        const DWORD error = GetLastError();
        if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS)
            failForSystemError(L"no file can be created in its folder", error, file);
    }
}

}  // namespace

NameParts splitName(const std::wstring& file) {
    const std::size_t slash = file.find_last_of(L"/\\:");
    const std::size_t start = slash == std::wstring::npos ? 0 : slash + 1;
    std::size_t dot = file.rfind(L'.');
    if (dot == std::wstring::npos || dot <= start) dot = file.size();  // a leading dot begins no extension
    return {file.substr(0, start), file.substr(start, dot - start), file.substr(dot)};
}

std::vector<std::wstring> filesNamed(const std::wstring& name) {
    if (name.find_first_of(L"*?") == std::wstring::npos) return {name};
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW(name.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return {name};
    do
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            names.push_back(splitName(name).folder + found.cFileName);
    while (FindNextFileW(search, &found));
    FindClose(search);
    if (names.empty()) return {name};
    std::ranges::sort(names);
    return names;
}

bool sameName(const std::wstring& a, const std::wstring& b) {
    return inCapitals(a) == inCapitals(b);
}

std::wstring comparableName(const std::wstring& file) {
    std::wstring full(32768, 0);
    const DWORD length =
        GetFullPathNameW(file.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length == 0 || length >= full.size()) return inCapitals(file);
    full.resize(length);
    return inCapitals(full);
}

bool endsInSlash(const std::wstring& name) {
    return !name.empty() && (name.back() == L'/' || name.back() == L'\\');
}

bool isFolder(const std::wstring& name) {
    const DWORD attributes = GetFileAttributesW(name.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

void createFolder(const std::wstring& name) {
    if (isFolder(name) || CreateDirectoryW(name.c_str(), nullptr)) return;
    const DWORD error = GetLastError();
    if (!isFolder(name)) failForSystemError(L"the folder cannot be created", error, name);
}

std::vector<unsigned char> readStart(const std::wstring& file) {
    if (isFolder(file)) throw Failure{L"this is a folder, not a picture file"};
    const FileHandle handle(file, GENERIC_READ, OPEN_EXISTING);
    if (!handle) failForSystemError(L"cannot be opened", GetLastError());
    std::vector<unsigned char> start(512);
    DWORD n = 0;
    if (!ReadFile(handle.get(), start.data(), static_cast<DWORD>(start.size()), &n, nullptr))
        failForSystemError(L"cannot be read", GetLastError());
    start.resize(n);
    return start;
}

unsigned long long fileSize(const std::wstring& file) {
    const FileHandle handle(file, GENERIC_READ, OPEN_EXISTING);
    LARGE_INTEGER size = {};
    if (handle) GetFileSizeEx(handle.get(), &size);
    return static_cast<unsigned long long>(size.QuadPart);
}

OutputFile::OutputFile(const std::wstring& name) : name_(name) {
    // Renaming over a device or a pipe would replace it.
    const FileHandle old(name, 0, OPEN_EXISTING);
    if (old && GetFileType(old.get()) != FILE_TYPE_DISK) throw Failure{L"this is not an ordinary file", name};
    temporary_ = freeNameBeside(name);
}

OutputFile::~OutputFile() {
    if (!temporary_.empty()) DeleteFileW(temporary_.c_str());
}

void OutputFile::finish() {
    stopIfInterrupted();
    if (!MoveFileExW(temporary_.c_str(), name_.c_str(), MOVEFILE_REPLACE_EXISTING))
        failForSystemError(L"the finished file cannot take its place", GetLastError(), name_);
    temporary_.clear();
}

}  // namespace ornconvert
