// Values as the registry keeps them.
#pragma once

#include "support/text.h"

#include <optional>
#include <string>
#include <utility>

using RegistryValue = std::pair<DWORD, std::string>; // type and bytes

inline RegistryValue TextValue(const Text& s, DWORD dwType = REG_SZ)
{
    return {dwType, std::string(reinterpret_cast<const char*>(s.c_str()), (s.size() + 1) * sizeof(WCHAR))};
}

template <class Number>
RegistryValue NumberValue(Number n)
{
    return {sizeof n == 4 ? REG_DWORD : REG_QWORD, std::string(reinterpret_cast<const char*>(&n), sizeof n)};
}

/// None when the key or the value is missing.
inline std::optional<RegistryValue> ReadValue(HKEY hHive, const Text& sKey, const WCHAR* sName)
{
    HKEY hKey;
    if (RegOpenKeyExW(hHive, sKey.c_str(), 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return std::nullopt;
    RegistryValue value;
    DWORD cb = 0;
    LSTATUS lStatus = RegQueryValueExW(hKey, sName, nullptr, &value.first, nullptr, &cb);
    value.second.resize(cb);
    if (lStatus == ERROR_SUCCESS)
        lStatus = RegQueryValueExW(hKey, sName, nullptr, nullptr,
                                   reinterpret_cast<LPBYTE>(value.second.data()), &cb);
    RegCloseKey(hKey);
    return lStatus == ERROR_SUCCESS ? std::optional(value) : std::nullopt;
}

/// Makes the key where it is missing; without a value deletes the one that is there.
inline LSTATUS StoreValue(HKEY hHive, const Text& sKey, const WCHAR* sName,
                          const std::optional<RegistryValue>& value)
{
    HKEY hKey;
    LSTATUS lStatus =
        RegCreateKeyExW(hHive, sKey.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &hKey, nullptr);
    if (lStatus != ERROR_SUCCESS)
        return lStatus;
    if (value)
    {
        // Windows looks behind unterminated text and takes a terminator that happens to stand there along.
        const std::string sGuarded = value->second + "\xFF\xFF";
        lStatus = RegSetValueExW(hKey, sName, 0, value->first, reinterpret_cast<const BYTE*>(sGuarded.data()),
                                 static_cast<DWORD>(value->second.size()));
    }
    else
        lStatus = RegDeleteValueW(hKey, sName);
    RegCloseKey(hKey);
    return lStatus;
}
