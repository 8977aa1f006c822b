// Files by either kind of name.
#pragma once

#include "core/platform.h"

namespace orn32 {

// By the wide name if there is one, else by the narrow one; INVALID_HANDLE_VALUE without either.
inline HANDLE openFile(const WCHAR* wideName, const char* narrowName, DWORD access, DWORD share,
                       DWORD disposition) {
    if (wideName)
        return CreateFileW(wideName, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (narrowName)
        return CreateFileA(narrowName, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    return INVALID_HANDLE_VALUE;
}

}  // namespace orn32
