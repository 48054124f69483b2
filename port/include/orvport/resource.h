// String resources of a module. Where Windows has a resource DLL, the port has the compiled .res of the same
// .rc: an HMODULE maps it read-only and resources are read in place.
#pragma once

#include "orvport/error.h"
#include "orvport/module.h"
#include "orvport/types.h"

#define MAKEINTRESOURCEW(id) (reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(static_cast<WORD>(id))))
#define IS_INTRESOURCE(name) ((reinterpret_cast<ULONG_PTR>(name) >> 16) == 0)
#define RT_STRING MAKEINTRESOURCEW(6)

#define LOAD_LIBRARY_AS_DATAFILE 0x00000002u
#define LOAD_LIBRARY_AS_IMAGE_RESOURCE 0x00000020u

/// Maps the resource library \p sPath, a .res file; \p dwFlags has LOAD_LIBRARY_AS_DATAFILE. Code is not
/// loaded this way.
HMODULE LoadLibraryExW(LPCWSTR sPath, HANDLE hReserved, DWORD dwFlags) noexcept
    ORVPORT_SHARED(LoadLibraryExW);

/// Unmaps a resource library; its texts end with it.
BOOL FreeLibrary(HMODULE hModule) noexcept ORVPORT_SHARED(FreeLibrary);

HRSRC FindResourceW(HMODULE hModule, LPCWSTR sName, LPCWSTR sType) noexcept;
HGLOBAL LoadResource(HMODULE hModule, HRSRC hResource) noexcept;
LPVOID LockResource(HGLOBAL hData) noexcept;
DWORD SizeofResource(HMODULE hModule, HRSRC hResource) noexcept;
