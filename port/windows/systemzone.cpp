#include "systemzone.h"

namespace
{

constexpr LONGLONG kTicksPerSecond = 10000000;
constexpr LONGLONG kEpochTicks = 116444736000000000;

bool ToFields(LONGLONG nSeconds, SYSTEMTIME& st) noexcept
{
    const auto nTicks = static_cast<ULONGLONG>(nSeconds * kTicksPerSecond + kEpochTicks);
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
    nSeconds = (nTicks - kEpochTicks) / kTicksPerSecond;
    return true;
}

/// Converts by the system's zone and returns how much later the result is, times \p iSign.
template <class Convert>
LONG OffsetBy(Convert convert, LONGLONG nFrom, int iSign) noexcept
{
    SYSTEMTIME st;
    LONGLONG nTo;
    if (!ToFields(nFrom, st) || !convert(nullptr, &st, &st) || !ToSeconds(st, nTo))
        return kPortNoOffset;
    return static_cast<LONG>(nTo - nFrom) * iSign;
}

} // namespace

LONG PortZoneOffset(LONGLONG nUtc) noexcept
{
    return OffsetBy(SystemTimeToTzSpecificLocalTime, nUtc, 1);
}

LONG PortZoneOffsetOfLocal(LONGLONG nLocal) noexcept
{
    return OffsetBy(TzSpecificLocalTimeToSystemTime, nLocal, -1);
}
