// What the wide and the narrow registry calls share.
#pragma once

#include "registry/registrytext.h"

#include <windows.h>

#include <type_traits>

namespace OrvPort
{

/// Runs \p fnUse on type and bytes of a value, checked against what the handle was opened for.
using RegValueUser = LSTATUS (*)(void* pContext, DWORD dwType, const CRegData& data);
LSTATUS UseRegValue(HKEY hKey, CRegView sName, RegValueUser fnUse, void* pContext) noexcept;

template <class Fn>
LSTATUS UseRegValue(HKEY hKey, CRegView sName, Fn&& use) noexcept
{
    const RegValueUser fnUse = [](void* pContext, DWORD dwType, const CRegData& data) {
        return (*static_cast<std::remove_reference_t<Fn>*>(pContext))(dwType, data);
    };
    return UseRegValue(hKey, sName, fnUse, &use);
}

/// Hands out a value as the query calls do: a null buffer asks for the size.
LSTATUS DeliverRegValue(DWORD dwType, const CRegData& data, LPDWORD lpType, LPBYTE lpData,
                        LPDWORD lpcbData) noexcept;

} // namespace OrvPort
