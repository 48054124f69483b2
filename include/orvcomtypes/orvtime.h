/// `COrvTime`, the point in time that every part of the library exchanges, and `COrvTimeDiff`, its span.
///
/// Each is one signed 32-bit count of seconds, passed by value. A time counts from 1970-01-01 00:00:00 UTC; 0
/// is the null time and only values above 0 are valid. A span starts as the invalid span, 0x80000000. A time
/// knows no zone: every "Local" operation uses the zone that `SetTimeZone` selected (timeutils.h), else the
/// system's.
///
/// Thread safety: plain values, to be shared as an int would be. Any thread may call `SetTimeZone` meanwhile.
/// Lifetime: usable in static constructors and destructors too, and after `UninitOrvComTypes`.
/// Errors: nothing throws. A violated precondition is reported (source `orvtime`) with the text that the
/// operation names. It then gives the null time, the invalid span or false, or what it says. Calendar fields
/// that do not exist give false and the null time without a report.
/// Units: seconds. A DATE is a double of days since 1899-12-30. A double is rounded to the nearest second, of
/// two equally near ones to the even one; NaN and what an int cannot hold become 0x80000000.
///
/// After 2038-01-19 03:14:07 UTC, the last second that fits:
/// - `SetNow` and `Now` keep the low 32 bits of the clock: the time is negative and not valid until 2106.
/// - `SetTimet` and `FromTimet` take 32 bits: a wider `time_t` is the caller's to check.
/// - `SetYMD`, `SetSystemTime`, `SetDBTypeStamp` and text that ends in "Z" keep the low 32 bits too, and that
///   is reported (timeutils.h); a fraction that rounds the last second up is arithmetic. Text with an offset
///   gives false.
/// - `SetDATE` and `SetLocalDATE` refuse dates after 50423.0 (2038-01-18), the local setters and local text
///   those after 2038-01-01.
/// - Arithmetic and rounding have no overflow check: they wrap, and one step over the end gives a negative
///   time, which is not valid.
///
///     COrvTime t = COrvTime::FromYMD(2024, 5, 6, 7, 8, 9);
///     t += COrvTimeDiff::FromMinute(90);
///     char s[32];
///     t.DebugFormat(COrvTime::dftISO, s, sizeof s); // "2024-05-06 08:38:09Z"
///     COrvTime tBack(s);                            // == t
#pragma once

#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/timeutils.h"

#include <windows.h>

#include <cstdint>

struct tagDBTIMESTAMP; // DBTIMESTAMP of oledb.h

namespace OCT
{

/// What is needed of the class library's `COleDateTime` and `COleDateTimeSpan`; both are recognised by their
/// members.
template <class T>
concept OleStatus = requires(const T& d)
{
    bool(d.GetStatus() == T::valid);
};
template <class T>
concept OleDateTime = OleStatus<T> && requires(const T& d)
{
    double(d.m_dt);
};
template <class T>
concept OleDateTimeSpan = OleStatus<T> && requires(const T& d)
{
    double(d.m_span);
};

} // namespace OCT

inline constexpr double MINSETDATE = 3.0;               ///< a DATE below is no date at all
inline constexpr double BASEORVTIME_INDATE = 25569.0;   ///< 1970-01-01, the time value 0
inline constexpr double MAXORVTIME_INDATE = 50423.0;    ///< the largest DATE accepted
inline constexpr double SECONDSPERDAY_INDATE = 86400.0; ///< the unit of a DATE

class ORV_API COrvTimeDiff
{
public:
    constexpr COrvTimeDiff() noexcept : m_iSpan(kInvalid) {}
    /// Any number of seconds; 0x80000000 is the invalid span.
    constexpr COrvTimeDiff(int iSeconds) noexcept : m_iSpan(iSeconds) {}

    /// 32-bit products without an overflow check.
    static COrvTimeDiff FromSecond(int n) noexcept { return COrvTimeDiff(n); }
    static COrvTimeDiff FromMinute(int n) noexcept { return COrvTimeDiff(Scale(n, 60)); }
    static COrvTimeDiff FromDay(int n) noexcept { return COrvTimeDiff(Scale(n, 86400)); }
    static COrvTimeDiff FromDATE(double d) noexcept;
    /// As `SetDATE`.
    template <OCT::OleDateTimeSpan T>
    static COrvTimeDiff FromDATE(const T& span)
    {
        COrvTimeDiff diff;
        diff.SetDATE(span);
        return diff;
    }

