// Every locale that ICU has reads back what it writes.
#include "support/locale_texts.h"

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
    for (int i = 0; i < uloc_countAvailable(); ++i)
        CheckReadsBack(TagOf(uloc_getAvailable(i)).c_str(), random);
}

} // namespace
