// Small text utilities and the converter objects.
#include "support/report_capture.h"
#include "support/text.h"

#include "orvcomtypes/strconvert.h"
#include "orvcomtypes/stringutils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

namespace
{

std::string Repeated(std::string_view s, std::size_t n)
{
    std::string sResult;
    while (n--)
        sResult += s;
    return sResult;
}

} // namespace

TEST(NaiveNumbers, ParseWhatTheyUnderstand)
{
    constexpr struct
    {
        std::string_view m_sText;
        LONGLONG m_n;
        double m_d;
    } kRows[] = {{"", 0, 0},
                 {"  -12x", -12, -12},
                 {" \t7", 7, 7},
                 {"\n7", 0, 0},
                 {"+5", 0, 0},
                 {"--5", 0, 0},
                 {"- 5", 0, 0},
                 {"3,25", 3, 3.25},
                 {".5", 0, 0.5},
                 {"-1.5e3", -1, -1.5},
                 {"1.007", 1, 1 + 7 / 1000.0},
                 {"1.2.3", 1, 1.2},
                 {"0.3333333333333333333333333333", 0, 1 / 3.0},
                 {"0,0000000000000000012", 0, 1.2e-18},
                 {"2147483648", 2147483648LL, 2147483648.0},
                 {"-9223372036854775808", INT64_MIN, -9223372036854775808.0},
                 {"18446744073709551617", 1, 18446744073709551617.0}};
    for (const auto& row : kRows)
    {
        SCOPED_TRACE(row.m_sText);
        const Text sWide(row.m_sText.begin(), row.m_sText.end());
        EXPECT_EQ(static_cast<LONG>(row.m_n), naive_atol(row.m_sText.data()));
        EXPECT_EQ(static_cast<LONG>(row.m_n), naive_wtol(sWide.c_str()));
        EXPECT_EQ(row.m_n, naive_atoll(row.m_sText.data()));
        EXPECT_EQ(row.m_n, naive_wtoll(sWide.c_str()));
        EXPECT_DOUBLE_EQ(row.m_d, naive_atof(row.m_sText.data()));
        EXPECT_DOUBLE_EQ(row.m_d, naive_wtof(sWide.c_str()));
    }
    EXPECT_TRUE(std::signbit(naive_atof("-0")));
}

TEST(NaiveNumbers, ReportNull)
{
    CReportCapture capture;
    EXPECT_EQ(0, naive_atol(nullptr));
    EXPECT_EQ(0, naive_wtol(nullptr));
    EXPECT_EQ(0, naive_atoll(nullptr));
    EXPECT_EQ(0, naive_wtoll(nullptr));
    EXPECT_EQ(0, naive_atof(nullptr));
    EXPECT_EQ(0, naive_wtof(nullptr));
    EXPECT_REPORTS(capture, {{"naive_atol", "p == nullptr", "", "stringutils"},
                             {"naive_wtol", "p == nullptr"},
                             {"naive_atoll", "p == nullptr"},
                             {"naive_wtoll", "p == nullptr"},
                             {"naive_atof", "p == nullptr"},
                             {"naive_wtof", "p == nullptr"}});
}

TEST(UcnToUnicode, DecodesUpToTheFirstMistake)
{
    const auto Decoded = [](const char* sText, int cchDest = 16) {
        WCHAR aDest[17] = ORVTEXT("----------------");
        const int n = UCNToUnicode(sText, aDest, cchDest);
        EXPECT_EQ(static_cast<int>(Text(aDest).size()), n);
        return Text(aDest);
    };
    EXPECT_EQ(ORVTEXT("aAb"), Decoded("a\\u0041b"));
    EXPECT_EQ(ORVTEXT("\u20AC\U0001F600"), Decoded("\\u20aC\\uD83D\\uDE00"));
    EXPECT_EQ(ORVTEXT("\uFF80\uFFFF"), Decoded("\x80\xFF"));
    for (const char* sMistake : {"ab\\x41", "ab\\u00G1", "ab\\u00", "ab\\"})
        EXPECT_EQ(ORVTEXT("ab"), Decoded(sMistake)) << sMistake;
    EXPECT_EQ(ORVTEXT("ab"), Decoded("abc", 3));
    EXPECT_EQ(ORVTEXT(""), Decoded("abc", 1));
    WCHAR cDest = 'x';
    EXPECT_EQ(0, UCNToUnicode("a", &cDest, 0));
    EXPECT_EQ(0, UCNToUnicode("a", &cDest, -1));
    EXPECT_EQ(0, UCNToUnicode(nullptr, &cDest, 1));
    EXPECT_EQ(0, UCNToUnicode("a", nullptr, 1));
    EXPECT_EQ(ORVTEXT('x'), cDest);
}

