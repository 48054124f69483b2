// Numbers that texts take and give: COrvStr's, and the plain functions.
#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include "orvcomtypes/modpnum.h"
#include "orvcomtypes/orvstr.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

namespace
{

/// What \p append makes of a text: appended to an own one with and without room, and to a foreign one.
template <class Append>
std::string Appended(Append append)
{
    const Text sOldest(70, ORVTEXT('-'));
    COrvStr sShort(ORVTEXT("="));
    COrvStr sShared(sShort);
    COrvStr sForeign(sOldest.c_str(), false);
    for (COrvStr* pStr : {&sShort, &sForeign})
        append(*pStr);
    EXPECT_EQ(Text(ORVTEXT("=")), Text(sShared));
    const Text sResult = Text(sShort).substr(1);
    EXPECT_EQ(sResult.size() + 1, sShort.GetLength());
    EXPECT_EQ(sOldest + sResult, Text(sForeign));
    append(sShort); // now there is room
    EXPECT_EQ(ORVTEXT("=") + sResult + sResult, Text(sShort));
    for (unsigned nLen = 1; nLen < 45; ++nLen) // up to the end of a buffer and beyond
    {
        COrvStr sFull(sOldest.substr(0, nLen).c_str());
        append(sFull);
        EXPECT_LT(sFull.GetLength(), ORVS_GetAllocLen(sFull) / sizeof(WCHAR)) << "room for the terminator";
    }
    return {sResult.begin(), sResult.end()};
}

template <class... Args>
std::string Num(Args... args)
{
    return Appended([=](COrvStr& s) { s.AppendNum(args...); });
}

template <class... Args>
std::string Hex(Args... args)
{
    return Appended([=](COrvStr& s) { s.AppendHex(args...); });
}

std::string Double(double d, int iPrec)
{
    return Appended([=](COrvStr& s) { s.AppendDouble(d, iPrec); });
}

constexpr std::uint64_t kMost = UINT64_MAX;

} // namespace

TEST(AppendNum, WritesAndPads)
{
    EXPECT_EQ("-2147483648", Num(INT_MIN));
    EXPECT_EQ("4294967295", Num(UINT_MAX));
    EXPECT_EQ("18446744073709551615", Num(kMost));
    EXPECT_EQ(" 7", Num(7, 2));
    EXPECT_EQ("07", Num(7u, -2));
    EXPECT_EQ("1234", Num(std::uint64_t{1234}, 2));
    EXPECT_EQ("00-5", Num(-5, -4)) << "zeros before the sign";
    EXPECT_EQ("  -5", Num(-5, 4));
    EXPECT_EQ(std::string(255, ' ') + "7", Num(7, 256));
    EXPECT_EQ(std::string(236, '0') + "18446744073709551615", Num(kMost, -256));
    CReportCapture capture;
    COrvStr sText;
    sText.AppendNum(7, 257);
    sText.AppendNum(8u, -257);
    sText.AppendNum(kMost, INT_MIN);
    EXPECT_EQ(ORVTEXT("7818446744073709551615"), TextOf(sText));
    EXPECT_REPORTS(capture, {{"COrvStr::AppendNum", "iPaddedLen <= 256", "", "orvstr"},
                             {"COrvStr::AppendNum", "iPaddedLen >= -256", "", "orvstr"},
                             {"COrvStr::AppendNum", "iPaddedLen >= -256", "", "orvstr"}});
}

TEST(AppendHex, WritesPadsAndIsCut)
{
    EXPECT_EQ("0x000000FF", Hex(255u));
    EXPECT_EQ("0x00000000000000FF", Hex(std::uint64_t{255}));
    EXPECT_EQ(" F", Hex(15u, 2));
    EXPECT_EQ("0F", Hex(15u, -2));
    EXPECT_EQ("FF", Hex(255u, 0));
    EXPECT_EQ("ABCDEF01", Hex(0xABCDEF01u, 3));
    EXPECT_EQ("0", Hex(std::uint64_t{0}, 1));
    EXPECT_EQ("FEDCBA9876543210", Hex(std::uint64_t{0xFEDCBA9876543210}, -16));
    EXPECT_EQ(std::string(60, ' ') + "123", Hex(0x12345u, 65)) << "cut to 63 units";
    EXPECT_EQ(std::string(63, '0'), Hex(0x12345u, INT_MIN));
    EXPECT_EQ(std::string(63, ' '), Hex(std::uint64_t{0xFEDCBA9876543210}, 100)) << "no digit is left";
    const auto* const p = reinterpret_cast<const void*>(std::uintptr_t{0xABCDEF});
    EXPECT_EQ(sizeof p == 8 ? "0x0000000000ABCDEF" : "0x00ABCDEF",
              Appended([=](COrvStr& s) { s.AppendPtr(p); }));
}

TEST(AppendDouble, WritesDecimals)
{
    EXPECT_EQ("3.14", Double(3.14159, 2));
    EXPECT_EQ("3.14", Double(3.14159, 12)) << "the ones digit counts";
    EXPECT_EQ("3", Double(3.14159, 10));
    EXPECT_EQ("3.141590", Double(3.14159, 16));
    EXPECT_EQ("3.141590", Double(3.14159, 99)) << "capped at 16";
    EXPECT_EQ("3", Double(3.14159, -1));
    EXPECT_EQ("-0.00", Double(-0.001, 2));
    EXPECT_EQ("-999999999999999872.000000000", Double(-0x1.bc16d674ec7ffp59, 9));
    EXPECT_EQ("1" + std::string(20, '0') + ".00000", Double(1e20, 15));
    EXPECT_EQ(63u, Double(1e300, 2).size());
    EXPECT_EQ("-inf", Double(-std::numeric_limits<double>::infinity(), 2));
}

