#include "orvcomtypes/timeutils.h"

#include "orvcomtypes/octassert.h"
#include "systemzone.h"
#include "time/civil.h"
#include "time/localzone.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <string_view>

namespace
{

constexpr std::int64_t SECOND_IN_FILETIME = 10000000;
constexpr std::int64_t BASE_IN_FILETIME = 116444736000000000;

/// The record that SetTimeZone fills, and the selection: null means the system's zone.
TIME_ZONE_INFORMATION g_timeZone;
std::atomic<const TIME_ZONE_INFORMATION*> g_pTimeZone{nullptr};

const TIME_ZONE_INFORMATION* SelectedZone() noexcept
{
    return g_pTimeZone.load(std::memory_order_acquire);
}

bool IsGiven(const char* sFunction, const WORD* year, const WORD* month, const WORD* day, const WORD* hour,
             const WORD* minute, const WORD* second) noexcept
{
    if (year != nullptr && month != nullptr && day != nullptr && hour != nullptr && minute != nullptr &&
        second != nullptr)
        return true;
    ORV_REPORT(sFunction, "year == nullptr || month == nullptr || day == nullptr || hour == nullptr || "
                          "minute == nullptr || second == nullptr");
    return false;
}

/// Reads a value of the zone's key. What is missing or too long leaves the target as it is, on purpose.
void ReadZoneValue(HKEY hKey, const WCHAR* sName, void* pTarget, DWORD cbTarget) noexcept
{
    RegQueryValueExW(hKey, sName, nullptr, nullptr, static_cast<BYTE*>(pTarget), &cbTarget);
}

/// The value "TZI" of a zone's key.
struct ZoneRecord
{
    LONG Bias;
    LONG StandardBias;
    LONG DaylightBias;
    SYSTEMTIME StandardDate;
    SYSTEMTIME DaylightDate;
};
static_assert(sizeof(ZoneRecord) == 44);

void FillZone(HKEY hKey, TIME_ZONE_INFORMATION& zone) noexcept
{
    ReadZoneValue(hKey, ORVTEXT("Std"), zone.StandardName, sizeof zone.StandardName);
    ReadZoneValue(hKey, ORVTEXT("Dlt"), zone.DaylightName, sizeof zone.DaylightName);
    ZoneRecord record = {zone.Bias, zone.StandardBias, zone.DaylightBias, zone.StandardDate,
                         zone.DaylightDate};
    ReadZoneValue(hKey, ORVTEXT("TZI"), &record, sizeof record);
    zone.Bias = record.Bias;
    zone.StandardBias = record.StandardBias;
    zone.DaylightBias = record.DaylightBias;
    zone.StandardDate = record.StandardDate;
    zone.DaylightDate = record.DaylightDate;
}

/// An offset that fields can be computed with: a record may hold anything.
LONG CheckedOffset(std::int64_t nOffset) noexcept
{
    constexpr std::int64_t nMost = 2 * 86400;
    return nOffset >= -nMost && nOffset <= nMost ? static_cast<LONG>(nOffset) : PORT_NO_OFFSET;
}

/// The offsets of a zone with rules, through the platform's conversions.
LONG RuleOffset(const TIME_ZONE_INFORMATION& zone, std::int64_t nUtc) noexcept
{
    const SYSTEMTIME stUtc = OCT::FieldsOf(nUtc);
    SYSTEMTIME st;
    if (!SystemTimeToTzSpecificLocalTime(&zone, &stUtc, &st))
        return PORT_NO_OFFSET;
    return CheckedOffset(OCT::SecondsOf(st) - nUtc);
}

LONG RuleOffsetOfLocal(const TIME_ZONE_INFORMATION& zone, std::int64_t nLocal) noexcept
{
    const SYSTEMTIME st = OCT::FieldsOf(nLocal);
    SYSTEMTIME stUtc;
    if (!TzSpecificLocalTimeToSystemTime(&zone, &st, &stUtc))
        return PORT_NO_OFFSET;
    return CheckedOffset(nLocal - OCT::SecondsOf(stUtc));
}

} // namespace

LONG OCT::ReportNarrowed(std::int64_t nSeconds) noexcept
{
    ORV_REPORT("TZ::FileTime2Timet", "t < -0x80000000LL || t > 0x7FFFFFFFLL");
    return static_cast<LONG>(nSeconds);
}

LONG OCT::SelectedOffset(std::int64_t nUtc) noexcept
{
    const TIME_ZONE_INFORMATION* const pZone = SelectedZone();
    return pZone == nullptr ? PortZoneOffset(nUtc) : RuleOffset(*pZone, nUtc);
}

LONG OCT::SelectedOffsetOfLocal(std::int64_t nLocal) noexcept
{
    const TIME_ZONE_INFORMATION* const pZone = SelectedZone();
    return pZone == nullptr ? PortZoneOffsetOfLocal(nLocal) : RuleOffsetOfLocal(*pZone, nLocal);
}

bool OCT::LocalFieldsOf(LONG t, SYSTEMTIME& st) noexcept
{
    const LONG nOffset = SelectedOffset(t);
    if (nOffset == PORT_NO_OFFSET)
        return false;
    st = FieldsOf(std::int64_t{t} + nOffset);
    return true;
}

