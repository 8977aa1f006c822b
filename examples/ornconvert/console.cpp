// Text to the standard streams.
#include "console.h"

#include <windows.h>

#include <algorithm>

#include "messages.h"

namespace ornconvert {
namespace {

constexpr std::size_t progressWidth = 78;

bool isConsole(HANDLE stream) {
    DWORD mode;
    return GetConsoleMode(stream, &mode) != 0;
}

// The Unicode file names of a system that is not Windows can hold lone surrogates; they become U+FFFD here.
std::string utf8(const std::wstring& s) {
    const int length = static_cast<int>(s.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, s.data(), length, nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(std::max(bytes, 0)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, s.data(), length, out.data(), bytes, nullptr, nullptr);
    return out;
}

void write(DWORD which, const std::wstring& words) {
    const HANDLE stream = GetStdHandle(which);
    DWORD written;
    if (isConsole(stream)) {
        WriteConsoleW(stream, words.data(), static_cast<DWORD>(words.size()), &written, nullptr);
    } else {
        const std::string bytes = utf8(words);
        WriteFile(stream, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    }
}

std::size_t progressShown = 0;  // characters of the progress line on the terminal
bool anyWarning = false;

void wipeProgress() {
    if (!progressShown) return;
    write(STD_ERROR_HANDLE, L"\r" + std::wstring(progressShown, L' ') + L"\r");
    progressShown = 0;
}

}  // namespace

void print(const std::wstring& lines) {
    write(STD_OUTPUT_HANDLE, lines + L"\n");
}

void complain(const std::wstring& line) {
    wipeProgress();
    write(STD_ERROR_HANDLE, L"ornconvert: " + line + L"\n");
}

void warn(const std::wstring& file, const std::wstring& words) {
    complain(file + L": " + words);
    anyWarning = true;
}

bool warned() {
    return anyWarning;
}

Progress::Progress(std::size_t total)
    : total_(total), visible_(total > 1 && isConsole(GetStdHandle(STD_ERROR_HANDLE))) {}

Progress::~Progress() {
    wipeProgress();
}

void Progress::next(const std::wstring& name) {
    done_++;
    if (!visible_) return;
    wipeProgress();
    const std::wstring line = text(done_, L" of ", total_, L": ", name).substr(0, progressWidth);
    write(STD_ERROR_HANDLE, line);
    progressShown = line.size();
}

}  // namespace ornconvert