TEST(BinaryToHex, WritesTwoDigitsAByte)
{
    const unsigned char aData[] = {0x0A, 0xFF};
    WCHAR aOut[6];
    EXPECT_EQ(5u, BinaryToHex(aData, 2, aOut));
    EXPECT_EQ(Text(ORVTEXT("0AFF")), aOut);
    EXPECT_EQ(0u, BinaryToHex(aData, 0, aOut));
    EXPECT_EQ(0u, BinaryToHex(nullptr, 2, aOut));
    EXPECT_EQ(0u, BinaryToHex(aData, 2, nullptr));
}

TEST(LuhnKey, IsTheCheckDigit)
{
    EXPECT_EQ(3, GetLuhnKey(ORVTEXT("7992739871")));
    EXPECT_EQ(0, GetLuhnKey(ORVTEXT("0")));
    EXPECT_EQ(-1, GetLuhnKey(ORVTEXT("12a")));
    EXPECT_EQ(-1, GetLuhnKey(ORVTEXT("")));
    EXPECT_EQ(-1, GetLuhnKey(nullptr));
}

TEST(TextFile, EncodingIsRecognized)
{
    using namespace std::string_literals;
    const auto Converted = [](const std::string& s) {
        Text sOut(s.size() + 1, 0x5A5A);
        const std::vector<char> bytes(s.begin(), s.end()); // nothing behind them may be read
        const auto n = GetTextFileContents(bytes.data(), static_cast<unsigned>(s.size()), sOut.data());
        EXPECT_EQ(Text(sOut.c_str()).size(), n);
        return Text(sOut.c_str());
    };
    EXPECT_EQ(ORVTEXT("plain"), Converted("plain")) << "ASCII";
    EXPECT_EQ(ORVTEXT("a\u20AC"), Converted("\xFF\xFE\x61\0\xAC\x20"s)) << "UTF-16 with mark";
    EXPECT_EQ(ORVTEXT(""), Converted("\xFF\xFE")) << "only a mark";
    EXPECT_EQ(ORVTEXT("a"), Converted("\xFF\xFE\x61\0\0\0"s)) << "UTF-16 with mark and terminator";
    EXPECT_EQ(ORVTEXT("a"), Converted("\xFF\xFE\x61\0b"s)) << "UTF-16 with mark, odd";
    EXPECT_EQ(ORVTEXT("ab"), Converted("a\0b\0"s)) << "UTF-16 without mark";
    EXPECT_EQ(ORVTEXT("abc"), Converted("abc\0\0f"s)) << "too few zeros for UTF-16";
    EXPECT_EQ(ORVTEXT("a"), Converted("a\0b\0c"s)) << "zeros in odd data";
    EXPECT_EQ(ORVTEXT("a\uFFFDz"), Converted("\xEF\xBB\xBF\x61\xE9z")) << "damaged UTF-8 with mark";
    EXPECT_EQ(ORVTEXT(""), Converted("\xEF\xBB\xBF")) << "only a UTF-8 mark";
    EXPECT_EQ(ORVTEXT("\u00E9\U0001F600"), Converted("\xC3\xA9\xF0\x9F\x98\x80")) << "UTF-8 without mark";
    EXPECT_EQ(ORVTEXT("\u07FFa\u0800b\uFFFFc\U00010000"),
              Converted("\xDF\xBF\x61\xE0\xA0\x80\x62\xEF\xBF\xBF\x63\xF0\x90\x80\x80"))
        << "the first and last of each length";
    for (const char* sCut : {"a\xC3", "a\x80"})
        EXPECT_EQ(Wide(sCut), Converted(sCut)) << "sequence past the end";
    EXPECT_EQ(Wide("\xC3"), Converted("\xC3\0t"s)) << "sequence with ASCII inside";
    EXPECT_EQ(ORVTEXT("\uFFFD\uFFFD"), Converted("\x80\x80")) << "not UTF-8, yet passes the check";
    WCHAR aOut[8];
    EXPECT_EQ(3u, GetTextFileContents("a\xC3\xA9z", 0, aOut)) << "terminated data";
    EXPECT_EQ(0u, GetTextFileContents("", 0, aOut));
    EXPECT_EQ(0, aOut[0]);
    CReportCapture capture;
    EXPECT_EQ(0u, GetTextFileContents(nullptr, 3, aOut));
    EXPECT_EQ(0u, GetTextFileContents("a", 1, nullptr));
    const ExpectedReport null = {"GetTextFileContents", "pszFileData == nullptr || pwszConverted == nullptr",
                                 "", "stringutils"};
    EXPECT_REPORTS(capture, {null, null});
}