    /// Always true.
    bool SetDATE(double d) noexcept;
    /// A span without a value is stored as the invalid one and gives false. Reports "span.GetStatus() ==
    /// ATL::COleDateTimeSpan::valid".
    template <OCT::OleDateTimeSpan T>
    bool SetDATE(const T& span)
    {
        if (span.GetStatus() == T::valid)
            return SetDATE(static_cast<double>(span.m_span));
        ORV_REPORT("COrvTimeDiff::SetDATE", "span.GetStatus() == ATL::COleDateTimeSpan::valid");
        Reset();
        return false;
    }

    /// The seconds as they are stored.
    int GetTimeDiff() const noexcept { return m_iSpan; }
    int GetInSecond() const noexcept { return m_iSpan; }
    void SetTimeDiff(int iSeconds) noexcept { m_iSpan = iSeconds; }
    void Reset() noexcept { m_iSpan = kInvalid; }

    /// Whether it is a span at all.
    bool IsValid() const noexcept { return m_iSpan != kInvalid; }
    /// Whether it is zero, or not: of the difference between two times, whether they are equal.
    bool IsEqual() const noexcept { return m_iSpan == 0; }
    bool IsDifferent() const noexcept { return m_iSpan != 0; }

    /// The absolute value in hours, minutes and seconds: the sign is dropped on purpose. The invalid span
    /// gives false and stores nothing.
    bool GetHMS(int& h, int& m, int& s) const noexcept;

    /// Two invalid spans are equal.
    bool operator==(const COrvTimeDiff& t) const noexcept { return m_iSpan == t.m_iSpan; }
    bool operator!=(const COrvTimeDiff& t) const noexcept { return m_iSpan != t.m_iSpan; }
    /// False when either side is invalid. Reports "IsValid() && t.IsValid()".
    bool operator<(const COrvTimeDiff& t) const noexcept;
    bool operator>(const COrvTimeDiff& t) const noexcept;
    bool operator<=(const COrvTimeDiff& t) const noexcept;
    bool operator>=(const COrvTimeDiff& t) const noexcept;

    /// The invalid span when either side is invalid; `+=` and `-=` then change nothing. Reports
    /// "span.IsValid() && IsValid()", the negation "IsValid()". There is no overflow check.
    COrvTimeDiff operator-() const noexcept;
    COrvTimeDiff operator+(const COrvTimeDiff& span) const noexcept;
    COrvTimeDiff operator-(const COrvTimeDiff& span) const noexcept;
    COrvTimeDiff& operator+=(const COrvTimeDiff& span) noexcept;
    COrvTimeDiff& operator-=(const COrvTimeDiff& span) noexcept;

    /// Of equal spans `Max` gives a and `Min` gives b. When either is invalid `Max` gives b and `Min` a.
    /// Reports "IsValid() && t.IsValid()" under "COrvTimeDiff::operator >=".
    static const COrvTimeDiff& Max(const COrvTimeDiff& a, const COrvTimeDiff& b) noexcept
    {
        return a >= b ? a : b;
    }
    static const COrvTimeDiff& Min(const COrvTimeDiff& a, const COrvTimeDiff& b) noexcept
    {
        return a >= b ? b : a;
    }

private:
    static constexpr int kInvalid = -0x7FFFFFFF - 1;

    static int Scale(int n, unsigned nUnit) noexcept
    {
        return static_cast<int>(static_cast<unsigned>(n) * nUnit);
    }

    int m_iSpan;
};

class ORV_API COrvTime
{
public:
    // ---- Construction and raw access ----

    constexpr COrvTime() noexcept : m_iTime(0) {}
    constexpr COrvTime(int iTime) noexcept : m_iTime(iTime) {}
    /// As `SetFromString`; text that does not parse leaves the null time.
    explicit COrvTime(const char* pStr) noexcept : m_iTime(0) { SetFromString(pStr); }
    explicit COrvTime(const WCHAR* pStr) noexcept : m_iTime(0) { SetFromString(pStr); }

