#include "time/localzone.h"

LONG OrvZoneOffset(LONGLONG nUtc) noexcept
{
    return OCT::PlatformOffset(nullptr, nUtc);
}

LONG OrvZoneOffsetOfLocal(LONGLONG nLocal) noexcept
{
    return OCT::PlatformOffsetOfLocal(nullptr, nLocal);
}