LONG ORVCALL SetTimeZone(const WCHAR* zoneName)
{
    static constexpr std::basic_string_view<WCHAR> sFolder =
        ORVTEXT("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\");
    constexpr std::size_t nMaxName = 2048;
    g_pTimeZone.store(nullptr, std::memory_order_release);
    WCHAR sKey[sFolder.size() + nMaxName + 1];
    WCHAR* pEnd = std::ranges::copy(sFolder, sKey).out;
    for (std::size_t i = 0; zoneName != nullptr && i < nMaxName && zoneName[i] != 0; ++i)
        *pEnd++ = zoneName[i];
    *pEnd = 0;
    HKEY hKey;
    if (const LONG iError = RegOpenKeyExW(HKEY_LOCAL_MACHINE, sKey, 0, KEY_READ, &hKey);
        iError != ERROR_SUCCESS)
        return iError;
    FillZone(hKey, g_timeZone);
    const LONG iError = RegCloseKey(hKey);
    g_pTimeZone.store(&g_timeZone, std::memory_order_release);
    return iError;
}

FILETIME ORVCALL Timet2FileTime(LONG t)
{
    const auto nFileTime = static_cast<std::uint64_t>(t * SECOND_IN_FILETIME + BASE_IN_FILETIME);
    return {static_cast<DWORD>(nFileTime), static_cast<DWORD>(nFileTime >> 32)};
}

LONG ORVCALL FileTime2Timet(FILETIME ft)
{
    const std::uint64_t nFileTime = std::uint64_t{ft.dwHighDateTime} << 32 | ft.dwLowDateTime;
    return OCT::NarrowSeconds(static_cast<std::int64_t>(nFileTime - BASE_IN_FILETIME) / SECOND_IN_FILETIME);
}

bool ORVCALL Timet2SystemTime(LONG t, SYSTEMTIME* pST)
{
    if (pST == nullptr)
    {
        ORV_REPORT("TZ::Timet2SystemTime", "pST == nullptr");
        return false;
    }
    *pST = OCT::FieldsOf(t);
    return true;
}

bool ORVCALL Timet2LocalSystemTime(LONG t, SYSTEMTIME* pST)
{
    if (pST == nullptr)
    {
        ORV_REPORT("TZ::Timet2LocalSystemTime", "pST == nullptr");
        return false;
    }
    return OCT::LocalFieldsOf(t, *pST);
}

bool ORVCALL YMD2Timet(int year, int month, int day, int hour, int minute, int second, LONG* t)
{
    const std::int64_t nSeconds = OCT::SecondsOf(year, month, day, hour, minute, second);
    if (nSeconds == OCT::NO_SECONDS)
        return false;
    *t = OCT::NarrowSeconds(nSeconds);
    return true;
}

bool ORVCALL Timet2YMD(LONG t, WORD* year, WORD* month, WORD* day, WORD* hour, WORD* minute, WORD* second)
{
    WORD wUnused;
    const bool bGiven = IsGiven("TZ::Timet2YMD", year, month, day, &wUnused, &wUnused, &wUnused);
    const SYSTEMTIME st = bGiven ? OCT::FieldsOf(t) : SYSTEMTIME{};
    if (hour != nullptr)
        *hour = st.wHour;
    if (minute != nullptr)
        *minute = st.wMinute;
    if (second != nullptr)
        *second = st.wSecond;
    if (!bGiven)
        return false;
    *year = st.wYear;
    *month = st.wMonth;
    *day = st.wDay;
    return true;
}

bool ORVCALL LocalYMD2Timet(int year, int month, int day, int hour, int minute, int second, LONG* t)
{
    if (t == nullptr)
    {
        ORV_REPORT("TZ::LocalYMD2Timet", "t == nullptr");
        return false;
    }
    if (year < 1970 || year > 2038 || (year == 2038 && (month > 1 || day > 1)))
    {
        ORV_REPORT("TZ::LocalYMD2Timet",
                   "year < 1970 || year > 2038 || (year == 2038 && (month > 1 || day > 1))");
        return false;
    }
    const std::int64_t nLocal = OCT::SecondsOf(year, month, day, hour, minute, second);
    const LONG nOffset = nLocal != OCT::NO_SECONDS ? OCT::SelectedOffsetOfLocal(nLocal) : PORT_NO_OFFSET;
    if (nOffset == PORT_NO_OFFSET)
        return false;
    *t = OCT::NarrowSeconds(nLocal - nOffset);
    return true;
}

bool ORVCALL Timet2LocalYMD(LONG t, WORD* year, WORD* month, WORD* day, WORD* hour, WORD* minute,
                            WORD* second)
{
    SYSTEMTIME st;
    if (!IsGiven("TZ::Timet2LocalYMD", year, month, day, hour, minute, second) || !OCT::LocalFieldsOf(t, st))
        return false;
    *year = st.wYear;
    *month = st.wMonth;
    *day = st.wDay;
    *hour = st.wHour;
    *minute = st.wMinute;
    *second = st.wSecond;
    return true;
}

bool ORVCALL Timet2LocalDATE(LONG t, double* localTime)
{
    if (localTime == nullptr)
    {
        ORV_REPORT("TZ::Timet2LocalDATE", "localTime == nullptr");
        return false;
    }
    const LONG nOffset = OCT::SelectedOffset(t);
    if (nOffset == PORT_NO_OFFSET)
        return false;
    *localTime = static_cast<double>(std::int64_t{t} + nOffset) / 86400.0 + 25569.0;
    return true;
}