    int GetOrvTime() const noexcept { return m_iTime; }
    LONG GetTimet() const noexcept { return m_iTime; }
    void SetOrvTime(int iTime) noexcept { m_iTime = iTime; }
    void SetTimet(LONG t) noexcept { m_iTime = static_cast<int>(t); }
    static COrvTime FromTimet(LONG t) noexcept { return COrvTime(static_cast<int>(t)); }
    void Reset() noexcept { m_iTime = 0; }

    /// The system's clock, cut to whole seconds.
    COrvTime& SetNow() noexcept;
    static COrvTime Now() noexcept { return COrvTime().SetNow(); }
    /// The null time.
    static const COrvTime& Base() noexcept;

    bool IsNull() const noexcept { return m_iTime == 0; }
    bool IsValid() const noexcept { return m_iTime > 0; }
    /// From 2000-01-01 00:00:00 UTC up to, but not including, 2037-12-31 23:00:00 UTC.
    bool IsValidRegTime() const noexcept { return static_cast<unsigned>(m_iTime) - 946684800u < 1199228400u; }

    // ---- Comparison: deliberately asymmetric about the null time ----

    bool operator==(const COrvTime& t) const noexcept { return m_iTime == t.m_iTime; }
    bool operator!=(const COrvTime& t) const noexcept { return m_iTime != t.m_iTime; }
    /// Null sorts before every valid time; a negative time is never less.
    bool operator<(const COrvTime& t) const noexcept
    {
        return IsNull() ? t.m_iTime > 0 : m_iTime > 0 && t.m_iTime > 0 && m_iTime < t.m_iTime;
    }
    /// Only between valid times.
    bool operator>(const COrvTime& t) const noexcept
    {
        return m_iTime > 0 && t.m_iTime > 0 && m_iTime > t.m_iTime;
    }
    /// Null is at most every time that is not negative.
    bool operator<=(const COrvTime& t) const noexcept
    {
        return IsNull() ? t.m_iTime >= 0 : m_iTime > 0 && t.m_iTime > 0 && m_iTime <= t.m_iTime;
    }
    /// Every time that is not negative is at least null.
    bool operator>=(const COrvTime& t) const noexcept
    {
        if (m_iTime < 0)
            return false;
        return t.IsNull() || (m_iTime > 0 && t.m_iTime > 0 && m_iTime >= t.m_iTime);
    }

    // ---- Arithmetic ----

    /// The null time when the time or the span is not valid; `+=` and `-=` then change nothing. Reports
    /// "span.IsValid() && IsValid()", for seconds "IsValid()".
    COrvTime operator+(const COrvTimeDiff& span) const noexcept;
    COrvTime operator-(const COrvTimeDiff& span) const noexcept;
    COrvTime operator+(int iSeconds) const noexcept;
    COrvTime operator-(int iSeconds) const noexcept;
    COrvTime& operator+=(const COrvTimeDiff& span) noexcept;
    COrvTime& operator-=(const COrvTimeDiff& span) noexcept;
    /// The invalid span unless both are valid. Reports "t.IsValid() && IsValid()".
    COrvTimeDiff operator-(const COrvTime& t) const noexcept;

    // ---- Differences: unless both operands are valid 0x80000000, as a span the invalid one ----

    /// Left minus right, in seconds. `CompareYMD` compares the UTC days and `CompareLocalYMD` the local days,
    /// each by their first seconds; times more than two days apart are compared as they are. Reports
    /// "!tLeft.IsValid() || ! tRight.IsValid()".
    static int Compare(const COrvTime& tLeft, const COrvTime& tRight) noexcept;
    static int CompareYMD(const COrvTime& tLeft, const COrvTime& tRight) noexcept;
    static int CompareLocalYMD(const COrvTime& tLeft, const COrvTime& tRight) noexcept;
    /// Right minus left, unlike `Compare`. Reports "tLeft.IsValid() && tRight.IsValid()".
    static COrvTimeDiff GetTimeDiff(const COrvTime& tLeft, const COrvTime& tRight) noexcept;
    static COrvTimeDiff GetTimeDiffAbs(const COrvTime& tLeft, const COrvTime& tRight) noexcept;
    /// Right minus left, each side first rounded to the second. Reports "dLeft >= MINSETDATE && dRight >=
    /// MINSETDATE".
    static COrvTimeDiff GetOleTimeDiff(double dLeft, double dRight) noexcept;

