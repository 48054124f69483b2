// CoTaskMem and BSTR allocation.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

typedef WCHAR* BSTR;
typedef WCHAR* LPOLESTR;

LPVOID CoTaskMemAlloc(SIZE_T cb) noexcept;
void CoTaskMemFree(LPVOID pv) noexcept;

BSTR SysAllocString(LPCWSTR psz) noexcept;
BSTR SysAllocStringLen(LPCWSTR strIn, UINT ui) noexcept;
void SysFreeString(BSTR bstrString) noexcept;
UINT SysStringLen(BSTR pbstr) noexcept;

HLOCAL LocalAlloc(UINT uFlags, SIZE_T uBytes) noexcept;
HLOCAL LocalFree(HLOCAL hMem) noexcept;

HRESULT StringFromCLSID(const CLSID& rclsid, LPOLESTR* lplpsz) noexcept;
