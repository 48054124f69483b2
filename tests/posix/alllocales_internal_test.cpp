// Every locale that ICU has reads back what it writes, in both lengths and orders.
#include "orvcomtypes/orvtime.h"

#include "support/random.h"
#include "support/text.h"
#include "time/localetext.h"

#include <gtest/gtest.h>

#include <cstring>

#include <unicode/uloc.h>

namespace
{

Text TagOf(const char* sLocale)
{
    char sTag[ULOC_FULLNAME_CAPACITY];
    UErrorCode error = U_ZERO_ERROR;
    const int nLength = uloc_toLanguageTag(sLocale, sTag, sizeof sTag, false, &error);
    return Text(sTag, sTag + nLength);
}

/// The fields that a text of these flags tells.
void DropUntold(SYSTEMTIME& st, unsigned uiFlags)
{
    st.wDayOfWeek = 0;
    if ((uiFlags & COrvTime::Time_Long) == 0)
        st.wSecond = 0;
}

TEST(AllLocales, ReadBackWhatTheyWrite)
{
    CTestRandom random;
    constexpr unsigned FLAGS[] = {COrvTime::Date_Short | COrvTime::Time_Long,
                                  COrvTime::Date_Long | COrvTime::Time_Short};
    for (int iLocale = 0; iLocale < uloc_countAvailable(); ++iLocale)
    {
        const Text sLocale = TagOf(uloc_getAvailable(iLocale));
        const OCT::CLocaleForms forms(sLocale.c_str());
        for (int i = 0; i < 48; ++i)
        {
            const unsigned uiFlags = FLAGS[i % 2] | (i % 4 < 2 ? 0u : COrvTime::Ext_TimeFirst);
            SYSTEMTIME st, stRead = {};
            COrvTime(1 + static_cast<int>(random.UpTo(2145916800))).GetSystemTime(st);
            st.wMonth = static_cast<WORD>(i / 4 + 1);
            st.wDay = static_cast<WORD>(1 + random.UpTo(27));
            WCHAR text[OCT::LOCALE_TEXT_ROOM];
            OCT::FormatForLocale(sLocale.c_str(), st, uiFlags, text);
            DropUntold(st, uiFlags);
            EXPECT_TRUE(OCT::ParseForLocale(forms, text, uiFlags, stRead) &&
                        std::memcmp(&st, &stRead, sizeof st) == 0)
                << testing::PrintToString(sLocale) << testing::PrintToString(Text(text));
        }
    }
    // A name that ends with a number is not the beginning of another number.
    SYSTEMTIME st = {};
    const OCT::CLocaleForms forms(ORVTEXT("vi-VN"));
    EXPECT_TRUE(OCT::ParseForLocale(forms, ORVTEXT("6 th\x00E1ng 12 2024"), COrvTime::Date_Long, st) &&
                st.wMonth == 12);
    EXPECT_FALSE(OCT::ParseForLocale(forms, ORVTEXT("6 th\x00E1ng 13 2024"), COrvTime::Date_Long, st));
}

} // namespace