TEST(Converters, ToAnsiIsCutAtItsBuffer)
{
    EXPECT_STREQ(IsNarrowUtf8() ? "a\xC3\xA9\xE4\xB8\x80" : "a\xE9?", CToAnsi(ORVTEXT("a\u00E9\u4E00")));
    EXPECT_EQ(Repeated(Narrow(ORVTEXT("\u00E9")), IsNarrowUtf8() ? 499 : 999),
              static_cast<const char*>(CToAnsi(Text(5000, ORVTEXT('\u00E9')).c_str())))
        << "between characters";
    EXPECT_STREQ("", CToAnsi(nullptr));
    EXPECT_STREQ("", CToAnsi(ORVTEXT("")));
    EXPECT_EQ(std::string(999, 'x'), static_cast<const char*>(CToAnsi(Text(5000, ORVTEXT('x')).c_str())));
}

TEST(Converters, TakeTextAfterText)
{
    const Text sLong(3000, ORVTEXT('\u00E9'));
    CToUTF8 utf8(ORVTEXT("\u00E9t\u00E9"));
    EXPECT_STREQ("\xC3\xA9t\xC3\xA9", utf8);
    EXPECT_STREQ("ab", utf8.Set(ORVTEXT("abc"), 2));
    const std::string sNarrow = Narrow(ORVTEXT("\u00E9"));
    EXPECT_STREQ("\xC3\xA9", utf8.Set((sNarrow + "z").c_str(), static_cast<unsigned>(sNarrow.size())));
    EXPECT_EQ(Repeated("\xC3\xA9", 3000), utf8.Set(sLong.c_str()));
    EXPECT_EQ(Repeated("\xC3\xA9", 6000), utf8.Set((sLong + sLong).c_str())) << "the heap buffer grows";
    EXPECT_STREQ("short", utf8.Set("short"));
    EXPECT_STREQ("", utf8.Set(static_cast<const char*>(nullptr)));

    CUtf8ToWide wide("\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(Text(ORVTEXT("\u00E9t\u00E9")), static_cast<const WCHAR*>(wide));
    EXPECT_EQ(sLong, wide.Set(Repeated("\xC3\xA9", 3000).c_str()));
    EXPECT_EQ(Text(ORVTEXT("ab")), wide.Set("abc", 2));
    EXPECT_EQ(Text(), wide.Set(nullptr));
}

TEST(Converters, TwoBytesAUnitAreReserved)
{
    const Text sEuros(2000, ORVTEXT('\u20AC'));
    // The inline buffer of 1024, or 2 * n + 1024 down to a multiple of that.
    constexpr std::pair<unsigned, unsigned> kRows[] = {{511, 341}, {512, 512}, {1000, 682}, {1535, 1023}};
    for (const auto& [n, nWhole] : kRows)
        EXPECT_EQ(Repeated("\xE2\x82\xAC", nWhole), static_cast<const char*>(CToUTF8(sEuros.c_str(), n)));
}

TEST(Converters, WithoutMemoryTheyReportAndAreEmpty)
{
    CReportCapture capture;
    CToUTF8 utf8(Text(3000, ORVTEXT('x')).c_str());
    CUtf8ToWide wide("text");
    EXPECT_EQ(nullptr, utf8.Set(ORVTEXT("text"), 0x80000000u));
    EXPECT_EQ(nullptr, utf8.Set("text", 0xFFFFFFFFu));
    EXPECT_EQ(nullptr, wide.Set("text", 0xFFFFFFFFu));
    EXPECT_REPORTS(capture, {{"CToUTF8::Set", "m_p == nullptr", "", "orvstr"},
                             {"CToUTF8::Set", "m_p == nullptr", "", "orvstr"},
                             {"CUtf8ToWide::Set", "m_p == nullptr", "", "orvstr"}});
    EXPECT_STREQ("", utf8);
    EXPECT_EQ(Text(), static_cast<const WCHAR*>(wide));
    EXPECT_STREQ("again", utf8.Set(ORVTEXT("again")));
}
