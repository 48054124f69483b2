#include "support/locale_texts.h"
#include "time/localefold.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <tuple>

namespace
{

/// Most spoken languages, and those whose forms are unlike the others'.
constexpr const char* kLocales =
    "en-US zh-CN hi-IN es-ES fr-FR ar-EG bn-BD pt-BR ru-RU ur-PK id-ID de-DE ja-JP mr-IN te-IN tr-TR "
    "ta-IN zh-HK vi-VN ko-KR it-IT fa-IR th-TH pl-PL uk-UA nl-NL ro-RO gu-IN kn-IN ml-IN en-GB hu-HU "
    "fr-CA he-IL dz-BT yo-NG fi-FI lt-LT eu-ES bg-BG lv-LV ca-ES en-AU sr-Latn-RS";

TEST(LocaleFold, PunctuationEndsWords)
{
    static constexpr WCHAR ranges[][2] = {{'Z' + 1, 0x00A9}, {0x00AB, 0x00B4}, {0x00B6, 0x00B9},
                                          {0x00BB, 0x00BF},  {0x2010, 0x205E}, {0x3001, 0x3003},
                                          {0xFF01, 0xFF0F}};
    for (const auto& [cFirst, cLast] : ranges)
        EXPECT_TRUE(OCT::IsWordUnit(static_cast<WCHAR>(cFirst - 1)) && !OCT::IsWordUnit(cFirst) &&
                    !OCT::IsWordUnit(cLast) && OCT::IsWordUnit(static_cast<WCHAR>(cLast + 1)))
            << static_cast<unsigned>(cFirst);
    static constexpr WCHAR signs[] = {'@', 0x055D, 0x0589, 0x060C, 0x06D4, 0xFF1A};
    EXPECT_TRUE(std::ranges::none_of(signs, OCT::IsWordUnit));
}

TEST(LocaleFold, LeavesOutWhatCannotBeSeen)
{
    static constexpr int ranges[][2] = {{0x00AD, 0x00AD}, {0x061C, 0x061C}, {0x200B, 0x200F},
                                        {0x202A, 0x202E}, {0x2060, 0x206F}, {0xFEFF, 0xFEFF}};
    for (const auto& [iFirst, iLast] : ranges)
    {
        const int around[] = {iFirst - 1, iFirst, iLast, iLast + 1};
        EXPECT_EQ(2u, OCT::FoldText(Text(std::begin(around), std::end(around))).size()) << iFirst;
    }
}

TEST(TimeLocale, ReadsBackWhatItWrites)
{
    CTestRandom random;
    std::istringstream locales(kLocales);
    for (std::string sLocale; locales >> sLocale;)
        CheckReadsBack(Text(sLocale.begin(), sLocale.end()).c_str(), random);
}

TEST(TimeLocale, ReadsWhatPeopleType)
{
    constexpr unsigned kDate = COrvTime::Date_Long, kBoth = COrvTime::Date_Short | COrvTime::Time_Long,
                       kTimeFirst = COrvTime::Time_Long | COrvTime::Ext_TimeFirst;
    // Fields of 0: the text is refused.
    static constexpr std::tuple<const WCHAR*, const WCHAR*, unsigned, std::uint64_t> rows[] = {
        {ORVTEXT("en-US"), ORVTEXT("5/6/24 12:08 am"), kBoth, 20240506000800},
        {ORVTEXT("en-US"), ORVTEXT("5-6-1999 12:08:09PM"), kBoth, 19990506120809},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 7:08 p.m."), kBoth, 20240506190800},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 7:08 P"), kBoth, 20240506190800},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 7.08.09 pm"), kBoth, 20240506190809},
        {ORVTEXT("en-US"), ORVTEXT("7.08 5.6.2024"), kBoth | kTimeFirst, 20240506070800},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 7:08-09"), kBoth, 0},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 0:08 AM"), kBoth, 0},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 1:08 PM"), kBoth, 20240506130800},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 7:08 AM PM"), kBoth, 0},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 13:08 PM"), kBoth, 0},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 13:08"), kBoth, 20240506130800},
        {ORVTEXT("en-US"), ORVTEXT("5/6/2024 7:08 PMX"), kBoth, 0},
        {ORVTEXT("en-US"), ORVTEXT("\x0665/\x0666/\x0662\x0660\x0662\x0664 7:08"), kBoth, 20240506070800},
        {ORVTEXT("en-US"), ORVTEXT("Mar 5, 12 10:20:30"), kBoth, 20120305102030},
        {ORVTEXT("en-US"), ORVTEXT("Marx 5, 2012 10:20:30"), kBoth, 0},
        {ORVTEXT("en-US"), ORVTEXT("Monday, MAY 6, 2024"), kDate, 20240506000000},
        {ORVTEXT("en-US"), ORVTEXT("Sunday, May 5, 2024"), kDate, 20240505000000},
        {ORVTEXT("en-US"), ORVTEXT("May 6, 2024 7"), kDate, 0},
        {ORVTEXT("en-US"), ORVTEXT("May 2024"), kDate, 0},
        {ORVTEXT("en-US"), ORVTEXT("7:08 AM May 6, 2024"), kDate | kTimeFirst, 20240506070800},
        {ORVTEXT("en-US"), ORVTEXT("7:08 April 6, 2024"), kDate | kTimeFirst, 20240406070800},
        {ORVTEXT("en-US"), ORVTEXT("7:08 5/6/2024"), kBoth | kTimeFirst, 20240506070800},
        {ORVTEXT("en-GB"), ORVTEXT("06/05/69 07:08"), kBoth, 20690506070800},
        {ORVTEXT("en-GB"), ORVTEXT("06/05/70 07:08"), kBoth, 19700506070800},
        {ORVTEXT("en-GB"), ORVTEXT("06/05/100 07:08"), kBoth, 1000506070800},
        {ORVTEXT("en-GB"), ORVTEXT("06/05/12024 07:08"), kBoth, 0},
        {ORVTEXT("de-DE"), ORVTEXT("6.5.2024 7:08"), kBoth, 20240506070800},
        {ORVTEXT("de-DE"), ORVTEXT("6.5.2024 13:08 PM"), kBoth, 20240506130800},
        {ORVTEXT("de-DE"), ORVTEXT("6.5.2024 13:08 AM"), kBoth, 0},
        {ORVTEXT("de-DE"), ORVTEXT("6. m\x00C4rz 2024"), kDate, 20240306000000},
        {ORVTEXT("hu-HU"), ORVTEXT("2024.5.6"), COrvTime::Date_Short, 20240506000000},
        {ORVTEXT("fr-FR"), ORVTEXT("mardi 6 mai 2024"), kDate, 20240506000000},
        {ORVTEXT("fr-FR"), ORVTEXT("6 sept 2024"), kDate, 20240906000000},
        {ORVTEXT("es-ES"), ORVTEXT("6 mar 2024"), kDate, 20240306000000}, // March and Tuesday
        // Tuesday begins as the short name of March does.
        {ORVTEXT("ro-RO"), ORVTEXT("mar\x021Bi, 7 mai 2024"), kDate, 20240507000000},
        {ORVTEXT("pl-PL"), ORVTEXT("6 stycze\x0144 2024"), kDate,
         20240106000000}, // not as it stands beside a day
        // A name that ends with a number is not the beginning of another number.
        {ORVTEXT("vi-VN"), ORVTEXT("6 th\x00E1ng 12 2024"), kDate, 20241206000000},
        {ORVTEXT("vi-VN"), ORVTEXT("6 th\x00E1ng 13 2024"), kDate, 0},
        {ORVTEXT("ja-JP"), ORVTEXT(""), COrvTime::Date_Short, 0},
        // Both halves of the day begin with this letter.
        {ORVTEXT("ja-JP"), ORVTEXT("2024/5/6 \x5348 7:08"), kBoth, 0},
    };
    for (const auto& [sLocale, sText, uiFlags, nFields] : rows)
        EXPECT_EQ(nFields, Read(OCT::CLocaleForms(sLocale), sText, uiFlags))
            << testing::PrintToString(Text(sText));
}

