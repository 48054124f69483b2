#include "orvcomtypes/timeutils.h"
#include "core/ownlock.h"
#include "orvcomtypes/orvexport.h"

#include "core/neverdestroyed.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/smartcls.h"
#include "systemzone.h"
#include "time/civil.h"
#include "time/localzone.h"
#include "time/namedzone.h"
#include "zonekeyname.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace
{

constexpr std::int64_t kSecondInFileTime = 10000000;
constexpr std::int64_t kBaseInFileTime = 116444736000000000;

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

/// What SetTimeZone read last.
struct CReadZone
{
    OCT::COwnLock m_lock;
    WCHAR m_sStandardName[32] = {};
    WCHAR m_sDaylightName[32] = {};
    OCT::ZoneRecord m_record = {};
};
CNeverDestroyed<CReadZone> g_readZone;

LONG OpenZoneKey(const WCHAR* sName, HKEY& hKey) noexcept
{
    static constexpr std::basic_string_view<WCHAR> sFolder =
        ORVTEXT("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\");
    constexpr std::size_t nMaxName = 2048;
    WCHAR sKey[sFolder.size() + nMaxName + 1];
    WCHAR* pEnd = std::ranges::copy(sFolder, sKey).out;
    for (std::size_t i = 0; i < nMaxName && sName[i] != 0; ++i)
        *pEnd++ = sName[i];
    *pEnd = 0;
    return RegOpenKeyExW(HKEY_LOCAL_MACHINE, sKey, 0, KEY_READ, &hKey);
}

/// Reads the key's zone over the last one, and selects it.
void ReadZone(HKEY hKey)
{
    CReadZone& zone = g_readZone.Get();
    const OCT::CCritSectGuard guard(&zone.m_lock);
    ReadZoneValue(hKey, ORVTEXT("Std"), zone.m_sStandardName, sizeof zone.m_sStandardName);
    ReadZoneValue(hKey, ORVTEXT("Dlt"), zone.m_sDaylightName, sizeof zone.m_sDaylightName);
    ReadZoneValue(hKey, ORVTEXT("TZI"), &zone.m_record, sizeof zone.m_record);
    OCT::SelectZone(zone.m_record);
}

/// \p offsetOf gives the offset of a local time.
template <class OffsetOf>
bool FromLocalFields(int year, int month, int day, int hour, int minute, int second, OffsetOf offsetOf,
                     LONG* t) noexcept
{
    if (t == nullptr)
    {
        ORV_REPORT("TZ::LocalYMD2Timet", "t == nullptr");
        return false;
    }
    if (!OCT::IsLocalDate(year, month, day))
        return false;
    const std::int64_t nLocal = OCT::SecondsOf(year, month, day, hour, minute, second);
    const LONG nOffset = nLocal != OCT::kNoSeconds ? offsetOf(nLocal) : kPortNoOffset;
    if (nOffset == kPortNoOffset)
        return false;
    *t = OCT::NarrowSeconds(nLocal - nOffset);
    return true;
}

} // namespace

LONG OCT::ReportNarrowed(std::int64_t nSeconds) noexcept
{
    ORV_REPORT("TZ::FileTime2Timet", "t < -0x80000000LL || t > 0x7FFFFFFFLL");
    return static_cast<LONG>(nSeconds);
}

bool OCT::IsLocalDate(int year, int month, int day) noexcept
{
    if (year < 1970 || year > 2038 || (year == 2038 && (month > 1 || day > 1)))
    {
        ORV_REPORT("TZ::LocalYMD2Timet",
                   "year < 1970 || year > 2038 || (year == 2038 && (month > 1 || day > 1))");
        return false;
    }
    return true;
}

LONG OCT::CLocalZone::OffsetOfRepeated(std::int64_t nLocal, LocalOccurrence which) const noexcept
{
    // No zone is changed twice within two days, so the offsets a day before and a day after are all there
    // are.
    constexpr std::int64_t nDay = 86400;
    const LONG nBefore = OffsetAt(nLocal - nDay);
    const LONG nAfter = OffsetAt(nLocal + nDay);
    const auto isShown = [this, nLocal](LONG nOffset) {
        return nOffset != kPortNoOffset && OffsetAt(nLocal - nOffset) == nOffset;
    };
    if (isShown(nBefore) && (which == loFirst || !isShown(nAfter)))
        return nBefore;
    return isShown(nAfter) ? nAfter : OffsetOfLocal(nLocal);
}

bool OCT::CLocalZone::GetFields(LONG t, SYSTEMTIME& st) const noexcept
{
    const LONG nOffset = OffsetAt(t);
    if (nOffset == kPortNoOffset)
        return false;
    st = FieldsOf(std::int64_t{t} + nOffset);
    return true;
}

bool OCT::CLocalZone::FromFields(const SYSTEMTIME& st, LONG& t) const noexcept
{
    return FromLocalFields(
        st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond,
        [this](std::int64_t nLocal) { return OffsetOfLocal(nLocal); }, &t);
}

LONG ORVCALL SetTimeZone(const WCHAR* zoneName)
{
    OCT::g_pSelectedZone.store(nullptr, std::memory_order_release);
    if (zoneName == nullptr || *zoneName == 0)
        return ERROR_SUCCESS;
    HKEY hKey;
    LONG iError = OpenZoneKey(zoneName, hKey);
    if (iError != ERROR_SUCCESS)
        if (const WCHAR* const sKeyName = PortZoneKeyName(zoneName))
            iError = OpenZoneKey(sKeyName, hKey);
    if (iError != ERROR_SUCCESS)
        return iError;
    bool bSelected = true;
    try
    {
        ReadZone(hKey);
    }
    catch (...) // no memory
    {
        bSelected = false;
    }
    iError = RegCloseKey(hKey);
    return bSelected ? iError : ERROR_OUTOFMEMORY;
}

FILETIME ORVCALL Timet2FileTime(LONG t)
{
    const auto nFileTime = static_cast<std::uint64_t>(t * kSecondInFileTime + kBaseInFileTime);
    return {static_cast<DWORD>(nFileTime), static_cast<DWORD>(nFileTime >> 32)};
}

LONG ORVCALL FileTime2Timet(FILETIME ft)
{
    const std::uint64_t nFileTime = std::uint64_t{ft.dwHighDateTime} << 32 | ft.dwLowDateTime;
    return OCT::NarrowSeconds(static_cast<std::int64_t>(nFileTime - kBaseInFileTime) / kSecondInFileTime);
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
    return OCT::CLocalZone().GetFields(t, *pST);
}

bool ORVCALL YMD2Timet(int year, int month, int day, int hour, int minute, int second, LONG* t)
{
    const std::int64_t nSeconds = OCT::SecondsOf(year, month, day, hour, minute, second);
    if (nSeconds == OCT::kNoSeconds)
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
    return FromLocalFields(
        year, month, day, hour, minute, second,
        [](std::int64_t nLocal) { return OCT::CLocalZone().OffsetOfLocal(nLocal); }, t);
}

bool ORVCALL LocalYMD2TimetOf(int year, int month, int day, int hour, int minute, int second,
                              LocalOccurrence which, LONG* t)
{
    return FromLocalFields(
        year, month, day, hour, minute, second,
        [which](std::int64_t nLocal) { return OCT::CLocalZone().OffsetOfRepeated(nLocal, which); }, t);
}

LocalOccurrence ORVCALL GetLocalOccurrence(LONG t)
{
    const OCT::CLocalZone zone;
    const LONG nOffset = zone.OffsetAt(t);
    if (nOffset == kPortNoOffset)
        return loFirst;
    return zone.OffsetOfRepeated(std::int64_t{t} + nOffset, loFirst) == nOffset ? loFirst : loSecond;
}

bool ORVCALL Timet2LocalYMD(LONG t, WORD* year, WORD* month, WORD* day, WORD* hour, WORD* minute,
                            WORD* second)
{
    SYSTEMTIME st;
    if (!IsGiven("TZ::Timet2LocalYMD", year, month, day, hour, minute, second) ||
        !OCT::CLocalZone().GetFields(t, st))
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
    const LONG nOffset = OCT::CLocalZone().OffsetAt(t);
    if (nOffset == kPortNoOffset)
        return false;
    *localTime = static_cast<double>(std::int64_t{t} + nOffset) / 86400.0 + 25569.0;
    return true;
}
