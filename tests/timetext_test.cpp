#include "orvcomtypes/orvtime.h"

#include "support/random.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <string_view>

namespace
{

using WString = std::basic_string<WCHAR>;

WString Widen(std::string_view s)
{
    return WString(s.begin(), s.end());
}

constexpr COrvTime::DebugFormatType ALL_TYPES[] = {
    COrvTime::dftDateTime, COrvTime::dftDate, COrvTime::dftDayTime, COrvTime::dftTime,
    COrvTime::dftCompact,  COrvTime::dftISO,  COrvTime::dftISO_T,
};

/// The text in both kinds of units, which must agree.
std::string Utc(const COrvTime& t, int type)
{
    char text[64];
    WCHAR wide[64];
    t.DebugFormat(static_cast<COrvTime::DebugFormatType>(type), text, 64);
    t.DebugFormat(static_cast<COrvTime::DebugFormatType>(type), wide, 64);
    EXPECT_EQ(Widen(text), wide);
    return text;
}

std::string Local(const COrvTime& t, int type)
{
    char text[64];
    WCHAR wide[64];
    t.DebugFormatLocal(static_cast<COrvTime::DebugFormatType>(type), text, 64);
    t.DebugFormatLocal(static_cast<COrvTime::DebugFormatType>(type), wide, 64);
    EXPECT_EQ(Widen(text), wide);
    return text;
}

/// A zone for the test; the system's own afterwards.
class CZone
{
public:
    explicit CZone(const WCHAR* sName) { EXPECT_EQ(0, SetTimeZone(sName)); }
    CZone(const CZone&) = delete;
    CZone& operator=(const CZone&) = delete;
    ~CZone() { SetTimeZone(ORVTEXT("no such zone")); }
};

TEST(TimeFormat, EveryTypeInBothForms)
{
    const CZone zone(ORVTEXT("UTC"));
    const COrvTime t = COrvTime::FromYMD(2009, 3, 7, 8, 5, 9);
    struct Row
    {
        const char* sUtc;
        const char* sLocal;
        const char* sInvalid;
    };
    static constexpr Row rows[] = {
        {"2009.03.07.  8:05:09", "2009.03.07.  8:05:09", "----.--.--. --:--:--"},
        {"2009.03.07.", "2009.03.07.", "----.--.--."},
        {"07.  8:05:09", "07.  8:05:09", "--. --:--:--"},
        {" 8:05:09", " 8:05:09", "--:--:--"},
        {"090307_080509", " 90307_ 80509", "------_------"},
        {"2009-03-07 08:05:09Z", "2009-03-07 08:05:09+00:00", ""},
        {"2009-03-07T08:05:09Z", "2009-03-07T08:05:09+00:00", ""},
        {"", "", ""}, // no such type
    };
    for (int i = 0; i < 8; ++i)
    {
        EXPECT_EQ(rows[i].sUtc, Utc(t, i)) << i;
        EXPECT_EQ(rows[i].sLocal, Local(t, i)) << i;
        for (const COrvTime tInvalid : {COrvTime(), COrvTime(-1)})
        {
            EXPECT_EQ(rows[i].sInvalid, Utc(tInvalid, i)) << i;
            EXPECT_EQ(rows[i].sInvalid, Local(tInvalid, i)) << i;
        }
    }
    EXPECT_EQ("2038.01.19.  3:14:07", Utc(INT_MAX, 0));
    EXPECT_EQ("1970-01-01 00:00:01Z", Utc(1, 5));
}

TEST(TimeFormat, OffsetsAsTheTwoTimesOfDayTell)
{
    struct Row
    {
        const WCHAR* sZone;
        int iHour; // UTC, on 2024-01-15
        const char* sText;
    };
    static constexpr Row rows[] = {
        {ORVTEXT("Central Europe Standard Time"), 23, "2024-01-16 00:00:00+01:00"},
        {ORVTEXT("Eastern Standard Time"), 2, "2024-01-14 21:00:00-05:00"},
        {ORVTEXT("India Standard Time"), 20, "2024-01-16 01:30:00+05:30"},
        {ORVTEXT("Newfoundland Standard Time"), 1, "2024-01-14 21:30:00-03:30"},
        {ORVTEXT("UTC+12"), 6, "2024-01-15 18:00:00+12:00"},
        {ORVTEXT("New Zealand Standard Time"), 6, "2024-01-15 19:00:00-11:00"}, // +13:00
        {ORVTEXT("Dateline Standard Time"), 18, "2024-01-15 06:00:00-12:00"},
        {ORVTEXT("Dateline Standard Time"), 6, "2024-01-14 18:00:00+12:00"}, // the same zone
    };
    for (const Row& row : rows)
    {
        const CZone zone(row.sZone);
        EXPECT_EQ(row.sText, Local(COrvTime::FromYMD(2024, 1, 15, row.iHour, 0, 0), 5));
    }
}

TEST(TimeFormat, CutsToTheBuffer)
{
    const COrvTime t = COrvTime::FromYMD(2024, 5, 6, 7, 8, 9);
    for (const auto type : ALL_TYPES)
        for (unsigned cch = 2; cch < 32; ++cch)
        {
            WCHAR text[33];
            std::fill_n(text, 33, WCHAR('#'));
            t.DebugFormat(type, text, cch);
            EXPECT_EQ(Widen(Utc(t, type).substr(0, cch - 1)), text);
            EXPECT_EQ('#', text[cch]);
            COrvTime().DebugFormatLocal(type, text, cch);
            EXPECT_EQ(Widen(Local(COrvTime(), type).substr(0, cch - 1)), text);
            EXPECT_EQ('#', text[cch]);
        }
}

TEST(TimeFormat, BadBuffersStayUntouched)
{
    CReportCapture capture;
    const COrvTime t(1);
    char text[32] = "##";
    t.DebugFormat(COrvTime::dftTime, static_cast<char*>(nullptr), 10);
    t.DebugFormat(COrvTime::dftTime, text, 1);
    t.DebugFormat(COrvTime::dftTime, text, 0x80000000u);
    t.DebugFormatLocal(COrvTime::dftTime, static_cast<WCHAR*>(nullptr), 10);
    t.DebugFormatLocal(COrvTime::dftTime, text, 1);
    EXPECT_STREQ("##", text);
    const ExpectedReport utc = {"COrvTime::DebugFormat",
                                "dest == nullptr || cchDest < 2 || cchDest >= 0x80000000", nullptr,
                                "orvtime"};
    const ExpectedReport local = {"COrvTime::DebugFormatLocal", "dest == nullptr || cchDest < 2", nullptr,
                                  "orvtime"};
    EXPECT_REPORTS(capture, {utc, utc, utc, local, local});
    t.DebugFormatLocal(COrvTime::dftTime, text, 0x80000000u);
    EXPECT_EQ(8u, std::string_view(text).size());
    EXPECT_NO_REPORTS(capture);
}

struct ParseRow
{
    const char* sText;
    const char* sNarrow; // as type 5, "null" when the null time is stored, null when it is refused
    const char* sWide;
    const char* sReport = nullptr; // condition reported by both
};

std::string ResultOf(const COrvTime& t, bool bRead)
{
    constexpr int iKept = 77;
    if (t.GetOrvTime() == iKept)
        return bRead ? "kept, but true" : "refused";
    if (t.IsNull())
        return bRead ? "null, but true" : "null";
    return bRead ? Utc(t, 5) : "set, but false";
}

TEST(TimeParse, Forms)
{
    const CZone zone(ORVTEXT("Central Europe Standard Time"));
    constexpr const char* SUMMER = "2024-05-06 05:08:09Z"; // 07:08:09 local
    constexpr const char* UTC = "2024-05-06 07:08:09Z";
    constexpr const char* NO = "refused";
    static constexpr ParseRow rows[] = {
        {"2024-05-06 07:08:09", SUMMER, SUMMER},
        {"20240506 070809", SUMMER, SUMMER},
        {"2024-05-06T07:08:09", SUMMER, SUMMER},
        {"2024-05-06\t 07:08:09\r\n", SUMMER, SUMMER},
        {"2024-05-06T 07:08:09", SUMMER, SUMMER},
        {"2024-05-06T07:08:09Z", UTC, UTC},
        {"2024-05-06T07:08:09Z and more", UTC, UTC},
        {"20240506T070809Z", UTC, UTC},
        {"2024-05-06 07:08:09 Z", SUMMER, SUMMER},
        {"2024-05-06 07:08", "2024-05-06 05:08:00Z", "2024-05-06 05:08:00Z", "!bHasSemicolon"},
        {"2024-05-06 7:08", "2024-05-06 05:08:00Z", "2024-05-06 05:08:00Z", "!bHasSemicolon"},
        {"20240506 7:08:09", SUMMER, SUMMER},
        {"2024-05-06 0708:09", SUMMER, SUMMER, "bHasSemicolon"},
        {"2024-0506 07:08:09", SUMMER, SUMMER, "!bHasHyphen"},
        {"202405-06 07:08:09", SUMMER, SUMMER, "bHasHyphen"},
        {"2024-05-06 07:08:09x", SUMMER, SUMMER, ""},
        {"2024-05-06 07:08:9", "2024-05-06 05:08:00Z", "2024-05-06 05:08:00Z", ""},
        {"2024-01-06 07:08:09", "2024-01-06 06:08:09Z", "2024-01-06 06:08:09Z"},
        {"1969-12-31 23:59:59Z", "set", "set"},
        {"2024-02-30 07:08:09Z", "null", "null"},
        {"2024-02-30 07:08:09", "null", "null"},
        {"2024-05-06 24:00:00Z", "null", "null"},
        {"2024-05-06 ", NO, NO},
        {"2024-0506", NO, NO}, // too short to be reported
        {"2024-0506 7", NO, NO},
        {"2024-05-06 7 08:09", NO, NO},
        {"2024-05-06x07:08:09", NO, NO},
        {"2024-05-06  7:8:09", NO, NO},
        {"2024-05-06   07:08:09", NO, NO},
        {"2024-05-x6 07:08:09", NO, NO},
        {"202-05-06 07:08:09", NO, NO},
        {"2024-5-06 07:08:09", NO, NO},
        {" 2024-05-06 07:08:09", NO, NO},
    };
    for (const ParseRow& row : rows)
    {
        SCOPED_TRACE(row.sText);
        CReportCapture capture;
        COrvTime tNarrow(77), tWide(77);
        const bool bNarrow = tNarrow.SetFromString(row.sText);
        const bool bWide = tWide.SetFromString(Widen(row.sText).c_str());
        if (std::string_view(row.sNarrow) == "set")
        {
            EXPECT_TRUE(bNarrow && bWide && tNarrow.GetOrvTime() == -1 && tWide.GetOrvTime() == -1);
            continue;
        }
        EXPECT_EQ(row.sNarrow, ResultOf(tNarrow, bNarrow));
        EXPECT_EQ(row.sWide, ResultOf(tWide, bWide));
        const ExpectedReport report = {"COrvTime::SetFromString", row.sReport, nullptr, "orvtime"};
        if (row.sReport != nullptr)
            EXPECT_REPORTS(capture, {report, report});
        else
            EXPECT_NO_REPORTS(capture);
    }
}

TEST(TimeParse, FractionsAreTheNarrowFormsOnly)
{
    struct Row
    {
        const char* sText;
        const char* sNarrow;
    };
    static constexpr Row rows[] = {
        {"2024-05-06 07:08:09.5Z", "2024-05-06 07:08:10Z"},
        {"2024-05-06 07:08:09.499Z", "2024-05-06 07:08:09Z"},
        {"2024-05-06 07:08:59.999Z", "2024-05-06 07:09:00Z"},
        {"2024-05-06 07:08:09.Z", "2024-05-06 07:08:09Z"},
        {"2024-05-06 07:08.7Z", "2024-05-06 07:08:01Z"}, // reported
        {"1970-01-01 00:00:00.5Z", "null, but true"},
    };
    for (const Row& row : rows)
    {
        COrvTime t(77);
        EXPECT_EQ(row.sNarrow, ResultOf(t, t.SetFromString(row.sText))) << row.sText;
    }
    CReportCapture capture;
    COrvTime t;
    EXPECT_TRUE(t.SetFromString("2024-05-06 07:08:09.4999")); // the fourth digit is foreign text
    EXPECT_TRUE(t.SetFromString(ORVTEXT("2024-05-06 07:08:09.5")));
    EXPECT_EQ(COrvTime::FromLocalYMD(2024, 5, 6, 7, 8, 9), t);
    EXPECT_REPORTS(capture, {{"COrvTime::SetFromString", ""}, {"COrvTime::SetFromString", ""}});
}

TEST(TimeParse, OffsetsAreTheWideFormsOnly)
{
    struct Row
    {
        const char* sOffset; // behind 2024-05-06T07:08:09
        const char* sWide;
        const char* sReport = nullptr;
    };
    static constexpr Row rows[] = {
        {"+02:00", "2024-05-06 05:08:09Z"},
        {"-02:00", "2024-05-06 09:08:09Z"},
        {"+2", "2024-05-06 05:08:09Z"},
        {"+02", "2024-05-06 05:08:09Z"},
        {"+0230", "2024-05-06 04:38:09Z"},
        {"-0545x", "2024-05-06 12:53:09Z"},
        {"+02:", "2024-05-06 05:08:09Z"},
        {"+02:3", "2024-05-06 05:08:09Z"},
        {"+00:00", "2024-05-06 07:08:09Z"},
        {"+29:59", "2024-05-05 01:09:09Z"},
        {"+", "refused"},
        {"-x", "refused"},
        {"+30:00", "refused", "p[1] <= L'2'"},
        {"+3000", "refused", "p[1] <= L'2'"},
        {"+0260", "2024-05-06 05:08:09Z", "p[3] <= L'5'"},
        {"+02:60", "2024-05-06 05:08:09Z", "p[4] <= L'5'"},
        {"+130", "2024-05-06 05:38:09Z"},
        {"+160", "2024-05-06 06:08:09Z", "p[2] <= '5'"},
    };
    for (const Row& row : rows)
    {
        const std::string sText = std::string("2024-05-06T07:08:09") + row.sOffset;
        SCOPED_TRACE(sText);
        CReportCapture capture;
        COrvTime t(77);
        EXPECT_EQ("refused", ResultOf(t, t.SetFromString(sText.c_str())));
        EXPECT_NO_REPORTS(capture);
        EXPECT_EQ(row.sWide, ResultOf(t, t.SetFromString(Widen(sText).c_str())));
        if (row.sReport != nullptr)
            EXPECT_REPORTS(capture, {{"COrvTime::SetFromString", row.sReport}});
        else
            EXPECT_NO_REPORTS(capture);
    }
    // A result that is no valid time is refused; fields that are none store null.
    COrvTime t(77);
    EXPECT_FALSE(t.SetFromString(ORVTEXT("1970-01-01T01:00:00+01:00")));
    EXPECT_FALSE(t.SetFromString(ORVTEXT("2038-01-19T03:14:07-00:01")));
    EXPECT_EQ(77, t.GetOrvTime());
    EXPECT_FALSE(t.SetFromString(ORVTEXT("2024-13-01T01:00:00+01:00")));
    EXPECT_TRUE(t.IsNull());
}

TEST(TimeParse, MissingTextIsReported)
{
    CReportCapture capture;
    COrvTime t(77);
    EXPECT_FALSE(t.SetFromString(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(t.SetFromString(""));
    EXPECT_FALSE(t.SetFromString(static_cast<const WCHAR*>(nullptr)));
    EXPECT_FALSE(t.SetFromString(ORVTEXT("")));
    EXPECT_EQ(77, t.GetOrvTime());
    EXPECT_REPORTS(capture, {{"COrvTime::SetFromString", "pStr == nullptr || pStr[0] == '\\0'"},
                             {"COrvTime::SetFromString", "pStr == nullptr || pStr[0] == '\\0'"},
                             {"COrvTime::SetFromString", "pStr == nullptr || pStr[0] == L'\\0'"},
                             {"COrvTime::SetFromString", "pStr == nullptr || pStr[0] == L'\\0'"}});
    EXPECT_TRUE(COrvTime("no time at all").IsNull());
    EXPECT_EQ(1, COrvTime(ORVTEXT("1970-01-01 00:00:01Z")).GetOrvTime());
}

TEST(TimeParse, ReadsBackTheTextsOfTypes5And6)
{
    CTestRandom random;
    for (const WCHAR* sZone : {ORVTEXT("Central Europe Standard Time"), ORVTEXT("Nepal Standard Time"),
                               ORVTEXT("Newfoundland Standard Time"), ORVTEXT("UTC-11")})
    {
        const CZone zone(sZone);
        for (int i = 0; i < 2000; ++i)
        {
            const COrvTime t(1 + static_cast<int>(random.UpTo(INT_MAX - 1)));
            for (const int type : {5, 6})
            {
                ASSERT_EQ(t, COrvTime(Utc(t, type).c_str())) << t.GetOrvTime();
                ASSERT_EQ(t, COrvTime(Widen(Utc(t, type)).c_str())) << t.GetOrvTime();
                ASSERT_EQ(t, COrvTime(Widen(Local(t, type)).c_str())) << t.GetOrvTime();
            }
        }
    }
}

} // namespace
