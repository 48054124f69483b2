// What every operation on times reports, and what it falls back to.
#include "orvcomtypes/orvtime.h"

#include "support/report_capture.h"

#include <gtest/gtest.h>
#include <oledb.h>

#include <climits>
#include <limits>
#include <span>

namespace
{

/// Stand-ins for the class library's date classes: value and status are all that is used of them.
struct OleStatus
{
    static constexpr int valid = 0;
    int GetStatus() const { return m_iStatus; }
    int m_iStatus;
};
struct OleDate : OleStatus
{
    double m_dt;
};
struct OleSpan : OleStatus
{
    double m_span;
};

constexpr int INVALID = INT_MIN, KEPT = 1000;
const COrvTime NONE, BEFORE(-5);
const COrvTimeDiff SPAN(50), NO_SPAN;
constexpr OleDate DATE_OBJECT = {{0}, 25570.0}, BAD_DATE = {{1}, 25570.0};
constexpr OleSpan SPAN_OBJECT = {{0}, 0.5}, BAD_SPAN = {{1}, 0.5};
constexpr const char* BOTH = "span.IsValid() && IsValid()";

struct Row
{
    bool (*m_bFallsBack)(COrvTime& t); // the time is KEPT before
    const char* m_sFunction;
    const char* m_sCondition;
};

void CheckEach(const std::string& sClass, std::span<const Row> rows)
{
    CReportCapture capture;
    for (const Row& row : rows)
    {
        COrvTime t(KEPT);
        const std::string sFunction = sClass + row.m_sFunction;
        EXPECT_TRUE(row.m_bFallsBack(t)) << sFunction << ": " << row.m_sCondition;
        EXPECT_REPORTS(capture, {{sFunction.c_str(), row.m_sCondition, nullptr,
                                  sClass == "TZ::" ? "timeutils" : "orvtime"}});
    }
}

TEST(TimeReports, Spans)
{
    constexpr const char* COMPARE = "IsValid() && t.IsValid()";
    constexpr const char* STATUS = "span.GetStatus() == ATL::COleDateTimeSpan::valid";
    static const Row rows[] = {
        {[](auto&) { return !(SPAN < NO_SPAN); }, "operator <", COMPARE},
        {[](auto&) { return !(SPAN > NO_SPAN); }, "operator >", COMPARE},
        {[](auto&) { return !(NO_SPAN <= SPAN); }, "operator <=", COMPARE},
        {[](auto&) { return &COrvTimeDiff::Max(SPAN, NO_SPAN) == &NO_SPAN; }, "operator >=", COMPARE},
        {[](auto&) { return &COrvTimeDiff::Min(NO_SPAN, SPAN) == &NO_SPAN; }, "operator >=", COMPARE},
        {[](auto&) { return !(SPAN + NO_SPAN).IsValid(); }, "operator +", BOTH},
        {[](auto&) { return !(NO_SPAN - SPAN).IsValid(); }, "operator -", BOTH},
        {[](auto&) { return !(-NO_SPAN).IsValid(); }, "operator -", "IsValid()"},
        {[](auto&) { return (COrvTimeDiff(50) += NO_SPAN) == SPAN; }, "operator +=", BOTH},
        {[](auto&) { return (COrvTimeDiff(50) -= NO_SPAN) == SPAN; }, "operator -=", BOTH},
        {[](auto&) { return !COrvTimeDiff(50).SetDATE(BAD_SPAN); }, "SetDATE", STATUS},
    };
    CheckEach("COrvTimeDiff::", rows);
}

TEST(TimeReports, ArithmeticAndDifferences)
{
    constexpr const char* OPERANDS = "!tLeft.IsValid() || ! tRight.IsValid()";
    constexpr const char* SIDES = "tLeft.IsValid() && tRight.IsValid()";
    constexpr const char* OLE = "dLeft >= MINSETDATE && dRight >= MINSETDATE";
    constexpr const char* BOUNDS = "!tLeft.IsValid() || !tRight.IsValid()";
    static const Row rows[] = {
        {[](auto& t) { return (t + NO_SPAN).IsNull(); }, "operator +", BOTH},
        {[](auto&) { return (NONE - SPAN).IsNull(); }, "operator -", BOTH},
        {[](auto& t) { return (t += NO_SPAN) == KEPT; }, "operator +=", BOTH},
        {[](auto& t) { return (t -= NO_SPAN) == KEPT; }, "operator -=", BOTH},
        {[](auto&) { return (NONE + 1).IsNull(); }, "operator +", "IsValid()"},
        {[](auto&) { return (BEFORE - 1).IsNull(); }, "operator -", "IsValid()"},
        {[](auto& t) { return !(t - NONE).IsValid(); }, "operator -", "t.IsValid() && IsValid()"},
        {[](auto& t) { return t.Compare(t, NONE) == INVALID; }, "Compare", OPERANDS},
        {[](auto& t) { return t.CompareYMD(NONE, t) == INVALID; }, "CompareYMD", OPERANDS},
        {[](auto& t) { return t.CompareLocalYMD(BEFORE, t) == INVALID; }, "CompareLocalYMD", OPERANDS},
        {[](auto& t) { return !t.GetTimeDiff(t, NONE).IsValid(); }, "GetTimeDiff", SIDES},
        {[](auto& t) { return !t.GetTimeDiffAbs(NONE, t).IsValid(); }, "GetTimeDiffAbs", SIDES},
        {[](auto& t) { return !t.GetOleTimeDiff(45000.0, 2.9).IsValid(); }, "GetOleTimeDiff", OLE},
        {[](auto& t) { return &COrvTime::Max(t, NONE) == &NONE; }, "Max", BOUNDS},
        {[](auto& t) { return &COrvTime::Min(NONE, t) == &NONE; }, "Min", BOUNDS},
        // The day began before 1970-01-01 00:00:01 UTC in every zone.
        {[](auto& t) { return t.RoundLocalDayUp() > t; }, "operator +=", BOTH},
    };
    CheckEach("COrvTime::", rows);
}

TEST(TimeReports, Dates)
{
    constexpr double NO_NUMBER = std::numeric_limits<double>::quiet_NaN();
    constexpr const char* RANGE = "d < BASEORVTIME_INDATE || d > MAXORVTIME_INDATE";
    constexpr const char* STATUS = "d.GetStatus() == ATL::COleDateTime::valid";
    static const Row rows[] = {
        {[](auto& t) { return !t.SetDATE(25568.5) && t == KEPT; }, "SetDATE", RANGE},
        {[](auto& t) { return !t.SetDATE(50423.01) && t == KEPT; }, "SetDATE", RANGE},
        {[](auto& t) { return !t.SetDATE(NO_NUMBER) && t == KEPT; }, "SetDATE", RANGE},
        {[](auto& t) { return !t.SetLocalDATE(25568.5) && t == KEPT; }, "SetLocalDATE", RANGE},
        {[](auto& t) { return !t.SetLocalDATE(50423.01) && t == KEPT; }, "SetLocalDATE", RANGE},
        {[](auto& t) { return !t.SetDATE(BAD_DATE) && t.IsNull(); }, "SetDATE", STATUS},
        {[](auto& t) { return !t.SetLocalDATE(BAD_DATE) && t.IsNull(); }, "SetLocalDATE", STATUS},
    };
    CheckEach("COrvTime::", rows);
    COrvTimeDiff span;
    EXPECT_EQ(86400, COrvTime::FromDATE(DATE_OBJECT).GetOrvTime());
    EXPECT_EQ(COrvTime::FromLocalYMD(1970, 1, 2, 0, 0, 0), COrvTime::FromLocalDATE(DATE_OBJECT));
    EXPECT_TRUE(span.SetDATE(SPAN_OBJECT) && span == 43200);
}

TEST(TimeReports, FieldsAndConversions)
{
    static SYSTEMTIME st;
    static DBTIMESTAMP ts;
    static WORD w, h = 9, mi = 9, s = 9;
    constexpr const char* TIME = "!IsValid()";
    constexpr const char* YEARS = "year < 1970 || year > 2038 || (year == 2038 && (month > 1 || day > 1))";
    constexpr const char* RANGE = "t < -0x80000000LL || t > 0x7FFFFFFFLL";
    constexpr const char* ALL = "year == nullptr || month == nullptr || day == nullptr || hour == nullptr || "
                                "minute == nullptr || second == nullptr";
    static const Row rows[] = {
        {[](auto&) { return !NONE.GetSystemTime(st); }, "GetSystemTime", TIME},
        {[](auto&) { return !NONE.GetLocalSystemTime(st); }, "GetLocalSystemTime", TIME},
        {[](auto&) { return !BEFORE.GetDBTypeStamp(ts); }, "GetSystemTime", TIME}, // deliberately
        {[](auto&) { return !NONE.GetYMD(&w, &w, &w, &w, &w, &w); }, "GetYMD", TIME},
        {[](auto&) { return !NONE.GetLocalYMD(&w, &w, &w, &w, &w, &w); }, "GetLocalYMD", TIME},
    };
    CheckEach("COrvTime::", rows);
    static const Row conversions[] = {
        {[](auto& t) { return !t.SetLocalYMD(1969, 12, 31, 23, 0, 0) && t.IsNull(); }, "LocalYMD2Timet",
         YEARS},
        {[](auto& t) { return !t.SetLocalYMD(2038, 1, 2, 0, 0, 0); }, "LocalYMD2Timet", YEARS},
        {[](auto& t) { return !t.SetLocalYMD(2038, 2, 1, 0, 0, 0); }, "LocalYMD2Timet", YEARS},
        {[](auto& t) { return t = INT_MAX, t.RoundLocalDayDown() == INT_MAX; }, "LocalYMD2Timet", YEARS},
        // A date that local times do not reach; the result is true all the same.
        {[](auto& t) { return t.SetLocalDATE(50423.0) && t.IsNull(); }, "LocalYMD2Timet", YEARS},
        {[](auto& t) { return t.SetYMD(2038, 1, 19, 3, 14, 8) && t == INT_MIN; }, "FileTime2Timet", RANGE},
        {[](auto& t) { return t.SetYMD(1901, 12, 13, 20, 45, 51) && t == INT_MAX; }, "FileTime2Timet", RANGE},
        {[](auto&) { return !TZ::LocalYMD2Timet(2024, 1, 1, 0, 0, 0, nullptr); }, "LocalYMD2Timet",
         "t == nullptr"},
        {[](auto&) { return !Timet2SystemTime(KEPT, nullptr); }, "Timet2SystemTime", "pST == nullptr"},
        {[](auto&) { return !Timet2LocalSystemTime(KEPT, nullptr); }, "Timet2LocalSystemTime",
         "pST == nullptr"},
        {[](auto&) { return !Timet2LocalDATE(KEPT, nullptr); }, "Timet2LocalDATE", "localTime == nullptr"},
        {[](auto&) { return !Timet2YMD(KEPT, nullptr, &w, &w, &h, &mi, &s) && h + mi + s == 0; }, "Timet2YMD",
         ALL},
        {[](auto&) { return !Timet2LocalYMD(KEPT, &w, &w, &w, nullptr, &w, &w); }, "Timet2LocalYMD", ALL},
    };
    CheckEach("TZ::", conversions);
    // The time of day may be left out where it is not said.
    CReportCapture capture;
    EXPECT_TRUE(Timet2YMD(KEPT, &w, &w, &w, nullptr, nullptr, nullptr));
    EXPECT_TRUE(COrvTime(KEPT).GetLocalYMD(&w, &w, &w, nullptr, nullptr, nullptr));
    EXPECT_NO_REPORTS(capture);
}

TEST(TimeReports, Text)
{
    static char text[32];
    *text = '#';
    static WCHAR* const pNone = nullptr;
    constexpr auto TIME = COrvTime::dftTime;
    constexpr const char* UTC = "dest == nullptr || cchDest < 2 || cchDest >= 0x80000000";
    constexpr const char* LOCAL = "dest == nullptr || cchDest < 2";
    constexpr const char* NARROW = "pStr == nullptr || pStr[0] == '\\0'";
    constexpr const char* WIDE = "pStr == nullptr || pStr[0] == L'\\0'";
    static const Row rows[] = {
        {[](auto& t) { return t.DebugFormat(TIME, pNone, 10), true; }, "DebugFormat", UTC},
        {[](auto& t) { return t.DebugFormat(TIME, text, 1), *text == '#'; }, "DebugFormat", UTC},
        {[](auto& t) { return t.DebugFormat(TIME, text, 0x80000000u), *text == '#'; }, "DebugFormat", UTC},
        {[](auto& t) { return t.DebugFormatLocal(TIME, pNone, 10), true; }, "DebugFormatLocal", LOCAL},
        {[](auto& t) { return t.DebugFormatLocal(TIME, text, 1), *text == '#'; }, "DebugFormatLocal", LOCAL},
        {[](auto& t) { return !t.SetFromString(""); }, "SetFromString", NARROW},
        {[](auto& t) { return !t.SetFromString(pNone) && t == KEPT; }, "SetFromString", WIDE},
        {[](auto& t) { return !t.SetFromString(ORVTEXT("")); }, "SetFromString", WIDE},
        {[](auto& t) { return !t.ParseLocal(nullptr) && t == KEPT; }, "ParseLocal", "src == nullptr"},
        {[](auto& t) { return !t.FormatLocal(COrvTime::Ext_TimeFirst | COrvTime::Date_Short).IsEmpty(); },
         "FormatLocal",
         "(uiFlags & Ext_TimeFirst) == Ext_TimeFirst && ((uiFlags & Date_Mask) == 0 || "
         "(uiFlags & Time_Mask) == 0)"},
    };
    CheckEach("COrvTime::", rows);
    CReportCapture capture;
    COrvTime(KEPT).DebugFormatLocal(TIME, text, 0x80000000u); // has no upper bound
    EXPECT_NE('#', *text);
    EXPECT_FALSE(COrvTime(KEPT).FormatLocal(COrvTime::Time_Short).IsEmpty());
    EXPECT_NO_REPORTS(capture);
}

} // namespace
