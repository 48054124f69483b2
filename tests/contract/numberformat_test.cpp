#include "orvcomtypes/orvexport.h"
#include "support/test_environment.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

namespace
{

std::basic_string<WCHAR> Formatted(const WCHAR* sValue)
{
    WCHAR sBuffer[100] = {};
    const int nLength = GetNumberFormatW(LOCALE_USER_DEFAULT, 0, sValue, nullptr, sBuffer, 100);
    EXPECT_EQ(nLength == 0 ? 0 : nLength - 1, static_cast<int>(std::basic_string<WCHAR>(sBuffer).size()));
    return sBuffer;
}

} // namespace

TEST(NumberFormat, RoundsAndGroupsEnglish)
{
    const CVariableGuard locale("LC_ALL", "en_US.UTF-8");
    ORV_SKIP_WINE("groups wrongly without an explicit format");
    EXPECT_EQ(ORVTEXT("1,234.00"), Formatted(ORVTEXT("1234")));
    EXPECT_EQ(ORVTEXT("-1,234,567.89"), Formatted(ORVTEXT("-1234567.885")));
    EXPECT_EQ(ORVTEXT("0.50"), Formatted(ORVTEXT(".5")));
}

TEST(NumberFormat, RefusesOtherForms)
{
    for (const WCHAR* sValue : {ORVTEXT("1e5"), ORVTEXT("+5"), ORVTEXT(" 5"), ORVTEXT("1.2.3")})
    {
        EXPECT_EQ(ORVTEXT(""), Formatted(sValue));
        EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), GetLastError());
    }
}

TEST(NumberFormat, TellsTheRoomItNeeds)
{
    WCHAR sBuffer[4];
    const int nNeeded = GetNumberFormatW(LOCALE_USER_DEFAULT, 0, ORVTEXT("5"), nullptr, nullptr, 0);
    EXPECT_EQ(5, nNeeded);
    EXPECT_EQ(0, GetNumberFormatW(LOCALE_USER_DEFAULT, 0, ORVTEXT("5"), nullptr, sBuffer, 4));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError());
}
