// File name dialogs, with the formats that the library knows.
#include "dialogs.h"

#include <commdlg.h>

#include <algorithm>

#include "ornconvert/formats.h"
#include "ornconvert/messages.h"

namespace ornview {

using namespace ornconvert;

namespace {

constexpr DWORD longestName = 32768;

std::wstring patternsOf(const Format& format) {
    std::wstring patterns;
    for (const wchar_t* extension : format.extensions)
        patterns += (patterns.empty() ? L"*." : L";*.") + std::wstring(extension);
    return patterns;
}

// Pairs of what the user reads and what it stands for, each ended by a zero.
void addFilter(std::wstring& filters, const std::wstring& name, const std::wstring& patterns) {
    filters += name + L'\0' + patterns + L'\0';
}

std::wstring filtersByFormat() {
    std::wstring filters;
    for (const Format* format : formats())
        addFilter(filters, text(format->name, L" pictures"), patternsOf(*format));
    return filters;
}

OPENFILENAMEW dialog(HWND owner, const std::wstring& filters, std::wstring& name) {
    name.resize(longestName);
    OPENFILENAMEW dialog = {};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = filters.c_str();
    dialog.lpstrFile = name.data();
    dialog.nMaxFile = longestName;
    dialog.Flags = OFN_NOCHANGEDIR | OFN_HIDEREADONLY;
    return dialog;
}

}  // namespace

std::wstring askWhatToOpen(HWND owner) {
    std::wstring all, filters, name;
    for (const Format* format : formats()) all += (all.empty() ? L"" : L";") + patternsOf(*format);
    addFilter(filters, L"Pictures", all);
    filters += filtersByFormat();
    addFilter(filters, L"All files", L"*.*");
    OPENFILENAMEW box = dialog(owner, filters, name);
    box.Flags |= OFN_FILEMUSTEXIST;
    return GetOpenFileNameW(&box) ? name.c_str() : L"";
}

// The dialog adds the extension of the chosen format to a name without one, before it looks whether the file
// exists.
std::wstring askWhereToSave(HWND owner, const std::wstring& suggestion) {
    const std::wstring filters = filtersByFormat();
    const auto known = std::ranges::find(formats(), formatByExtension(suggestion));
    const std::size_t chosen =
        known == formats().end() ? 0 : static_cast<std::size_t>(known - formats().begin());
    std::wstring name = suggestion;
    OPENFILENAMEW box = dialog(owner, filters, name);
    box.nFilterIndex = static_cast<DWORD>(chosen) + 1;
    box.lpstrDefExt = formats()[chosen]->extensions[0];
    box.Flags |= OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST;
    return GetSaveFileNameW(&box) ? name.c_str() : L"";
}

}  // namespace ornview