    /// Of equal times the left. When one is not valid that one, of two such the left. Reports
    /// "!tLeft.IsValid() || !tRight.IsValid()".
    static const COrvTime& Max(const COrvTime& tLeft, const COrvTime& tRight) noexcept;
    static const COrvTime& Min(const COrvTime& tLeft, const COrvTime& tRight) noexcept;
    static COrvTime& Max(COrvTime& tLeft, COrvTime& tRight) noexcept
    {
        return const_cast<COrvTime&>(Max(static_cast<const COrvTime&>(tLeft), tRight));
    }
    static COrvTime& Min(COrvTime& tLeft, COrvTime& tRight) noexcept
    {
        return const_cast<COrvTime&>(Min(static_cast<const COrvTime&>(tLeft), tRight));
    }

    // ---- Predicates ----

    /// Both ends belong to the range; an end that is not valid is open.
    bool Between(const COrvTime& tLow, const COrvTime& tHigh) const noexcept;
    /// Exactly UTC midnight.
    bool IsOnlyDate() const noexcept { return RoundDay().m_iTime == m_iTime; }
    bool IsSameLocalDay(const COrvTime& t) const noexcept;

    // ---- Rounding: to UTC midnights, to minutes, to local midnights ----

    COrvTime RoundDayDown() const noexcept { return RoundTo(0, 86400); }
    COrvTime RoundDayUp() const noexcept { return RoundTo(86399, 86400); }
    COrvTime RoundDay() const noexcept { return RoundTo(43200, 86400); }
    COrvTime RoundMinute() const noexcept { return RoundTo(30, 60); }
    /// The first moment of the local day, and of the next one: midnight or, where midnight is skipped, the
    /// first moment after the gap. Midnight itself rounds up to the next one. A conversion that fails gives
    /// the time unchanged; both fail for days before 1970, and rounding down for those after 2038-01-01, with
    /// the report of `SetLocalYMD`. Where 1970-01-01 began before 1970-01-01 00:00:01 UTC, its first moment
    /// is not valid: rounding up, too, gives that moment and reports "span.IsValid() && IsValid()" under
    /// "COrvTime::operator +=".
    COrvTime RoundLocalDayDown() const noexcept;
    COrvTime RoundLocalDayUp() const noexcept;

    // ---- OLE dates ----

    /// A date below MINSETDATE stores null and gives true. Any other outside BASEORVTIME_INDATE to
    /// MAXORVTIME_INDATE changes nothing and gives false. Reports "d < BASEORVTIME_INDATE || d >
    /// MAXORVTIME_INDATE".
    bool SetDATE(double d) noexcept;
    static COrvTime FromDATE(double d) noexcept;
    /// 0.0 when not valid.
    double GetDATE() const noexcept;
    /// The same of a local wall-clock time, which the platform rounds to the second. True also for a date
    /// that `SetLocalYMD` refuses: that stores null, with its report.
    bool SetLocalDATE(double d) noexcept;
    static COrvTime FromLocalDATE(double d) noexcept;
    /// 0.0 when not valid.
    double GetLocalDATE() const noexcept;

    /// The same of date objects. One without a value stores null and gives false. Reports "d.GetStatus() ==
    /// ATL::COleDateTime::valid".
    template <OCT::OleDateTime T>
    bool SetDATE(const T& d)
    {
        if (d.GetStatus() == T::valid)
            return SetDATE(static_cast<double>(d.m_dt));
        ORV_REPORT("COrvTime::SetDATE", "d.GetStatus() == ATL::COleDateTime::valid");
        Reset();
        return false;
    }
    template <OCT::OleDateTime T>
    static COrvTime FromDATE(const T& d)
    {
        COrvTime t;
        t.SetDATE(d);
        return t;
    }
    template <OCT::OleDateTime T>
    bool SetLocalDATE(const T& d)
    {
        if (d.GetStatus() == T::valid)
            return SetLocalDATE(static_cast<double>(d.m_dt));
        ORV_REPORT("COrvTime::SetLocalDATE", "d.GetStatus() == ATL::COleDateTime::valid");
        Reset();
        return false;
    }
    template <OCT::OleDateTime T>
    static COrvTime FromLocalDATE(const T& d)
    {
        COrvTime t;
        t.SetLocalDATE(d);
        return t;
    }

