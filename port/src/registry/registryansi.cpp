// The narrow registry calls: names and text are in the ANSI code page, everything else as in the wide ones.
#include "registry/registryapi.h"
#include "registry/registrytext.h"

#include <windows.h>

#include <cstddef>
#include <new>

using namespace OrvPort;

namespace
{

bool IsText(DWORD dwType)
{
    return dwType == REG_SZ || dwType == REG_EXPAND_SZ || dwType == REG_MULTI_SZ;
}

CRegString WideName(LPCSTR sName)
{
    return sName == nullptr ? CRegString() : RegFromAnsi(sName);
}

/// Text as stored in 16-bit units; an odd byte at its end has no narrow form.
CRegData NarrowText(const CRegData& data)
{
    CRegString sText;
    for (std::size_t i = 0; i + 1 < data.size(); i += 2)
        sText.push_back(static_cast<WCHAR>(data[i] | data[i + 1] << 8));
    CRegData narrow;
    const auto convert = [&] {
        const int n = WideCharToMultiByte(CP_ACP, 0, sText.data(), static_cast<int>(sText.size()),
                                          reinterpret_cast<LPSTR>(narrow.data()),
                                          static_cast<int>(narrow.size()), nullptr, nullptr);
        if (n == 0) // a page whose tables found no memory
            throw std::bad_alloc();
        return static_cast<std::size_t>(n);
    };
    if (!sText.empty())
    {
        narrow.resize(convert()); // without room it asks for the size
        convert();
    }
    return narrow;
}

template <class Fn>
LSTATUS Guarded(Fn&& call) noexcept
{
    try
    {
        return call();
    }
    catch (const std::bad_alloc&)
    {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

} // namespace

LSTATUS RegQueryValueExA(HKEY hKey, LPCSTR lpValueName, LPDWORD, LPDWORD lpType, LPBYTE lpData,
                         LPDWORD lpcbData) noexcept
{
    if (lpData != nullptr && lpcbData == nullptr)
        return ERROR_INVALID_PARAMETER;
    return Guarded([&] {
        return UseRegValue(hKey, WideName(lpValueName), [&](DWORD dwType, const CRegData& data) {
            if (IsText(dwType))
                return DeliverRegValue(dwType, NarrowText(data), lpType, lpData, lpcbData);
            return DeliverRegValue(dwType, data, lpType, lpData, lpcbData);
        });
    });
}

LSTATUS RegSetValueExA(HKEY hKey, LPCSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                       DWORD cbData) noexcept
{
    return Guarded([&] {
        const CRegString sName = WideName(lpValueName);
        if (!IsText(dwType) || lpData == nullptr)
            return RegSetValueExW(hKey, sName.c_str(), Reserved, dwType, lpData, cbData);
        const CRegString sText = RegFromAnsi({reinterpret_cast<const char*>(lpData), cbData});
        return RegSetValueExW(hKey, sName.c_str(), Reserved, dwType,
                              reinterpret_cast<const BYTE*>(sText.data()),
                              static_cast<DWORD>(sText.size() * sizeof(WCHAR)));
    });
}

LSTATUS RegDeleteValueA(HKEY hKey, LPCSTR lpValueName) noexcept
{
    return Guarded([&] { return RegDeleteValueW(hKey, WideName(lpValueName).c_str()); });
}
