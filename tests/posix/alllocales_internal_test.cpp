// Every locale that ICU has reads back what it writes; the user's is that of the environment.
#include "support/locale_texts.h"
#include "support/test_environment.h"
#include "time/localefold.h"

#include <unicode/uchar.h>
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

TEST(AllLocales, ReadBackWhatTheyWrite)
{
    CTestRandom random;
    EXPECT_GT(uloc_countAvailable(), 500);
#ifdef ORV_TEST_SANITIZED
    constexpr int kStep = 8; // the ways of a few tell what they have to tell
#else
    constexpr int kStep = 1;
#endif
    for (int i = 0; i < uloc_countAvailable(); i += kStep)
        CheckReadsBack(TagOf(uloc_getAvailable(i)).c_str(), random);
}

TEST(LocaleFold, KnowsTheDigitsOfEveryScript)
{
    for (UChar32 c = 0x80; c < 0x10000; ++c)
    {
        const WCHAR cText = static_cast<WCHAR>(c);
        const bool bDigit = u_charType(c) == U_DECIMAL_DIGIT_NUMBER;
        const bool bFolded =
            OCT::FoldText({&cText, 1}) == Text(1, static_cast<WCHAR>('0' + u_charDigitValue(c)));
        EXPECT_EQ(bDigit, bFolded) << c;
    }
}

TEST(UsersLocale, FollowsTheEnvironment)
{
    const COrvTime t = COrvTime::FromLocalYMD(2024, 1, 6, 0, 0, 0);
    const CVariableGuard all("LC_ALL", nullptr), german("LANG", "de_DE.UTF-8");
    const auto check = [t](const WCHAR* sExpected) {
        const COrvStr sText = t.FormatLocal(COrvTime::Date_Long);
        COrvTime tRead;
        EXPECT_EQ(sExpected, Text(sText));
        EXPECT_TRUE(tRead.ParseLocal(sText, COrvTime::Date_Long) && tRead == t);
    };
    check(ORVTEXT("6. Januar 2024"));
    {
        const CVariableGuard french("LC_TIME", "fr_FR.UTF-8");
        check(ORVTEXT("6 janvier 2024"));
    }
    check(ORVTEXT("6. Januar 2024"));
}

} // namespace