TEST(ParamNumToStr, FormatsAndCuts)
{
    EXPECT_EQ(ORVTEXT("<   7>"), Text(ParamNumToStr(7, ORVTEXT("<%4d>"))));
    EXPECT_EQ(Text(99, ORVTEXT(' ')), Text(ParamNumToStr(7, ORVTEXT("%200d"))));
    EXPECT_EQ(Text(), Text(ParamNumToStr(7, nullptr)));
}

TEST(ToUInt64, ReadsWholeTextsOnly)
{
    constexpr std::uint64_t nNone = 77;
    constexpr std::uint64_t nMost = INT64_MAX;
    const struct
    {
        const char* m_sText;
        std::uint64_t m_nDecimal;
        std::uint64_t m_nHex;
    } rows[] = {{"", nNone, nNone},
                {"0", 0, 0},
                {"012a", nNone, 0x12A},
                {"0x1F", nNone, 31},
                {"0X1f", nNone, 31},
                {"0x", nNone, 0},
                {"x1", nNone, nNone},
                {" 1", nNone, nNone},
                {"9223372036854775800", nMost - 7, nNone},
                {"9223372036854775807", nMost, nNone},
                {"9223372036854775808", nMost, nNone},
                {"00000000000000000009", 9, nNone},
                {"000000000000000000000", nNone, nNone},
                {"0xFFFFFFFFFFFFFFFF", nNone, kMost}};
    for (const auto& row : rows)
    {
        const COrvStr sText(row.m_sText);
        EXPECT_EQ(row.m_nDecimal, sText.ToUInt64(0, nNone)) << row.m_sText;
        EXPECT_EQ(row.m_nDecimal, sText.ToUInt64(2, nNone)) << row.m_sText << ", any other base";
        EXPECT_EQ(row.m_nHex, sText.ToUInt64(1, nNone)) << row.m_sText << ", hexadecimal";
    }
    EXPECT_EQ(nNone, COrvStr(ORVTEXT("1\u0661")).ToUInt64(0, nNone)) << "another script's digit";
}

TEST(ModpIntegers, WriteTheirLimits)
{
    char sText[32];
    modp_itoa10(INT32_MIN, sText);
    EXPECT_STREQ("-2147483648", sText);
    modp_uitoa10(UINT32_MAX, sText);
    EXPECT_STREQ("4294967295", sText);
    modp_litoa10(INT64_MIN, sText);
    EXPECT_STREQ("-9223372036854775808", sText);
    modp_ulitoa10(UINT64_MAX, sText);
    EXPECT_STREQ("18446744073709551615", sText);
}

TEST(ModpDoubles, RoundAsStated)
{
    constexpr double dInf = std::numeric_limits<double>::infinity();
    const struct
    {
        double m_d;
        int m_nDecimals;
        const char* m_sText;
        const char* m_sShort;
    } rows[] = {{1.5, 2, "1.50", "1.5"},
                {2.0, 2, "2.00", "2"},
                {10.0, 0, "10", "10"},
                {0.005, 2, "0.01", "0.01"}, // a tie at 0 goes up
                {0.125, 2, "0.12", "0.12"}, // to the even digit
                {0.375, 2, "0.38", "0.38"}, //
                {0.625, 2, "0.62", "0.62"}, //
                {0.995, 2, "0.100", "0.1"}, // without a carry
                {0.9951, 2, "1.00", "1"},   // above a tie there is one
                {-0.0451, 1, "-0.0", "-0"}, //
                {-0.5, 0, "-0", "-0"},      // ties of the whole part
                {1.5, 0, "2", "2"},         //
                {2.5, 0, "2", "2"},         //
                {1.5 - 5e-13, 0, "2", "2"}, // within 1e-12 is a tie
                {1.5 - 5e-12, 0, "1", "1"}, //
                {1.7, -3, "2", "2"},        // decimals are 0 to 9
                {0.123456789012, 12, "0.123456789", "0.123456789"},
                {1.000000001, 9, "1.000000001", "1.000000001"},
                {2147483647.0, 1, "2147483647.0", "2147483647"},
                {-2147483647.5, 1, "-2.147484e+09", "-2.147484e+09"},
                {1e300, 2, "1.000000e+300", "1.000000e+300"},
                {-0.0, 1, "0.0", "0"},
                {std::nan(""), 2, "nan", "nan"},
                {-dInf, 2, "-inf", "-inf"}};
    for (const auto& row : rows)
    {
        char sText[32];
        modp_dtoa(row.m_d, sText, row.m_nDecimals);
        EXPECT_STREQ(row.m_sText, sText) << row.m_d << " with " << row.m_nDecimals;
        modp_dtoa2(row.m_d, sText, row.m_nDecimals);
        EXPECT_STREQ(row.m_sShort, sText) << row.m_d << " with " << row.m_nDecimals;
    }
}

TEST(ModpDoubles, AgreeWithTheLibraryAwayFromTies)
{
    CTestRandom random;
    for (int i = 0; i < 5000; ++i)
    {
        const int nDecimals = static_cast<int>(random.UpTo(9));
        const double dPower = std::pow(10.0, nDecimals);
        // A quarter of the last decimal above or below a written number.
        const double d = (random.UpTo(2000000000) + (i % 2 == 0 ? 0.25 : -0.25)) / dPower;
        char sText[32];
        char sPrinted[32];
        modp_dtoa(d, sText, nDecimals);
        std::snprintf(sPrinted, sizeof sPrinted, "%.*f", nDecimals, d);
        EXPECT_STREQ(sPrinted, sText) << d << " with " << nDecimals;
    }
}
