#include "orvcomtypes/orvtime.h"

#include "support/local_time.h"
#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <climits>

namespace
{

Text Widen(std::string_view s)
{
    return Text(s.begin(), s.end());
}

template <class Char>
using Format = void (COrvTime::*)(COrvTime::DebugFormatType, Char*, unsigned) const noexcept;

/// The text in both kinds of units, which must agree, in a buffer of \p cch units.
std::string Formatted(const COrvTime& t, Format<char> format, Format<WCHAR> wideFormat, int type,
                      unsigned cch)
{
    std::string text(cch + 1, '#');
    Text wide(cch + 1, '#');
    (t.*format)(static_cast<COrvTime::DebugFormatType>(type), text.data(), cch);
    (t.*wideFormat)(static_cast<COrvTime::DebugFormatType>(type), wide.data(), cch);
    EXPECT_EQ(Widen(text), wide);
    EXPECT_EQ('#', text.back());
    return text.c_str();
}

std::string Utc(const COrvTime& t, int type, unsigned cch = 64)
{
    return Formatted(t, &COrvTime::DebugFormat, &COrvTime::DebugFormat, type, cch);
}

std::string Local(const COrvTime& t, int type, unsigned cch = 64)
{
    return Formatted(t, &COrvTime::DebugFormatLocal, &COrvTime::DebugFormatLocal, type, cch);
}

TEST(TimeFormat, EveryTypeInBothForms)
{
    const CZone zone(ORVTEXT("UTC"));
    const COrvTime t = COrvTime::FromYMD(2009, 3, 7, 8, 5, 9);
    struct Row
    {
        std::string sUtc, sLocal, sInvalid;
    };
    static const Row rows[] = {
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
        for (unsigned cch = 2; cch < 32; ++cch)
        {
            EXPECT_EQ(rows[i].sUtc.substr(0, cch - 1), Utc(t, i, cch)) << i;
            EXPECT_EQ(rows[i].sLocal.substr(0, cch - 1), Local(t, i, cch)) << i;
            EXPECT_EQ(rows[i].sInvalid.substr(0, cch - 1), Utc(COrvTime(-1), i, cch)) << i;
            EXPECT_EQ(rows[i].sInvalid.substr(0, cch - 1), Local(COrvTime(), i, cch)) << i;
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
    for (const auto& row : rows)
    {
        const CZone zone(row.sZone);
        EXPECT_EQ(row.sText, Local(COrvTime::FromYMD(2024, 1, 15, row.iHour, 0, 0), 5));
    }
}

constexpr const char* NO = "refused";
constexpr const char* SAME = "the same";

std::string ResultOf(const COrvTime& t, bool bRead)
{
    constexpr int iKept = 77;
    if (t.GetOrvTime() == iKept)
        return bRead ? "kept, but true" : NO;
    if (!t.IsValid())
        return (t.IsNull() ? "null" : "before 1970") + std::string(bRead ? ", but true" : "");
    return bRead ? Utc(t, 5) : "set, but false";
}

struct ParseRow
{
    std::string m_sText;
    std::string m_sNarrow; // as type 5, or what became of the time
    std::string m_sWide = SAME;
    const char* m_sReport = nullptr; // condition reported by the narrow form
    const char* m_sWideReport = m_sReport;
};

void CheckParse(const ParseRow& row)
{
    SCOPED_TRACE(row.m_sText);
    CReportCapture capture;
    COrvTime tNarrow(77), tWide(77);
    const auto checkReport = [&capture](const char* sReport) {
        if (sReport != nullptr)
            EXPECT_REPORTS(capture, {{"COrvTime::SetFromString", sReport, nullptr, "orvtime"}});
        else
            EXPECT_NO_REPORTS(capture);
    };
    EXPECT_EQ(row.m_sNarrow, ResultOf(tNarrow, tNarrow.SetFromString(row.m_sText.c_str())));
    checkReport(row.m_sReport);
    const std::string sWide = ResultOf(tWide, tWide.SetFromString(Widen(row.m_sText).c_str()));
    EXPECT_EQ(row.m_sWide == SAME ? row.m_sNarrow : row.m_sWide, sWide);
    checkReport(row.m_sWideReport);
}

TEST(TimeParse, Forms)
{
    const CZone zone(ORVTEXT("Central Europe Standard Time"));
    const std::string SUMMER = "2024-05-06 05:08:09Z"; // 07:08:09 local
    const std::string FULL_MINUTE = "2024-05-06 05:08:00Z";
    const std::string UTC = "2024-05-06 07:08:09Z";
    for (const ParseRow& row : std::initializer_list<ParseRow>{
             {"2024-05-06 07:08:09", SUMMER},
             {"20240506 070809", SUMMER},
             {"2024-05-06T07:08:09", SUMMER},
             {"2024-05-06\t 07:08:09\r\n", SUMMER},
             {"2024-05-06T 07:08:09", SUMMER},
             {"2024-05-06T07:08:09Z", UTC},
             {"2024-05-06T07:08:09Z and more", UTC},
             {"20240506T070809Z", UTC},
             {"2024-05-06 07:08:09 Z", SUMMER},
             {"2024-05-06 07:08", FULL_MINUTE, SAME, "!bHasSemicolon"},
             {"2024-05-06 7:08", FULL_MINUTE, SAME, "!bHasSemicolon"},
             {"20240506 7:08:09", SUMMER},
             {"2024-05-06 0708:09", SUMMER, SAME, "bHasSemicolon"},
             {"2024-0506 07:08:09", SUMMER, SAME, "!bHasHyphen"},
             {"202405-06 07:08:09", SUMMER, SAME, "bHasHyphen"},
             {"2024-05-06 07:08:09x", SUMMER, SAME, ""},
             {"2024-05-06 07:08:9", FULL_MINUTE, SAME, ""},
             {"2024-01-06 07:08:09", "2024-01-06 06:08:09Z"},
             {"1969-12-31 23:59:59Z", "before 1970, but true"},
             {"2024-02-30 07:08:09Z", "null"},
             {"2024-02-30 07:08:09", "null"},
             {"2024-05-06 24:00:00Z", "null"},
             {"2024-05-06 ", NO},
             {"2024-0506", NO}, // too short to be reported
             {"2024-0506 7", NO},
             {"2024-05-06 7 08:09", NO},
             {"2024-05-06x07:08:09", NO},
             {"2024-05-06  7:8:09", NO},
             {"2024-05-06   07:08:09", NO},
             {"2024-05-x6 07:08:09", NO},
             {"202-05-06 07:08:09", NO},
             {"2024-5-06 07:08:09", NO},
             {" 2024-05-06 07:08:09", NO},
         })
        CheckParse(row);
}

TEST(TimeParse, FractionsAreTheNarrowFormsOnly)
{
    for (const ParseRow& row : std::initializer_list<ParseRow>{
             {"2024-05-06 07:08:09.5 ", "2024-05-06 07:08:10Z", "2024-05-06 07:08:09Z", nullptr, ""},
             {"2024-05-06 07:08:09.499\n", "2024-05-06 07:08:09Z", SAME, nullptr, ""},
             {"2024-05-06 07:08:59.999", "2024-05-06 07:09:00Z", "2024-05-06 07:08:59Z", nullptr, ""},
             {"2024-05-06 07:08:09.", "2024-05-06 07:08:09Z", SAME, nullptr, ""},
             {"2024-05-06 07:08:09.4999", "2024-05-06 07:08:09Z", SAME, "", ""}, // foreign text
             {"1970-01-01 00:00:00.5", "null, but true", SAME, nullptr, ""},
         })
    {
        const CZone zone(ORVTEXT("UTC"));
        CheckParse(row);
    }
    EXPECT_EQ("2024-05-06 07:08:10Z", Utc(COrvTime("2024-05-06 07:08:09.5Z"), 5));
}

TEST(TimeParse, OffsetsAreTheWideFormsOnly)
{
    const std::string TWO_LESS = "2024-05-06 05:08:09Z";
    const std::string sTime = "2024-05-06T07:08:09";
    for (const ParseRow& row : std::initializer_list<ParseRow>{
             {sTime + "+02:00", NO, TWO_LESS},
             {sTime + "-02:00", NO, "2024-05-06 09:08:09Z"},
             {sTime + "+2", NO, TWO_LESS},
             {sTime + "+02", NO, TWO_LESS},
             {sTime + "+0230", NO, "2024-05-06 04:38:09Z"},
             {sTime + "-0545x", NO, "2024-05-06 12:53:09Z"},
             {sTime + "+02:", NO, TWO_LESS},
             {sTime + "+02:3", NO, TWO_LESS},
             {sTime + "+29:59", NO, "2024-05-05 01:09:09Z"},
             {sTime + "+130", NO, "2024-05-06 05:38:09Z"},
             {sTime + "+", NO},
             {sTime + "-x", NO},
             {sTime + "+30:00", NO, NO, nullptr, "p[1] <= L'2'"},
             {sTime + "+3000", NO, NO, nullptr, "p[1] <= L'2'"},
             {sTime + "+0260", NO, TWO_LESS, nullptr, "p[3] <= L'5'"},
             {sTime + "+02:60", NO, TWO_LESS, nullptr, "p[4] <= L'5'"},
             {sTime + "+160", NO, "2024-05-06 06:08:09Z", nullptr, "p[2] <= '5'"},
             // Only the result must be a valid time; fields that are none store null.
             {"2038-01-19T04:14:07+01:00", NO, "2038-01-19 03:14:07Z"},
             {"2038-01-19T04:14:08+01:00", NO},
             {"1969-12-31T23:00:01-01:00", NO, "1970-01-01 00:00:01Z"},
             {"1970-01-01T01:00:00+01:00", NO},
             {"2024-13-01T01:00:00+01:00", NO, "null"},
         })
        CheckParse(row);
}

TEST(TimeParse, ReadsBackTheTextsOfTypes5And6)
{
    EXPECT_TRUE(COrvTime("no time at all").IsNull());
    CTestRandom random;
    for (const WCHAR* sZone : {ORVTEXT("Central Europe Standard Time"), ORVTEXT("Nepal Standard Time"),
                               ORVTEXT("Newfoundland Standard Time"), ORVTEXT("UTC-11")})
    {
        const CZone zone(sZone);
        for (int i = 0; i < 2000; ++i)
        {
            // Both ends, and between them.
            const COrvTime t(i == 0 ? 1 : i == 1 ? INT_MAX : 1 + static_cast<int>(random.UpTo(INT_MAX - 1)));
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
