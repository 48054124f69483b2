// The headers of unixODBC before ours, and after ours in sqlheaderslast.cpp: the types are the same in both.
#include <sql.h>
#include <sqlext.h>

#include "orvcomtypes/orvcomtypes.h"

#include <gtest/gtest.h>

#include <type_traits>

COrvStr TakeTypesOfSqlHeadersLast(ULONG nValue, HINSTANCE hInstance, HWND hWindow, BOOL bValue,
                                  LPCWSTR sText);

TEST(SqlHeaders, MayComeFirstOrLast)
{
    static_assert(std::is_same_v<WCHAR, char16_t> && sizeof(ULONG) == 4 && std::is_same_v<BOOL, int>);
    static_assert(sizeof(SQLWCHAR) == sizeof(WCHAR) && sizeof(SQLLEN) == 8);
    EXPECT_TRUE(TakeTypesOfSqlHeadersLast(1, nullptr, nullptr, TRUE, ORVTEXT("text")) == ORVTEXT("text"));
}