/// Forms as a user may set them.
OCT::CLocaleForms FormsOf(std::initializer_list<OCT::CLocaleForms::Field> date, std::optional<int> yearOffset)
{
    OCT::CLocaleForms forms(ORVTEXT("en-US"));
    forms.m_dates[0] = date;
    forms.m_yearOffset = yearOffset;
    return forms;
}

TEST(TimeLocale, ReadsTheUsersOwnForms)
{
    constexpr unsigned kDate = COrvTime::Date_Short;
    const auto thai = FormsOf({{'d', 0}, {'M', 0}, {'y', 0}}, 543);
    EXPECT_EQ(20240506000000u, Read(thai, ORVTEXT("6/5/2567"), kDate));
    EXPECT_EQ(20240506000000u, Read(thai, ORVTEXT("06-May-67"), kDate));
    EXPECT_EQ(10506000000u, Read(thai, ORVTEXT("6/5/544"), kDate));
    EXPECT_EQ(0u, Read(thai, ORVTEXT("6/5/543"), kDate)) << "the year 0";
    auto packed = FormsOf({{'y', 4}, {'M', 2}, {'d', 0}}, 0);
    packed.m_times[1] = {{'H', 2}, {'m', 2}, {'s', 0}};
    packed.m_sSecondsMark.clear();
    EXPECT_EQ(20240506070809u, Read(packed, ORVTEXT("20240506 070809"), kDate | COrvTime::Time_Long));
    // Months of the moon, eras, and forms without the year.
    EXPECT_EQ(0u, Read(FormsOf({{'d', 0}, {'M', 0}, {'y', 0}}, std::nullopt), ORVTEXT("6/5/1445"), kDate));
    EXPECT_EQ(0u, Read(FormsOf({{'d', 0}, {'M', 0}}, 0), ORVTEXT("6/5"), kDate));
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
    EXPECT_FALSE(tRead.ParseLocal(ORVTEXT("5"), COrvTime::Date_Short) || tRead.ParseLocal(ORVTEXT(""), 0));
    EXPECT_EQ(t, tRead);
    EXPECT_TRUE(COrvTime().FormatLocal().IsEmpty() && t.FormatLocal(0).IsEmpty());
}

} // namespace