    // ---- Calendar fields ----
    //
    // A time that is not valid has none: its getters report "!IsValid()", give false and store nothing. A
    // setter that gives false has stored null.

    bool GetSystemTime(SYSTEMTIME& st) const noexcept;
    bool GetLocalSystemTime(SYSTEMTIME& st) const noexcept;
    /// The day of week and the milliseconds are ignored.
    bool SetSystemTime(const SYSTEMTIME& st) noexcept;
    bool SetLocalSystemTime(const SYSTEMTIME& st) noexcept;
    static COrvTime FromSystemTime(const SYSTEMTIME& st) noexcept;
    static COrvTime FromLocalSystemTime(const SYSTEMTIME& st) noexcept;

    /// UTC. The fraction is written as 0 and ignored when read. Reports under "COrvTime::GetSystemTime".
    bool GetDBTypeStamp(tagDBTIMESTAMP& ts) const noexcept;
    bool SetDBTypeStamp(const tagDBTIMESTAMP& ts) noexcept;
    static COrvTime FromDBTypeStamp(const tagDBTIMESTAMP& ts) noexcept;

    /// Hour, minute and second may be null. A null year, month or day gives false, with the report of
    /// `Timet2YMD` or `Timet2LocalYMD` (timeutils.h).
    bool GetYMD(WORD* year, WORD* month, WORD* day, WORD* hour, WORD* minute, WORD* second) const noexcept;
    bool GetLocalYMD(WORD* year, WORD* month, WORD* day, WORD* hour, WORD* minute,
                     WORD* second) const noexcept;
    bool SetYMD(int year, int month, int day, int hour, int minute, int second) noexcept;
    /// From 1970-01-01 to 2038-01-01; other dates are reported (`LocalYMD2Timet`).
    bool SetLocalYMD(int year, int month, int day, int hour, int minute, int second) noexcept;
    /// With the moment that is meant by a time that the clock shows twice (timeutils.h).
    bool SetLocalYMD(int year, int month, int day, int hour, int minute, int second,
                     LocalOccurrence which) noexcept;
    static COrvTime FromYMD(int year, int month, int day, int hour, int minute, int second) noexcept;
    static COrvTime FromLocalYMD(int year, int month, int day, int hour, int minute, int second) noexcept;
    static COrvTime FromLocalYMD(int year, int month, int day, int hour, int minute, int second,
                                 LocalOccurrence which) noexcept;

    // ---- Text ----

    /// Fixed forms, independent of the locale. A time that is not valid gives the form with dashes for
    /// digits.
    enum DebugFormatType : int
    {
        dftDateTime = 0, ///< 2024.05.06.  7:08:09
        dftDate = 1,     ///< 2024.05.06.
        dftDayTime = 2,  ///< 06.  7:08:09
        dftTime = 3,     ///<  7:08:09
        dftCompact = 4,  ///< 240506_070809, deliberately with blanks before the local year and hour
        dftISO = 5,      ///< 2024-05-06 07:08:09Z, local 2024-05-06 09:08:09+02:00; empty when not valid
        dftISO_T = 6     ///< the same with a T between date and time
    };

    /// Writes the UTC form, cut to \p cchDest code units with the terminator; nothing to a null buffer, or
    /// with a size below 2 or from 0x80000000 on. Reports "dest == nullptr || cchDest < 2 || cchDest >=
    /// 0x80000000".
    void DebugFormat(DebugFormatType type, char* dest, unsigned cchDest) const noexcept;
    void DebugFormat(DebugFormatType type, WCHAR* dest, unsigned cchDest) const noexcept;
    /// The local form. Beware of types 5 and 6 in zones of more than 11 hours: the offset comes from the two
    /// times of day alone, deliberately, and may be 24 hours off, as is then what is read back with it. From
    /// +13:00 on (Auckland in summer, Apia) it always is: -11:00. +12:00 (Auckland in winter) is printed as
    /// -12:00 from 12:00 UTC on, and -12:00 as +12:00 before. In between it is off, of +11:30 in the second
    /// half of each hour from 12:00 UTC on, and of +12:45 (Chatham) but for the first quarter of each hour
    /// before. Reports "dest == nullptr || cchDest < 2"; \p cchDest has no upper bound here.
    void DebugFormatLocal(DebugFormatType type, char* dest, unsigned cchDest) const noexcept;
    void DebugFormatLocal(DebugFormatType type, WCHAR* dest, unsigned cchDest) const noexcept;

