// Shell folders.
#pragma once

#include <windows.h>

#define CSIDL_APPDATA 0x001a
#define SHGFP_TYPE_CURRENT 0u

HRESULT SHGetFolderPathW(HWND hwnd, int csidl, HANDLE hToken, DWORD dwFlags, LPWSTR pszPath) noexcept;
