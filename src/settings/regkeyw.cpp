#include "orvcomtypes/regkeyw.h"

#include "orvcomtypes/octassert.h"

#include <windows.h>

LSTATUS CRegKeyW::Open(HKEY hParent, const WCHAR* sSubKey, REGSAM samDesired) noexcept
{
    HKEY hKey = nullptr;
    const LSTATUS lOpen = ::RegOpenKeyExW(hParent, sSubKey, 0, samDesired, &hKey);
    if (lOpen == ERROR_SUCCESS)
        Hold("CRegKeyW::Open", hKey);
    return lOpen;
}

LSTATUS CRegKeyW::Create(HKEY hParent, const WCHAR* sSubKey, REGSAM samDesired) noexcept
{
    HKEY hKey = nullptr;
    const LSTATUS lCreate = ::RegCreateKeyExW(hParent, sSubKey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                              samDesired, nullptr, &hKey, nullptr);
    if (lCreate == ERROR_SUCCESS)
        Hold("CRegKeyW::Create", hKey);
    return lCreate;
}

void CRegKeyW::Hold(const char* sFunction, HKEY hKey) noexcept
{
    const LSTATUS lRes = Close();
    if (lRes != ERROR_SUCCESS)
        ORV_REPORT(sFunction, "lRes == ERROR_SUCCESS");
    m_hKey = hKey;
}

LSTATUS CRegKeyW::Close() noexcept
{
    if (m_hKey == nullptr)
        return ERROR_SUCCESS;
    const LSTATUS lRes = ::RegCloseKey(m_hKey);
    m_hKey = nullptr;
    return lRes;
}

LSTATUS CRegKeyW::QueryStringValue(const WCHAR* sName, WCHAR* sBuffer, ULONG* pnChars) noexcept
{
    if (m_hKey == nullptr)
        ORV_REPORT("CRegKeyW::QueryStringValue", "m_hKey != nullptr");
    if (pnChars == nullptr)
    {
        ORV_REPORT("CRegKeyW::QueryStringValue", "pnChars != nullptr");
        return ERROR_INVALID_PARAMETER;
    }
    const ULONG nRoom = *pnChars;
    DWORD dwType = REG_NONE;
    DWORD cbData = static_cast<DWORD>(nRoom * sizeof(WCHAR));
    *pnChars = 0;
    const LSTATUS lRes =
        ::RegQueryValueExW(m_hKey, sName, nullptr, &dwType, reinterpret_cast<LPBYTE>(sBuffer), &cbData);
    if (lRes != ERROR_SUCCESS)
        return lRes;
    if (dwType != REG_SZ && dwType != REG_EXPAND_SZ)
        return ERROR_INVALID_DATA;
    if (sBuffer != nullptr && cbData != 0 &&
        (cbData % sizeof(WCHAR) != 0 || sBuffer[cbData / sizeof(WCHAR) - 1] != 0))
        return ERROR_INVALID_DATA;
    if (sBuffer != nullptr && cbData == 0 && nRoom != 0)
        sBuffer[0] = 0;
    *pnChars = static_cast<ULONG>(cbData / sizeof(WCHAR));
    return ERROR_SUCCESS;
}
