// Every code that the port has a name for has a text too.
#include "orvcomtypes/lqexcept.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <oleauto.h>

TEST(ErrorText, OfEveryCodeOfThePort)
{
    constexpr struct
    {
        const char* m_sName;
        DWORD m_dwCode;
    } codes[] = {
#include "error_codes.inc"
    };
    EXPECT_GE(std::size(codes), 50u);
    for (const auto& code : codes)
        EXPECT_EQ(code.m_dwCode != 0, TextOf(GetWinErrorString(code.m_dwCode)).ends_with(ORVTEXT('.')))
            << code.m_sName;
}
