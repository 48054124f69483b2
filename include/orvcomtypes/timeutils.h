/// Conversions between 32-bit `time_t` values and calendar fields, in UTC and in the process-wide local zone.
///
/// They are plain functions, exported by undecorated name; `TZ::` gives the names that reports use. Local
/// time is that of the selected zone: the one named by `SetTimeZone`, or else the system's current zone.
///
/// Thread safety: `SetTimeZone` may be called at any time, from any thread; an operation, also one of
/// `COrvTime`, then uses one zone for all its steps: the one before, the system's or the new one. A program
/// that wants one zone calls it once at start-up.
/// Lifetime: usable in static constructors and destructors too, and after `UninitOrvComTypes`.
/// Errors: nothing throws. A date or time of day that does not exist gives false, and so does a conversion
/// that the platform refuses; nothing is stored then. A null pointer that is needed gives false and reports
/// (source `timeutils`) "pST == nullptr", "t == nullptr", "localTime == nullptr" or, for the functions of six
/// fields, "year == nullptr || month == nullptr || day == nullptr || hour == nullptr || minute == nullptr ||
/// second == nullptr". A local date outside 1970-01-01 to 2038-01-01 gives false and reports "year < 1970 ||
/// year > 2038 || (year == 2038 && (month > 1 || day > 1))".
/// Units: `t` counts seconds since 1970-01-01 00:00:00 UTC, a FILETIME 100 ns since 1601, a DATE days since
/// 1899-12-30.
///
/// After 2038-01-19 03:14:07 UTC: a `t` reaches from 1901-12-13 20:45:52 to that second. `FileTime2Timet` and
/// `YMD2Timet` accept what the FILETIME scale does and keep the low 32 bits of a value outside; that is
/// reported as "t < -0x80000000LL || t > 0x7FFFFFFFLL" under "TZ::FileTime2Timet", and until 2106 the result
/// is negative, which is no valid `COrvTime`. `LocalYMD2Timet` refuses every date after 2038-01-01 with the
/// report above.
///
/// At a change of the zone's offset a repeated wall-clock time is read as its first occurrence; the functions
/// with `LocalOccurrence` name the one that is meant. A skipped one is read in a zone of `SetTimeZone` with
/// the offset that follows the change, and in the system's zone with the one before it: as far behind the
/// change as it would have been, so that where midnight is skipped it gives the first moment of its day. (In
/// the system's zone on Windows these are the platform's choice and not promised by it, but for those with
/// `LocalOccurrence`.)
///
///     if (SetTimeZone(ORVTEXT("Central Europe Standard Time")) == ERROR_SUCCESS)
///     {
///         WORD wYear, wMonth, wDay, wHour, wMinute, wSecond; // 2024-05-06 09:08:09
///         Timet2LocalYMD(1714979289, &wYear, &wMonth, &wDay, &wHour, &wMinute, &wSecond);
///     }
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

/// Which moment is meant by a wall-clock time that the clock shows twice.
enum LocalOccurrence : int
{
    loFirst = 0, ///< the one before the clock is put back
    loSecond = 1 ///< the one after it
};

/// Selects a zone for all local conversions of the process. Null or an empty name: the system's zone, which
/// follows all changes that the platform knows for a date. (Elsewhere than on Windows it is read once in a
/// process, from the variable TZ or the machine's setting: a change of these is not seen.) Else the zone of
/// that registry key below "SOFTWARE\Microsoft\Windows NT\CurrentVersion\Time Zones\" ("Central Europe
/// Standard Time"), or of the key that CLDR maps a tz identifier to ("Europe/Budapest"). Elsewhere than on
/// Windows the keys have both kinds of names, with the rules of the machine's zone files.
///
/// A key has one pair of rules, made for the current year, and the zone has it in every year. A year that has
/// no such pair is not exact: where the changes follow another calendar (Morocco, Gaza) or another weekday
/// (Israel, Greenland), other years differ by days or weeks, and a zone with more changes in the current year
/// keeps the offset that it has at the end of that year.
///
/// The result is 0, or the error of opening the key; then, and without memory (14), the system's zone is in
/// force. What a key lacks stays as in the zone that was selected last, at first zero.
ORV_EXTERN_C ORV_FUNC LONG ORVCALL SetTimeZone(const WCHAR* zoneName);

/// UTC, exactly.
ORV_EXTERN_C ORV_FUNC FILETIME ORVCALL Timet2FileTime(LONG t);
/// Parts of a second are cut off towards 1970.
ORV_EXTERN_C ORV_FUNC LONG ORVCALL FileTime2Timet(FILETIME ft);

/// The fields in UTC and in local time; the milliseconds are 0.
ORV_EXTERN_C ORV_FUNC bool ORVCALL Timet2SystemTime(LONG t, SYSTEMTIME* pST);
ORV_EXTERN_C ORV_FUNC bool ORVCALL Timet2LocalSystemTime(LONG t, SYSTEMTIME* pST);

/// UTC; years 1601 to 30827. \p t must not be null: that is not looked at.
ORV_EXTERN_C ORV_FUNC bool ORVCALL YMD2Timet(int year, int month, int day, int hour, int minute, int second,
                                             LONG* t);
/// UTC. Hour, minute and second may be null; those given are set to 0 when the result is false.
ORV_EXTERN_C ORV_FUNC bool ORVCALL Timet2YMD(LONG t, WORD* year, WORD* month, WORD* day, WORD* hour,
                                             WORD* minute, WORD* second);

/// Local dates from 1970-01-01 to 2038-01-01.
ORV_EXTERN_C ORV_FUNC bool ORVCALL LocalYMD2Timet(int year, int month, int day, int hour, int minute,
                                                  int second, LONG* t);
/// The same of a time that may be shown twice; one that is shown once, or never, is read as ever.
ORV_EXTERN_C ORV_FUNC bool ORVCALL LocalYMD2TimetOf(int year, int month, int day, int hour, int minute,
                                                    int second, LocalOccurrence which, LONG* t);
/// `loSecond` when the local clock shows at \p t what it has shown before.
ORV_EXTERN_C ORV_FUNC LocalOccurrence ORVCALL GetLocalOccurrence(LONG t);
/// Needs all six pointers, on purpose unlike `Timet2YMD`.
ORV_EXTERN_C ORV_FUNC bool ORVCALL Timet2LocalYMD(LONG t, WORD* year, WORD* month, WORD* day, WORD* hour,
                                                  WORD* minute, WORD* second);
/// The local wall-clock time as a DATE.
ORV_EXTERN_C ORV_FUNC bool ORVCALL Timet2LocalDATE(LONG t, double* localTime);

namespace TZ
{
using ::FileTime2Timet;
using ::GetLocalOccurrence;
using ::LocalYMD2Timet;
using ::LocalYMD2TimetOf;
using ::SetTimeZone;
using ::Timet2FileTime;
using ::Timet2LocalDATE;
using ::Timet2LocalSystemTime;
using ::Timet2LocalYMD;
using ::Timet2SystemTime;
using ::Timet2YMD;
using ::YMD2Timet;
} // namespace TZ
