#include <windows.h>

#include <algorithm>
#include <cstdio>

HRESULT StringFromCLSID(const CLSID& rclsid, LPOLESTR* lplpsz) noexcept
{
    constexpr std::size_t nSize = sizeof("{00000000-0000-0000-0000-000000000000}");
    char sText[nSize];
    const auto& d = rclsid.Data4;
    std::snprintf(sText, nSize, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", rclsid.Data1,
                  rclsid.Data2, rclsid.Data3, d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7]);
    *lplpsz = static_cast<LPOLESTR>(CoTaskMemAlloc(nSize * sizeof(WCHAR)));
    if (!*lplpsz)
        return E_OUTOFMEMORY;
    std::copy_n(sText, nSize, *lplpsz);
    return S_OK;
}
