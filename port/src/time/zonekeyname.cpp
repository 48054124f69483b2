#include "zonekeyname.h"

const WCHAR* PortZoneKeyName(const WCHAR*) noexcept
{
    return nullptr;
}
