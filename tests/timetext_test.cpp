#include "orvcomtypes/orvtime.h"

#include "support/local_time.h"
#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <climits>
#include <tuple>

namespace
{

Text Widen(std::string_view s)
{
    return Text(s.begin(), s.end());
}

/// The text in both kinds of units, which must agree, in a buffer of \p cch units.
std::string Formatted(const COrvTime& t, bool bLocal, int type, unsigned cch)
{
    const auto dft = static_cast<COrvTime::DebugFormatType>(type);
    std::string text(cch + 1, '#');
    Text wide(cch + 1, '#');
    bLocal ? t.DebugFormatLocal(dft, text.data(), cch) : t.DebugFormat(dft, text.data(), cch);
    bLocal ? t.DebugFormatLocal(dft, wide.data(), cch) : t.DebugFormat(dft, wide.data(), cch);
    EXPECT_EQ(Widen(text), wide);
    EXPECT_EQ('#', text.back());
    return text.c_str();
}

std::string Utc(const COrvTime& t, int type, unsigned cch = 64)
{
    return Formatted(t, false, type, cch);
}

std::string Local(const COrvTime& t, int type, unsigned cch = 64)
{
    return Formatted(t, true, type, cch);
}

TEST(TimeFormat, EveryTypeInBothForms)
{
    const CZone zone(ORVTEXT("UTC"));
    const COrvTime t = COrvTime::FromYMD(2009, 3, 7, 8, 5, 9);
    static const struct
    {
        std::string sUtc, sLocal, sInvalid;
    } rows[] = {
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
    // Hours of 2024-01-15 in UTC.
    static constexpr std::tuple<const WCHAR*, int, const char*> rows[] = {
        {ORVTEXT("Central Europe Standard Time"), 23, "2024-01-16 00:00:00+01:00"},
        {ORVTEXT("Eastern Standard Time"), 2, "2024-01-14 21:00:00-05:00"},
        {ORVTEXT("India Standard Time"), 20, "2024-01-16 01:30:00+05:30"},
        {ORVTEXT("Newfoundland Standard Time"), 1, "2024-01-14 21:30:00-03:30"},
        {ORVTEXT("Central Pacific Standard Time"), 23, "2024-01-16 10:00:00+11:00"},
        {ORVTEXT("UTC+12"), 6, "2024-01-15 18:00:00+12:00"},
        {ORVTEXT("New Zealand Standard Time"), 6, "2024-01-15 19:00:00-11:00"}, // +13:00
        {ORVTEXT("Dateline Standard Time"), 18, "2024-01-15 06:00:00-12:00"},
        {ORVTEXT("Dateline Standard Time"), 6, "2024-01-14 18:00:00+12:00"}, // the same zone
    };
    for (const auto& [sZone, iHour, sText] : rows)
    {
        const CZone zone(sZone);
        EXPECT_EQ(sText, Local(COrvTime::FromYMD(2024, 1, 15, iHour, 0, 0), 5));
    }
}

/// What reading a text makes of a time: "kept" or the new one, and the condition of a report in brackets.
template <class Char>
std::string Read(const Char* sText)
{
    constexpr int iKept = 77;
    CReportCapture capture;
    COrvTime t(iKept);
    const bool bRead = t.SetFromString(sText);
    const bool bSet = t.IsValid() && t != iKept;
    std::string sResult = bSet ? Utc(t, 5) : t == iKept ? "kept" : t.IsNull() ? "null" : "before 1970";
    if (bRead != bSet)
        sResult += bRead ? ", but true" : ", but false";
    for (const CapturedReport& report : capture.Take())
    {
        EXPECT_EQ("orvtime COrvTime::SetFromString", report.m_sSource + ' ' + report.m_sFunction);
        sResult += " [" + report.m_sCondition + "]";
    }
    return sResult;
}

struct ParseRow
{
    std::string m_sText;
    std::string m_sNarrow;
    std::string m_sWide = m_sNarrow;
};

void CheckParse(std::initializer_list<ParseRow> rows)
{
    for (const ParseRow& row : rows)
    {
        EXPECT_EQ(row.m_sNarrow, Read(row.m_sText.c_str())) << row.m_sText;
        EXPECT_EQ(row.m_sWide, Read(Widen(row.m_sText).c_str())) << row.m_sText;
    }
}

TEST(TimeParse, Forms)
{
    const CZone zone(ORVTEXT("Central Europe Standard Time"));
    const std::string kSummer = "2024-05-06 05:08:09Z"; // 07:08:09 local
    const std::string kFullMinute = "2024-05-06 05:08:00Z";
    const std::string kUtc = "2024-05-06 07:08:09Z";
    CheckParse({
        {"2024-05-06 07:08:09", kSummer},
        {"2024-05-06\t 07:08:09\r\n", kSummer},
        {"2024-05-06T07:08:09Z and more", kUtc},
        {"20240506T070809Z", kUtc},
        {"2024-05-06 07:08:09 Z", kSummer},
        {"2024-05-06 7:08", kFullMinute + " [!bHasSemicolon]"},
        {"20240506 7:08:09", kSummer},
        {"2024-05-06 0708:09", kSummer + " [bHasSemicolon]"},
        {"2024-0506 07:08:09", kSummer + " [!bHasHyphen]"},
        {"202405-06 07:08:09", kSummer + " [bHasHyphen]"},
        {"2024-05-06 07:08:09x", kSummer + " []"},
        {"2024-05-06 07:08:9", kFullMinute + " []"},
        {"2024-01-06 07:08:09", "2024-01-06 06:08:09Z"},
        {"1969-12-31 23:59:59Z", "before 1970, but true"},
        {"2024-02-30 07:08:09Z", "null"},
        {"2024-02-30 07:08:09", "null"},
        {"2024-05-06 ", "kept"},
        {"2024-0506 7", "kept"}, // too short to be reported
        {"2024-0506 7:", "kept [!bHasHyphen]"},
        {"2024-05-06 7 08:09", "kept"},
        {"2024-05-06x07:08:09", "kept"},
        {"2024-05-06  7:8:09", "kept"},
        {"2024-05-x6 07:08:09", "kept"},
        {"202-05-06 07:08:09", "kept"},
        {" 2024-05-06 07:08:09", "kept"},
    });
}

TEST(TimeParse, FractionsAreTheNarrowFormsOnly)
{
    const CZone zone(ORVTEXT("UTC"));
    CheckParse({
        {"2024-05-06 07:08:09.5 ", "2024-05-06 07:08:10Z", "2024-05-06 07:08:09Z []"},
        {"2024-05-06 07:08:09.499\n", "2024-05-06 07:08:09Z", "2024-05-06 07:08:09Z []"},
        {"2024-05-06 07:08:59.999", "2024-05-06 07:09:00Z", "2024-05-06 07:08:59Z []"},
        {"2024-05-06 07:08:09.", "2024-05-06 07:08:09Z", "2024-05-06 07:08:09Z []"},
        {"2024-05-06 07:08:09.4999", "2024-05-06 07:08:09Z []"}, // foreign text
        {"1970-01-01 00:00:00.5", "null, but true", "null, but true []"},
    });
    EXPECT_EQ("2024-05-06 07:08:10Z", Utc(COrvTime("2024-05-06 07:08:09.5Z"), 5));
}

TEST(TimeParse, OffsetsAreTheWideFormsOnly)
{
    const std::string kTwoLess = "2024-05-06 05:08:09Z";
    const std::string sTime = "2024-05-06T07:08:09";
    CheckParse({
        {sTime + "+02:00", "kept", kTwoLess},
        {sTime + "-02:00", "kept", "2024-05-06 09:08:09Z"},
        {sTime + "+2", "kept", kTwoLess},
        {sTime + "+02", "kept", kTwoLess},
        {sTime + "-05459", "kept", "2024-05-06 12:53:09Z"},
        {sTime + "+02:", "kept", kTwoLess},
        {sTime + "+02:3", "kept", kTwoLess},
        {sTime + "+29:59", "kept", "2024-05-05 01:09:09Z"},
        {sTime + "+130", "kept", "2024-05-06 05:38:09Z"},
        {sTime + "+", "kept"},
        {sTime + "-x", "kept"},
        {sTime + "+3000", "kept", "kept [p[1] <= L'2']"},
        {sTime + "+0260", "kept", kTwoLess + " [p[3] <= L'5']"},
        {sTime + "+02:60", "kept", kTwoLess + " [p[4] <= L'5']"},
        {sTime + "+160", "kept", "2024-05-06 06:08:09Z [p[2] <= '5']"},
        // Only the result must be a valid time; fields that are none store null.
        {"2038-01-19T04:14:07+01:00", "kept", "2038-01-19 03:14:07Z"},
        {"2038-01-19T04:14:08+01:00", "kept"},
        {"1969-12-31T23:00:01-01:00", "kept", "1970-01-01 00:00:01Z"},
        {"1970-01-01T01:00:00+01:00", "kept"},
        {"2024-13-01T01:00:00+01:00", "kept", "null"},
    });
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
