#include "orvcomtypes/orvtime.h"

#include "support/random.h"
#include "support/text.h"
#include "time/localetext.h"

#include <gtest/gtest.h>

namespace
{

/// The fields that a text of these flags tells, as one number.
std::uint64_t Told(const SYSTEMTIME& st, unsigned uiFlags)
{
    const unsigned nSecond = (uiFlags & COrvTime::Time_Long) != 0 ? st.wSecond : 0;
    return ((((st.wYear * 100ull + st.wMonth) * 100 + st.wDay) * 100 + st.wHour) * 100 + st.wMinute) * 100 +
           nSecond;
}

/// What a text tells; 0 when it is refused.
std::uint64_t Read(const WCHAR* sLocale, const Text& sText, unsigned uiFlags)
{
    SYSTEMTIME st = {};
    return OCT::ParseForLocale(sLocale, sText.c_str(), uiFlags, st) ? Told(st, uiFlags) : 0;
}

TEST(TimeLocale, ReadsBackWhatItWrites)
{
    CTestRandom random;
    for (const WCHAR* sLocale : {ORVTEXT("en-US"), ORVTEXT("en-GB"), ORVTEXT("de-DE"), ORVTEXT("hu-HU"),
                                 ORVTEXT("fr-FR"), ORVTEXT("ja-JP")})
        for (int i = 0; i < 200; ++i)
        {
            const unsigned uiFlags = (random.UpTo(1) * COrvTime::Ext_TimeFirst) |
                                     (random.UpTo(1) != 0 ? COrvTime::Date_Short : COrvTime::Date_Long) |
                                     (random.UpTo(1) != 0 ? COrvTime::Time_Short : COrvTime::Time_Long);
            SYSTEMTIME st;
            COrvTime(1 + static_cast<int>(random.UpTo(2145916800))).GetSystemTime(st);
            const Text sText = OCT::FormatForLocale(sLocale, st, uiFlags);
            ASSERT_EQ(Told(st, uiFlags), Read(sLocale, sText, uiFlags)) << testing::PrintToString(sText);
        }
}

TEST(TimeLocale, ReadsWhatPeopleType)
{
    constexpr unsigned DATE = COrvTime::Date_Long, TIME = COrvTime::Time_Long,
                       BOTH = COrvTime::Date_Short | COrvTime::Time_Long;
    static constexpr struct
    {
        const WCHAR* sLocale;
        const WCHAR* sText;
        unsigned uiFlags;
        std::uint64_t nFields; // 0: refused
    } rows[] = {
        {ORVTEXT("en-US"), ORVTEXT("5/6/24 12:08 am"), BOTH, 20240506000800},
        {ORVTEXT("en-US"), ORVTEXT("5-6-1999 12:08:09PM"), BOTH, 19990506120809},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 13:08 PM"), BOTH, 0},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 13:08"), BOTH, 20240506130800},
        {ORVTEXT("en-US"), ORVTEXT("Monday, May 6, 2024"), DATE, 20240506000000},
        {ORVTEXT("en-US"), ORVTEXT("May 6, 2024 7"), DATE, 0},
        {ORVTEXT("en-US"), ORVTEXT("May 2024"), DATE, 0},
        {ORVTEXT("en-US"), ORVTEXT("7:08 AM May 6, 2024"), DATE | TIME | COrvTime::Ext_TimeFirst,
         20240506070800},
        {ORVTEXT("en-GB"), ORVTEXT("06/05/70 07:08"), BOTH, 19700506070800},
        {ORVTEXT("en-GB"), ORVTEXT("06/05/12024 07:08"), BOTH, 0},
        {ORVTEXT("de-DE"), ORVTEXT("6.5.2024 7:08"), BOTH, 20240506070800},
        {ORVTEXT("hu-HU"), ORVTEXT("2024.5.6"), COrvTime::Date_Short, 20240506000000},
        {ORVTEXT("fr-FR"), ORVTEXT("mardi 6 mai 2024"), DATE, 20240506000000},
        {ORVTEXT("ja-JP"), ORVTEXT(""), COrvTime::Date_Short, 0},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.nFields, Read(row.sLocale, row.sText, row.uiFlags))
            << testing::PrintToString(Text(row.sText));
}

TEST(TimeLocale, UsersLocaleReadsBack)
{
    const COrvTime t = COrvTime::FromLocalYMD(2024, 5, 6, 7, 8, 9);
    COrvTime tRead;
    EXPECT_TRUE(tRead.ParseLocal(t.FormatLocal()));
    EXPECT_EQ(t, tRead);
    EXPECT_TRUE(tRead.ParseLocal(t.FormatLocal(COrvTime::Date_Long), COrvTime::Date_Long));
    EXPECT_EQ(t.RoundLocalDayDown(), tRead);

    // A part that is not asked for is kept of the date and midnight of the time.
    tRead = t;
    EXPECT_TRUE(tRead.ParseLocal((t + 3661).FormatLocal(COrvTime::Time_Long), COrvTime::Time_Long));
    EXPECT_EQ(t + 3661, tRead);
    tRead.Reset();
    EXPECT_TRUE(tRead.ParseLocal(t.FormatLocal(COrvTime::Time_Short), COrvTime::Time_Short));
    EXPECT_LE(COrvTime::CompareLocalYMD(COrvTime::Now(), tRead), 86400);

    tRead = t;
    EXPECT_FALSE(tRead.ParseLocal(ORVTEXT("5"), COrvTime::Date_Short));
    EXPECT_EQ(t, tRead);
    EXPECT_TRUE(COrvTime().FormatLocal().IsEmpty() && t.FormatLocal(0).IsEmpty());
}

} // namespace
