// Text to the standard streams: Unicode on a console, UTF-8 into pipes and files.
#pragma once

#include <cstddef>
#include <string>

namespace ornconvert {

void print(const std::wstring& lines);    // to standard output
void complain(const std::wstring& line);  // to standard error, after the program's name

// A complaint about a file that was converted nevertheless, though not wholly; the exit status will be 1.
void warn(const std::wstring& file, const std::wstring& words);
bool warned();

// "3 of 20: name" on the last line of a terminal, replaced by the next one and wiped before other text and at
// the end. Nothing at all where standard error is no terminal, or where there is only one thing to do.
class Progress {
 public:
    explicit Progress(std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void next(const std::wstring& name);

 private:
    std::size_t total_, done_ = 0;
    bool visible_;
};

}  // namespace ornconvert
