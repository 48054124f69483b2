#include "systemzone.h"

namespace
{

constexpr LONGLONG g_nTicksPerSecond = 10000000;
constexpr LONGLONG g_nEpochTicks = 116444736000000000;

bool ToFields(LONGLONG nSeconds, SYSTEMTIME& st) noexcept
{
    const auto nTicks = static_cast<ULONGLONG>(nSeconds * g_nTicksPerSecond + g_nEpochTicks);
    const FILETIME ft = {static_cast<DWORD>(nTicks), static_cast<DWORD>(nTicks >> 32)};
    return FileTimeToSystemTime(&ft, &st) != 0;
}

bool ToSeconds(const SYSTEMTIME& st, LONGLONG& nSeconds) noexcept
{
    FILETIME ft;
    if (!SystemTimeToFileTime(&st, &ft))
        return false;
    const auto nTicks =
        static_cast<LONGLONG>(static_cast<ULONGLONG>(ft.dwHighDateTime) << 32 | ft.dwLowDateTime);
    nSeconds = (nTicks - g_nEpochTicks) / g_nTicksPerSecond;
    return true;
}

} // namespace

LONG PortZoneOffset(LONGLONG nUtc) noexcept
{
    SYSTEMTIME st;
    LONGLONG nLocal;
    if (!ToFields(nUtc, st) || !SystemTimeToTzSpecificLocalTime(nullptr, &st, &st) || !ToSeconds(st, nLocal))
        return PORT_NO_OFFSET;
    return static_cast<LONG>(nLocal - nUtc);
}

LONG PortZoneOffsetOfLocal(LONGLONG nLocal) noexcept
{
    SYSTEMTIME st;
    LONGLONG nUtc;
    if (!ToFields(nLocal, st) || !TzSpecificLocalTimeToSystemTime(nullptr, &st, &st) || !ToSeconds(st, nUtc))
        return PORT_NO_OFFSET;
    return static_cast<LONG>(nLocal - nUtc);
}
