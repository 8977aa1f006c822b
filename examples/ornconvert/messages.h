// What the user is told: failures, and result codes and system errors in words.
#pragma once

#include <windows.h>

#include <concepts>
#include <string>

namespace ornconvert {

// Something that went wrong, in words. Without a file name it concerns the input that is being worked on.
struct Failure {
    std::wstring words;
    std::wstring file = {};
};

// The command line does not make sense.
struct UsageError {
    std::wstring words;
};

std::wstring resultInWords(int code);
std::wstring systemErrorInWords(DWORD error);

// Passes counts and 0 through and throws every other result of a library call as a Failure.
int check(int code);

inline const std::wstring& toText(const std::wstring& s) {
    return s;
}
inline std::wstring toText(const wchar_t* s) {
    return s;
}
inline std::wstring toText(std::integral auto number) {
    return std::to_wstring(number);
}

// Texts and numbers in a row: text(L"a picture of ", width, L" x ", height, L" pixels").
template <class... Parts>
std::wstring text(const Parts&... parts) {
    std::wstring all;
    ((all += toText(parts)), ...);
    return all;
}

}  // namespace ornconvert
