// Times in the texts of a locale and back, for the tests of both.
#pragma once

#include "orvcomtypes/orvtime.h"

#include "support/random.h"
#include "support/text.h"
#include "time/localetext.h"

#include <gtest/gtest.h>

/// The fields that a text of these flags tells, as one number.
inline std::uint64_t Told(const SYSTEMTIME& st, unsigned uiFlags)
{
    const unsigned nSecond = (uiFlags & COrvTime::Time_Long) != 0 ? st.wSecond : 0;
    return ((((st.wYear * 100ull + st.wMonth) * 100 + st.wDay) * 100 + st.wHour) * 100 + st.wMinute) * 100 +
           nSecond;
}

/// What a text tells; 0 when it is refused.
inline std::uint64_t Read(const OCT::CLocaleForms& forms, const Text& sText, unsigned uiFlags)
{
    SYSTEMTIME st = {};
    return OCT::ParseForLocale(forms, sText, uiFlags, st) ? Told(st, uiFlags) : 0;
}

/// Does the locale read back what it writes, in every month, in all lengths and both orders? Calendars with
/// other months are refused.
inline void CheckReadsBack(const WCHAR* sLocale, CTestRandom& random)
{
    const OCT::CLocaleForms forms(sLocale);
    for (unsigned i = 0; i < 96; ++i)
    {
        const unsigned uiFlags = (i % 2 != 0 ? COrvTime::Date_Short : COrvTime::Date_Long) |
                                 (i / 2 % 2 != 0 ? COrvTime::Time_Short : COrvTime::Time_Long) |
                                 (i / 4 % 2 != 0 ? 0u : COrvTime::Ext_TimeFirst);
        SYSTEMTIME st;
        COrvTime(1 + static_cast<int>(random.UpTo(2145916800))).GetSystemTime(st);
        st.wMonth = static_cast<WORD>(i / 8 + 1);
        st.wDay = static_cast<WORD>(1 + random.UpTo(27));
        WCHAR text[OCT::kLocaleTextRoom];
        OCT::FormatForLocale(sLocale, st, uiFlags, text);
        EXPECT_EQ(forms.m_yearOffset ? Told(st, uiFlags) : 0, Read(forms, text, uiFlags))
            << testing::PrintToString(Text(sLocale)) << testing::PrintToString(Text(text));
    }
}
