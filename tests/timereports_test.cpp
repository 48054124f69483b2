// What every operation on times reports, and what it falls back to.
#include "orvcomtypes/orvtime.h"

#include "support/local_time.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>
#include <oledb.h>

#include <climits>
#include <limits>
#include <span>

namespace
{

/// Stands in for the class library's dates and spans: value and status are all that is used of them.
struct OleValue
{
    static constexpr int valid = 0;
    int GetStatus() const { return m_iStatus; }
    int m_iStatus;
    double m_dt = 25570.0;
    double m_span = 0.5;
};

constexpr int kInvalid = INT_MIN, kKept = 1000;
const COrvTime NONE, BEFORE(-5);
const COrvTimeDiff SPAN(50), NO_SPAN;
constexpr OleValue kOleValue = {OleValue::valid}, kBadOleValue = {1};
constexpr const WCHAR* kGreenwich = ORVTEXT("GMT Standard Time");
constexpr const WCHAR* kEurope = ORVTEXT("Central Europe Standard Time");
constexpr const WCHAR* kEastern = ORVTEXT("Eastern Standard Time");
constexpr const char* kBoth = "span.IsValid() && IsValid()";

struct Row
{
    bool (*m_bFallsBack)(COrvTime& t); // the time is KEPT before
    const char* m_sFunction;
    const char* m_sCondition;
};

COrvTime UpIn(const WCHAR* sZone, const COrvTime& t)
{
    const CZone zone(sZone);
    return t.RoundLocalDayUp();
}

void CheckEach(const std::string& sClass, std::span<const Row> rows)
{
    CReportCapture capture;
    for (const Row& row : rows)
    {
        COrvTime t(kKept);
        const std::string sFunction = sClass + row.m_sFunction;
        EXPECT_TRUE(row.m_bFallsBack(t)) << sFunction << ": " << row.m_sCondition;
        EXPECT_REPORTS(capture, {{sFunction.c_str(), row.m_sCondition, nullptr,
                                  sClass == "TZ::" ? "timeutils" : "orvtime"}});
    }
}

TEST(TimeReports, Spans)
{
    constexpr const char* kCompare = "IsValid() && t.IsValid()";
    constexpr const char* kStatus = "span.GetStatus() == ATL::COleDateTimeSpan::valid";
    static const Row rows[] = {
        {[](auto&) { return !(SPAN < NO_SPAN); }, "operator <", kCompare},
        {[](auto&) { return !(SPAN > NO_SPAN); }, "operator >", kCompare},
        {[](auto&) { return !(NO_SPAN <= SPAN); }, "operator <=", kCompare},
        {[](auto&) { return &COrvTimeDiff::Max(SPAN, NO_SPAN) == &NO_SPAN; }, "operator >=", kCompare},
        {[](auto&) { return &COrvTimeDiff::Min(NO_SPAN, SPAN) == &NO_SPAN; }, "operator >=", kCompare},
        {[](auto&) { return !(SPAN + NO_SPAN).IsValid(); }, "operator +", kBoth},
        {[](auto&) { return !(NO_SPAN - SPAN).IsValid(); }, "operator -", kBoth},
        {[](auto&) { return !(-NO_SPAN).IsValid(); }, "operator -", "IsValid()"},
        {[](auto&) { return (COrvTimeDiff(50) += NO_SPAN) == SPAN; }, "operator +=", kBoth},
        {[](auto&) { return (COrvTimeDiff(50) -= NO_SPAN) == SPAN; }, "operator -=", kBoth},
        {[](auto&) { return !COrvTimeDiff(50).SetDATE(kBadOleValue); }, "SetDATE", kStatus},
    };
    CheckEach("COrvTimeDiff::", rows);
}

TEST(TimeReports, ArithmeticAndDifferences)
{
    constexpr const char* kOperands = "!tLeft.IsValid() || ! tRight.IsValid()";
    constexpr const char* kSides = "tLeft.IsValid() && tRight.IsValid()";
    constexpr const char* kOle = "dLeft >= MINSETDATE && dRight >= MINSETDATE";
    constexpr const char* kBounds = "!tLeft.IsValid() || !tRight.IsValid()";
    static const Row rows[] = {
        {[](auto& t) { return (t + NO_SPAN).IsNull(); }, "operator +", kBoth},
        {[](auto&) { return (NONE - SPAN).IsNull(); }, "operator -", kBoth},
        {[](auto& t) { return (t += NO_SPAN) == kKept; }, "operator +=", kBoth},
        {[](auto& t) { return (t -= NO_SPAN) == kKept; }, "operator -=", kBoth},
        {[](auto&) { return (NONE + 1).IsNull(); }, "operator +", "IsValid()"},
        {[](auto&) { return (BEFORE - 1).IsNull(); }, "operator -", "IsValid()"},
        {[](auto& t) { return !(t - NONE).IsValid(); }, "operator -", "t.IsValid() && IsValid()"},
        {[](auto& t) { return t.Compare(t, NONE) == kInvalid; }, "Compare", kOperands},
        {[](auto& t) { return t.CompareYMD(NONE, t) == kInvalid; }, "CompareYMD", kOperands},
        {[](auto& t) { return t.CompareLocalYMD(BEFORE, t) == kInvalid; }, "CompareLocalYMD", kOperands},
        {[](auto& t) { return !t.GetTimeDiff(t, NONE).IsValid(); }, "GetTimeDiff", kSides},
        {[](auto& t) { return !t.GetTimeDiffAbs(NONE, t).IsValid(); }, "GetTimeDiffAbs", kSides},
        {[](auto& t) { return !t.GetOleTimeDiff(45000.0, 2.9).IsValid(); }, "GetOleTimeDiff", kOle},
        {[](auto& t) { return &COrvTime::Max(t, NONE) == &NONE; }, "Max", kBounds},
        {[](auto& t) { return &COrvTime::Min(NONE, t) == &NONE; }, "Min", kBounds},
        // Nothing is added to a beginning of the day that is not valid.
        {[](auto& t) { return UpIn(kGreenwich, t) == 0; }, "operator +=", kBoth},
        {[](auto&) { return UpIn(kGreenwich, NONE) == 0; }, "operator +=", kBoth},
        {[](auto& t) { return UpIn(kEurope, t) == -3600; }, "operator +=", kBoth},
    };
    CheckEach("COrvTime::", rows);
}

TEST(TimeReports, Dates)
{
    constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
    constexpr const char* kRange = "d < BASEORVTIME_INDATE || d > MAXORVTIME_INDATE";
    constexpr const char* kStatus = "d.GetStatus() == ATL::COleDateTime::valid";
    static const Row rows[] = {
        {[](auto& t) { return !t.SetDATE(3.0) && t == kKept; }, "SetDATE", kRange},
        {[](auto& t) { return !t.SetDATE(25568.5) && t == kKept; }, "SetDATE", kRange},
        {[](auto& t) { return !t.SetDATE(50423.01) && t == kKept; }, "SetDATE", kRange},
        {[](auto& t) { return !t.SetDATE(kNoNumber) && t == kKept; }, "SetDATE", kRange},
        {[](auto& t) { return !t.SetLocalDATE(3.0) && t == kKept; }, "SetLocalDATE", kRange},
        {[](auto& t) { return !t.SetDATE(kBadOleValue) && t.IsNull(); }, "SetDATE", kStatus},
        {[](auto& t) { return !t.SetLocalDATE(kBadOleValue) && t.IsNull(); }, "SetLocalDATE", kStatus},
    };
    CheckEach("COrvTime::", rows);
    COrvTimeDiff span;
    EXPECT_EQ(86400, COrvTime::FromDATE(kOleValue).GetOrvTime());
    EXPECT_EQ(COrvTime::FromLocalYMD(1970, 1, 2, 0, 0, 0), COrvTime::FromLocalDATE(kOleValue));
    EXPECT_TRUE(span.SetDATE(kOleValue) && span == 43200);
}

TEST(TimeReports, FieldsAndConversions)
{
    static SYSTEMTIME st;
    static DBTIMESTAMP ts;
    static WORD w, h = 9, mi = 9, s = 9;
    constexpr const char* kTime = "!IsValid()";
    constexpr const char* kYears = "year < 1970 || year > 2038 || (year == 2038 && (month > 1 || day > 1))";
    constexpr const char* kRange = "t < -0x80000000LL || t > 0x7FFFFFFFLL";
    constexpr const char* kAll =
        "year == nullptr || month == nullptr || day == nullptr || hour == nullptr || "
        "minute == nullptr || second == nullptr";
    static const Row rows[] = {
        {[](auto&) { return !NONE.GetSystemTime(st); }, "GetSystemTime", kTime},
        {[](auto&) { return !NONE.GetLocalSystemTime(st); }, "GetLocalSystemTime", kTime},
        {[](auto&) { return !BEFORE.GetDBTypeStamp(ts); }, "GetSystemTime", kTime}, // deliberately
        {[](auto&) { return !NONE.GetYMD(&w, &w, &w, &w, &w, &w); }, "GetYMD", kTime},
        {[](auto&) { return !NONE.GetLocalYMD(&w, &w, &w, &w, &w, &w); }, "GetLocalYMD", kTime},
    };
    CheckEach("COrvTime::", rows);
    static const Row conversions[] = {
        {[](auto& t) { return !t.SetLocalYMD(1969, 12, 31, 23, 0, 0) && t.IsNull(); }, "LocalYMD2Timet",
         kYears},
        {[](auto& t) { return !t.SetLocalYMD(2038, 1, 2, 0, 0, 0); }, "LocalYMD2Timet", kYears},
        {[](auto& t) { return !t.SetLocalYMD(2038, 2, 1, 0, 0, 0); }, "LocalYMD2Timet", kYears},
        {[](auto& t) { return !t.SetLocalYMD(2039, 1, 1, 0, 0, 0); }, "LocalYMD2Timet", kYears},
        {[](auto& t) { return t = INT_MAX, t.RoundLocalDayDown() == INT_MAX; }, "LocalYMD2Timet", kYears},
        {[](auto& t) { return UpIn(kEastern, t) == kKept; }, "LocalYMD2Timet", kYears},
        {[](auto&) { return UpIn(kGreenwich, BEFORE) == BEFORE; }, "LocalYMD2Timet", kYears},
        // A date that local times do not reach; the result is true all the same.
        {[](auto& t) { return t.SetLocalDATE(50423.0) && t.IsNull(); }, "LocalYMD2Timet", kYears},
        {[](auto& t) { return t.SetYMD(2038, 1, 19, 3, 14, 8) && t == INT_MIN; }, "FileTime2Timet", kRange},
        {[](auto& t) { return t.SetYMD(1901, 12, 13, 20, 45, 51) && t == INT_MAX; }, "FileTime2Timet",
         kRange},
        // The first moment and the last one, of which the low 32 bits stay.
        {[](auto& t) { return t.SetYMD(1601, 1, 1, 0, 0, 0) && t == 1240428288; }, "FileTime2Timet", kRange},
        {[](auto& t) { return t.SetYMD(30827, 12, 31, 23, 59, 59) && t == 137448447; }, "FileTime2Timet",
         kRange},
        {[](auto&) { return !TZ::LocalYMD2Timet(2024, 1, 1, 0, 0, 0, nullptr); }, "LocalYMD2Timet",
         "t == nullptr"},
        {[](auto&) { return !Timet2SystemTime(kKept, nullptr); }, "Timet2SystemTime", "pST == nullptr"},
        {[](auto&) { return !Timet2LocalSystemTime(kKept, nullptr); }, "Timet2LocalSystemTime",
         "pST == nullptr"},
        {[](auto&) { return !Timet2LocalDATE(kKept, nullptr); }, "Timet2LocalDATE", "localTime == nullptr"},
        {[](auto&) { return !Timet2YMD(kKept, nullptr, &w, &w, &h, &mi, &s) && h + mi + s == 0; },
         "Timet2YMD", kAll},
        {[](auto&) { return !Timet2LocalYMD(kKept, &w, &w, &w, nullptr, &w, &w); }, "Timet2LocalYMD", kAll},
    };
    CheckEach("TZ::", conversions);
    // The time of day may be left out where it is not said.
    CReportCapture capture;
    EXPECT_TRUE(Timet2YMD(kKept, &w, &w, &w, nullptr, nullptr, nullptr));
    EXPECT_TRUE(COrvTime(kKept).GetLocalYMD(&w, &w, &w, nullptr, nullptr, nullptr));
    EXPECT_NO_REPORTS(capture);
}

TEST(TimeReports, Text)
{
    static char text[32];
    *text = '#';
    static WCHAR* const pNone = nullptr;
    constexpr auto kTime = COrvTime::dftTime;
    constexpr const char* kUtc = "dest == nullptr || cchDest < 2 || cchDest >= 0x80000000";
    constexpr const char* kLocal = "dest == nullptr || cchDest < 2";
    constexpr const char* kNarrow = "pStr == nullptr || pStr[0] == '\\0'";
    constexpr const char* kWide = "pStr == nullptr || pStr[0] == L'\\0'";
    constexpr const char* kOrder =
        "(uiFlags & Ext_TimeFirst) == Ext_TimeFirst && ((uiFlags & Date_Mask) == 0 || "
        "(uiFlags & Time_Mask) == 0)";
    constexpr unsigned kFirst = COrvTime::Ext_TimeFirst;
    static const Row rows[] = {
        {[](auto& t) { return t.DebugFormat(kTime, pNone, 10), true; }, "DebugFormat", kUtc},
        {[](auto& t) { return t.DebugFormat(kTime, text, 1), *text == '#'; }, "DebugFormat", kUtc},
        {[](auto& t) { return t.DebugFormat(kTime, text, 0x80000000u), *text == '#'; }, "DebugFormat", kUtc},
        {[](auto& t) { return t.DebugFormatLocal(kTime, pNone, 10), true; }, "DebugFormatLocal", kLocal},
        {[](auto& t) { return t.DebugFormatLocal(kTime, text, 1), *text == '#'; }, "DebugFormatLocal",
         kLocal},
        {[](auto& t) { return !t.SetFromString(""); }, "SetFromString", kNarrow},
        {[](auto& t) { return !t.SetFromString(pNone) && t == kKept; }, "SetFromString", kWide},
        {[](auto& t) { return !t.SetFromString(ORVTEXT("")); }, "SetFromString", kWide},
        {[](auto& t) { return !t.ParseLocal(nullptr) && t == kKept; }, "ParseLocal", "src == nullptr"},
        {[](auto& t) { return !t.FormatLocal(kFirst | t.Date_Short).IsEmpty(); }, "FormatLocal", kOrder},
        {[](auto& t) { return !t.FormatLocal(kFirst | t.Time_Long).IsEmpty(); }, "FormatLocal", kOrder},
    };
    CheckEach("COrvTime::", rows);
    CReportCapture capture;
    COrvTime(kKept).DebugFormatLocal(kTime, text, 0x80000000u); // has no upper bound
    EXPECT_NE('#', *text);
    EXPECT_FALSE(COrvTime(kKept).FormatLocal(COrvTime::Time_Short).IsEmpty());
    EXPECT_FALSE(COrvTime(kKept).FormatLocal(kFirst | COrvTime::Date_Long | COrvTime::Time_Short).IsEmpty());
    EXPECT_NO_REPORTS(capture);
}

} // namespace
