// What the wide and the narrow registry calls share.
#pragma once

#include "registry/registrytext.h"

namespace OrvPort
{

/// Type and bytes of a value, checked against what the handle was opened for.
LSTATUS FetchRegValue(HKEY hKey, CRegView sName, DWORD& dwType, CRegData& data) noexcept;

/// Hands out a value as the query calls do: a null buffer asks for the size.
LSTATUS DeliverRegValue(DWORD dwType, const CRegData& data, LPDWORD lpType, LPBYTE lpData,
                        LPDWORD lpcbData) noexcept;

} // namespace OrvPort