    /// Reads "2024-05-06 07:08:09" and its variants: hyphens and colons may be left out, a T or any white
    /// space stands between, the seconds may be missing and an hour before a colon may have one digit. The
    /// time is local; with a "Z" behind it UTC. False leaves the time unchanged, except when the fields are
    /// no time: that stores null.
    ///
    /// The two differ on purpose. The narrow one rounds a fraction of a second (".5") and refuses an offset.
    /// The wide one reads an offset from UTC ("+2", "+02", "+230", "+0230", "+02:30") and takes a fraction
    /// for other text.
    ///
    /// Null and empty text give false and report "pStr == nullptr || pStr[0] == '\0'" (wide: L'\0'). Read all
    /// the same, but reported: one of the two hyphens ("bHasHyphen", "!bHasHyphen"), one of the two colons
    /// ("bHasSemicolon", "!bHasSemicolon"), and other characters behind the time (without text). Hours of an
    /// offset from 30 on report "p[1] <= L'2'" and give false; minutes from 60 on report "p[2] <= '5'",
    /// "p[3] <= L'5'" or "p[4] <= L'5'" and are left out.
    bool SetFromString(const char* pStr) noexcept;
    bool SetFromString(const WCHAR* pStr) noexcept;

    /// The parts of a text in the user's locale. If both forms of a part are given, the long one is meant.
    enum LocalFormatFlags : unsigned
    {
        Date_Short = 0x01, ///< 5/6/2024
        Date_Long = 0x02,  ///< May 6, 2024, on Windows with the weekday where the locale has it there
        Date_Mask = 0x03,
        Time_Short = 0x10, ///< 9:08 AM
        Time_Long = 0x20,  ///< 9:08:09 AM
        Time_Mask = 0x30,
        Ext_TimeFirst = 0x100 ///< the time before the date; needs both
    };

    /// The local time as the platform writes it for the user's locale, in the calendar of that locale
    /// (elsewhere than on Windows the Gregorian one), a blank between date and time. Empty when not valid,
    /// when no part is asked for or when there is no memory. With one part alone `Ext_TimeFirst` means
    /// nothing and reports "(uiFlags & Ext_TimeFirst) == Ext_TimeFirst && ((uiFlags & Date_Mask) == 0 ||
    /// (uiFlags & Time_Mask) == 0)".
    COrvStr FormatLocal(unsigned uiFlags = Date_Short | Time_Long) const noexcept;
    /// Reads what `FormatLocal` writes for the same flags, as precisely as it was written, and what people
    /// type for it:
    /// - other separators, digits of other scripts, no seconds, a year of two digits (1970 to 2069);
    /// - the month as a number, by its name or its short name, in any case of letters; the day of the week;
    /// - the half of the day by the locale's names or as AM and PM, also "p.m." or "P".
    ///
    /// Any other word is refused, and so are dates where the locale's calendar has other months than the
    /// Gregorian one (Hijri, Persian, Hebrew), counts its years in eras, or where the user's own form lacks
    /// the year. Years of another count (Thai) are read. Without a date in the flags that of the time itself
    /// holds, or today's when it is not valid; without a time of day local midnight. The fields are read as
    /// `SetLocalYMD` reads them.
    ///
    /// False, also without memory or without a part in the flags, leaves the time unchanged, except when the
    /// fields are no time: that stores null. Null gives false and reports "src == nullptr".
    bool ParseLocal(const WCHAR* src, unsigned uiFlags = Date_Short | Time_Long) noexcept;

private:
    COrvTime RoundTo(int iAdd, int iUnit) const noexcept
    {
        return COrvTime(static_cast<int>((std::int64_t{m_iTime} + iAdd) / iUnit * iUnit));
    }
    bool CheckDATE(double d, const char* sFunction) noexcept;
    bool InternalParseLocal(const WCHAR* src, unsigned uiFlags);

    int m_iTime;
};
