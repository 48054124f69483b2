#include "zonekeyname.h"

#include <windows.h>

const WCHAR* PortZoneKeyName(const WCHAR*) noexcept
{
    return nullptr;
}
