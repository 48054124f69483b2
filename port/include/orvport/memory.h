// CoTaskMem and BSTR allocation.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

typedef WCHAR* BSTR;
typedef WCHAR* LPOLESTR;

LPVOID CoTaskMemAlloc(SIZE_T cb) noexcept ORVPORT_SHARED(CoTaskMemAlloc);
void CoTaskMemFree(LPVOID pv) noexcept ORVPORT_SHARED(CoTaskMemFree);

BSTR SysAllocString(LPCWSTR psz) noexcept ORVPORT_SHARED(SysAllocString);
BSTR SysAllocStringLen(LPCWSTR strIn, UINT ui) noexcept ORVPORT_SHARED(SysAllocStringLen);
void SysFreeString(BSTR bstrString) noexcept ORVPORT_SHARED(SysFreeString);
UINT SysStringLen(BSTR pbstr) noexcept ORVPORT_SHARED(SysStringLen);

HLOCAL LocalAlloc(UINT uFlags, SIZE_T uBytes) noexcept;
HLOCAL LocalFree(HLOCAL hMem) noexcept;

HRESULT StringFromCLSID(const CLSID& rclsid, LPOLESTR* lplpsz) noexcept;
