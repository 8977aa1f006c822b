// The converter's console, for a program that has a window instead.
#include "notes.h"

#include <windows.h>

#include "ornconvert/console.h"

namespace ornview {
namespace {

std::wstring noted;

}  // namespace

void takeNotes() {
    noted.clear();
}

const std::wstring& notes() {
    return noted;
}

void tell(const std::wstring& line) {
    const std::wstring words = L"ornview: " + line + L"\n";
    char bytes[2000];
    const int n = WideCharToMultiByte(CP_UTF8, 0, words.data(), static_cast<int>(words.size()), bytes,
                                      sizeof bytes, nullptr, nullptr);
    DWORD written;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), bytes, static_cast<DWORD>(n), &written, nullptr);
}

}  // namespace ornview

namespace ornconvert {

void print(const std::wstring& lines) {
    ornview::tell(lines);
}

void complain(const std::wstring& line) {
    ornview::tell(line);
}

void warn(const std::wstring&, const std::wstring& words) {
    if (ornview::noted.find(words) != std::wstring::npos) return;  // another frame says the same
    ornview::noted += (ornview::noted.empty() ? L"" : L"; ") + words;
}

bool warned() {
    return !ornview::noted.empty();
}

}  // namespace ornconvert
