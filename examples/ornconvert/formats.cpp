// The table of file formats.
#include "formats.h"

#include <algorithm>

#include "files.h"
#include "messages.h"

namespace ornconvert {

extern const Format bmpFormat;
extern const Format gifFormat;
extern const Format jpegFormat;
extern const Format pngFormat;

namespace {

// One line per format. Content is tried in this order.
constexpr const Format* allFormats[] = {
    &bmpFormat,
    &gifFormat,
    &jpegFormat,
    &pngFormat,
};

}  // namespace

std::span<const Format* const> formats() {
    return allFormats;
}

const Format* formatByName(const std::wstring& name) {
    for (const Format* format : allFormats)
        for (const wchar_t* extension : format->extensions)
            if (sameName(name, extension)) return format;
    return nullptr;
}

const Format* formatByExtension(const std::wstring& file) {
    const std::wstring extension = splitName(file).extension;
    return extension.empty() ? nullptr : formatByName(extension.substr(1));
}

const Format& formatByContent(const std::wstring& file) {
    const std::vector<unsigned char> start = readStart(file);
    if (start.empty()) throw Failure{L"the file is empty"};
    for (const Format* format : allFormats)
        if (format->sniff(start)) return *format;
    throw Failure{text(L"its content is of none of the formats that can be read (", formatNames(), L")")};
}

std::wstring formatNames() {
    std::wstring names;
    for (const Format* format : allFormats)
        names += (names.empty() ? L"" : L", ") + std::wstring(format->name);
    return names;
}

void InfoList::add(const std::wstring& label, const std::wstring& value) {
    std::wstring shown;
    for (const wchar_t c : value) {
        if (c == L'\n')
            shown += L"\n      ";
        else
            shown += c < L' ' || (c >= 0x7F && c < 0xA0) ? L'?' : c;
    }
    rows_.push_back({label, shown});
}

void InfoList::heading(const std::wstring& line) {
    rows_.push_back({line, L""});
}

std::wstring InfoList::text() const {
    std::size_t widest = 0;
    for (const Row& row : rows_)
        if (!row.value.empty()) widest = std::max(widest, row.label.size());
    std::wstring lines;
    for (const Row& row : rows_) {
        if (!lines.empty()) lines += L"\n";
        lines += L"  " + row.label;
        if (!row.value.empty()) lines += std::wstring(widest - row.label.size() + 2, L' ') + row.value;
    }
    return lines;
}

}  // namespace ornconvert
