// Result codes and system errors in words.
#include "messages.h"

#include "orn32.h"

namespace ornconvert {
namespace {

struct ResultWords {
    int code;
    const wchar_t* name;
    const wchar_t* words;
};

constexpr ResultWords resultWords[] = {
    {ERR_RANGE, L"ERR_RANGE", L"the picture, or the area asked for, is too small or too large"},
    {ERR_WRITE, L"ERR_WRITE", L"not all of it could be written; the disk may be full"},
    {ERR_OPEN, L"ERR_OPEN", L"the file could not be opened"},
    {ERR_ARGUMENT, L"ERR_ARGUMENT", L"a number is outside the allowed range"},
    {ERR_UNSUPPORTED, L"ERR_UNSUPPORTED", L"this variant of the file format is not handled"},
    {ERR_CREATE, L"ERR_CREATE", L"the file could not be created"},
    {ERR_COMPRESSED, L"ERR_COMPRESSED", L"the picture's pixels are still compressed"},
    {ERR_MEMORY, L"ERR_MEMORY", L"there is not enough memory"},
    {ERR_NO_DATA, L"ERR_NO_DATA", L"the file holds no picture, or no thumbnail"},
    {ERR_BAD_GIF, L"ERR_BAD_GIF", L"not a GIF file, or nothing usable in its first frame"},
    {ERR_BITS, L"ERR_BITS", L"this cannot be done with the picture's number of bits per pixel"},
    {ERR_FORMAT, L"ERR_FORMAT", L"not a file of the format that it seems to be, or cut off in its header"},
    {ERR_BAD_BUFFER, L"ERR_BAD_BUFFER", L"the picture's pixels cannot be read from memory"},
    {ERR_BAD_JPEG, L"ERR_BAD_JPEG", L"not a JPEG file, or of a kind that is not decoded"},
    {ERR_SOURCE_BUFFER, L"ERR_SOURCE_BUFFER", L"the file's bytes cannot be read from memory"},
    {ERR_LZW_CODE, L"ERR_LZW_CODE", L"the GIF's data is compressed with string codes"},
    {ERR_TRUNCATED, L"ERR_TRUNCATED", L"the file ends early or its compressed data is damaged"},
    {ERR_PNG, L"ERR_PNG", L"the PNG file is damaged or of a kind that is not handled"},
    {ERR_ZLIB, L"ERR_ZLIB", L"compressing the PNG's data failed"},
    {ERR_THUMB_SIZE, L"ERR_THUMB_SIZE", L"the thumbnail is too large to be stored in a JPEG file"},
    {ERR_NO_FRAME, L"ERR_NO_FRAME", L"the GIF has no such frame, or no comment"},
    {ERR_TOO_LARGE, L"ERR_TOO_LARGE", L"the picture has 65536 or more pixels in one direction"},
};

}  // namespace

std::wstring resultInWords(int code) {
    for (const ResultWords& r : resultWords)
        if (r.code == code) return text(r.words, L" (", r.name, L", ", code, L")");
    return text(L"unknown result ", code);
}

std::wstring systemErrorInWords(DWORD error) {
    wchar_t words[512];
    DWORD n = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                             words, sizeof words / sizeof *words, nullptr);
    while (n && (words[n - 1] <= L' ' || words[n - 1] == L'.')) n--;
    return n ? std::wstring(words, n) : text(L"system error ", error);
}

int check(int code) {
    if (code < 0) throw Failure{resultInWords(code)};
    return code;
}

}  // namespace ornconvert
