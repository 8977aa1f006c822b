// File names and files.
#pragma once

#include <string>
#include <vector>

namespace ornconvert {

// "folder/stem.extension": the folder with its slash, the extension with its dot, each possibly empty.
struct NameParts {
    std::wstring folder, stem, extension;
};
NameParts splitName(const std::wstring& file);

// The files that a name with * or ? stands for, sorted; else, and where there are none, the name itself.
std::vector<std::wstring> filesNamed(const std::wstring& name);

// Windows compares file names without regard to case.
bool sameName(const std::wstring& a, const std::wstring& b);
std::wstring comparableName(const std::wstring& file);  // from the root on and in capitals
bool endsInSlash(const std::wstring& name);
bool isFolder(const std::wstring& name);
void createFolder(const std::wstring& name);  // unless it is there; throws a Failure

// The first 512 bytes, or as many as there are. Throws a Failure that says why the file cannot be read.
std::vector<unsigned char> readStart(const std::wstring& file);
unsigned long long fileSize(const std::wstring& file);

// A file that appears whole or not at all: it is written under a temporary name in the same folder and takes
// its own name when finished. Until then an older file of that name, perhaps the very input, stays as it is.
class OutputFile {
 public:
    explicit OutputFile(const std::wstring& name);  // throws a Failure
    ~OutputFile();                                  // removes what was not finished
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::wstring& name() const { return name_; }
    const std::wstring& temporaryName() const { return temporary_; }
    void finish();  // throws a Failure

 private:
    std::wstring name_, temporary_;
};

}  // namespace ornconvert
