// Dates and times in a locale's words, as the library relies on them.
#include "support/text.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace
{

Text DateIn(const WCHAR* sLocale, const WCHAR* sPicture, WORD wMonth, WORD wDay)
{
    // Another day of the week than that of the date.
    const SYSTEMTIME st = {2024, wMonth, 3, wDay, 7, 8, 9, 0};
    WCHAR text[100] = {};
    const int n = GetDateFormatEx(sLocale, 0, &st, sPicture, text, 100, nullptr);
    EXPECT_EQ(n == 0 ? 0 : static_cast<int>(Text(text).size()) + 1, n);
    return text;
}

Text TimeIn(const WCHAR* sLocale, DWORD dwFlags, WORD wHour)
{
    const SYSTEMTIME st = {2024, 5, 1, 6, wHour, 8, 9, 0};
    WCHAR text[100] = {};
    GetTimeFormatEx(sLocale, dwFlags, &st, nullptr, text, 100);
    return text;
}

Text InfoOf(const WCHAR* sLocale, LCTYPE type)
{
    WCHAR text[100] = {};
    EXPECT_EQ(GetLocaleInfoEx(sLocale, type, nullptr, 0), GetLocaleInfoEx(sLocale, type, text, 100));
    return text;
}

TEST(LocaleTime, WritesPictures)
{
    const WCHAR* const sEnglish = ORVTEXT("en-US");
    const WCHAR* const sPicture = ORVTEXT("dddd, ddd 'd' d dd MMMM MMM MM M yyyy yy");
    EXPECT_EQ(ORVTEXT("Sunday, Sun d 7 07 January Jan 01 1 2024 24"), DateIn(sEnglish, sPicture, 1, 7));
    EXPECT_EQ(ORVTEXT("Saturday, Sat d 7 07 December Dec 12 12 2024 24"), DateIn(sEnglish, sPicture, 12, 7));
    EXPECT_EQ(ORVTEXT("7 stycznia"), DateIn(ORVTEXT("pl-PL"), ORVTEXT("d MMMM"), 1, 7)) << "beside a day";
    EXPECT_EQ(ORVTEXT("7:08:09 PM"), TimeIn(sEnglish, 0, 19));
    EXPECT_EQ(ORVTEXT("12:08 AM"), TimeIn(sEnglish, TIME_NOSECONDS, 0));
    EXPECT_EQ(ORVTEXT("19:08:09"), TimeIn(ORVTEXT("de-DE"), 0, 19));
}

TEST(LocaleTime, KnowsTheNames)
{
    const WCHAR* const sEnglish = ORVTEXT("en-US");
    EXPECT_EQ(ORVTEXT("en-US"), InfoOf(sEnglish, LOCALE_SNAME));
    EXPECT_NE(Text::npos, InfoOf(sEnglish, LOCALE_SSHORTDATE).find(ORVTEXT("yyyy")));
    EXPECT_EQ(ORVTEXT("Monday"), InfoOf(sEnglish, LOCALE_SDAYNAME1));
    EXPECT_EQ(ORVTEXT("Sun"), InfoOf(sEnglish, LOCALE_SABBREVDAYNAME1 + 6));
    EXPECT_EQ(ORVTEXT("January"), InfoOf(sEnglish, LOCALE_SMONTHNAME1));
    EXPECT_EQ(ORVTEXT("Dec"), InfoOf(sEnglish, LOCALE_SABBREVMONTHNAME1 + 11));
    EXPECT_EQ(ORVTEXT("AM PM"),
              InfoOf(sEnglish, LOCALE_S1159) + ORVTEXT(' ') + InfoOf(sEnglish, LOCALE_S2359));
    EXPECT_EQ(ORVTEXT("stycze\x0144"), InfoOf(ORVTEXT("pl-PL"), LOCALE_SMONTHNAME1));
    EXPECT_EQ(ORVTEXT("stycznia"),
              InfoOf(ORVTEXT("pl-PL"), LOCALE_SMONTHNAME1 | LOCALE_RETURN_GENITIVE_NAMES));
}

TEST(LocaleTime, Failures)
{
    WCHAR text[100];
    const SYSTEMTIME noDay = {2024, 2, 0, 30, 0, 0, 0, 0}, noTime = {2024, 2, 0, 1, 24, 0, 0, 0};
    EXPECT_EQ(0, GetDateFormatEx(nullptr, 0, &noDay, nullptr, text, 100, nullptr));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
    EXPECT_EQ(0, GetTimeFormatEx(nullptr, 0, &noTime, nullptr, text, 100));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
    EXPECT_EQ(0, GetLocaleInfoEx(ORVTEXT("en-US"), LOCALE_SDAYNAME1, text, 6));
    EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, GetLastError());
}

} // namespace
