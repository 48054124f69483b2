// Every code that the port has a name for has a text too.
#include "orvcomtypes/lqexcept.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <oleauto.h>

#include <utility>

TEST(ErrorText, OfEveryCodeOfThePort)
{
    constexpr std::pair<const char*, DWORD> codes[] = {
#include "error_codes.inc"
    };
    EXPECT_GE(std::size(codes), 50u);
    for (const auto& [sName, dwCode] : codes)
        EXPECT_EQ(dwCode != 0, TextOf(GetWinErrorString(dwCode)).ends_with(ORVTEXT('.'))) << sName;
}
