// The system's dialogs for file names; both return "" when the user decides against it.
#pragma once

#include <windows.h>

#include <string>

namespace ornview {

std::wstring askWhatToOpen(HWND owner);
std::wstring askWhereToSave(HWND owner, const std::wstring& suggestion);

}  // namespace ornview
