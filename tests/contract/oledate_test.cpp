#include <windows.h>

#include <gtest/gtest.h>
#include <oleauto.h>

#include <array>
#include <utility>

namespace
{

using Fields = std::array<int, 7>; // year to millisecond

TEST(VariantTime, BreaksDown)
{
    SYSTEMTIME st;
    for (const auto& [d, expected] : {std::pair(25569.0, Fields{1970, 1, 1}),
                                      {45418.29732638889, Fields{2024, 5, 6, 7, 8, 9}},
                                      {50423.99999999, Fields{2038, 1, 19}}, // rounded
                                      {-1.25, Fields{1899, 12, 29, 6}}})
    {
        ASSERT_TRUE(VariantTimeToSystemTime(d, &st)) << d;
        EXPECT_EQ(expected,
                  (Fields{st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds}))
            << d;
    }
    EXPECT_FALSE(VariantTimeToSystemTime(2958466.0, &st) || VariantTimeToSystemTime(-657435.0, &st));
}

} // namespace
