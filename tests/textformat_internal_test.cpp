#include "core/charclass.h"
#include "core/textformat.h"
#include "support/random.h"
#include "support/text.h"

#include <cctype>
#include <cmath>
#include <limits>

namespace
{

template <class Char, class... Args>
std::string Print(const Char* sFormat, Args... args)
{
    Char buffer[2048];
    const std::size_t nLength = OCT::FormatTo(buffer, sFormat, args...);
    EXPECT_EQ(Char(), buffer[nLength]);
    return std::string(buffer, buffer + nLength);
}

UINT g_nCodePage = CP_ACP; // of what PrintAs prints

// Arguments named by one format, printed by another.
std::string PrintAs(const char* sPrinted, const char* sOwn, ...)
{
    char buffer[256];
    va_list args;
    va_start(args, sOwn);
    OCT::CFetchedArgs<char> fetched(sOwn, args);
    va_end(args);
    OCT::CFormatSink<char> sink(buffer, sizeof(buffer), g_nCodePage);
    OCT::FormatText(sink, sPrinted, fetched);
    return {buffer, sink.Length()};
}

} // namespace

TEST(CharacterClasses, OfEveryUnit)
{
    const Text sSpaces = ORVTEXT("\t\n\v\f\r \u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007")
        ORVTEXT("\u2008\u2009\u200A\u2028\u2029\u202F\u205F\u3000");
    const Text sDigits = ORVTEXT("0123456789ABCDEFabcdef");
    for (int n = 0; n <= 0xFFFF; ++n)
    {
        const auto c = static_cast<WCHAR>(n);
        const bool bAscii = n < 0x80;
        const auto nDigit = static_cast<int>(sDigits.find(c));
        ASSERT_EQ(sSpaces.find(c) != Text::npos, OCT::IsSpace(c)) << n;
        ASSERT_EQ(bAscii && std::isspace(n), OCT::IsSpace(static_cast<char>(n < 0x100 ? n : 0))) << n;
        ASSERT_EQ(nDigit < 16 ? nDigit : nDigit - 6, OCT::HexDigitValue(c)) << n;
        ASSERT_EQ(nDigit >= 0 && nDigit < 10, OCT::IsDigit(c)) << n;
        ASSERT_EQ(bAscii ? std::toupper(n) : n, OCT::ToUpperAscii(c));
        ASSERT_EQ(bAscii ? std::tolower(n) : n, OCT::ToLowerAscii(c));
    }
    EXPECT_TRUE(OCT::IsSameText("aBc", "AbC"));
    for (const char* s : {"ab", "abcd", "abx", ""})
        EXPECT_FALSE(OCT::IsSameText("abc", s) || OCT::IsSameText(s, "abc")) << s;
}

TEST(TextFormat, TextOfEitherWidth)
{
    EXPECT_EQ("[ab][cd]", Print("[%s][%S]", "ab", ORVTEXT("cd")));
    EXPECT_EQ("[ab][cd]", Print("[%hs][%ls]", "ab", ORVTEXT("cd")));
    EXPECT_EQ("[ab][cd]", Print(ORVTEXT("[%s][%S]"), ORVTEXT("ab"), "cd"));
    EXPECT_EQ("[ab][cd]", Print(ORVTEXT("[%ls][%hs]"), ORVTEXT("ab"), "cd"));
    EXPECT_EQ("[  ab][ab  ][a][00ab]", Print("[%4s][%-4s][%.1s][%04s]", "ab", "ab", "ab", "ab"));
    EXPECT_EQ("[  ab][ab  ][a]", Print("[%4S][%-4S][%.1S]", ORVTEXT("ab"), ORVTEXT("ab"), ORVTEXT("ab")));
    EXPECT_EQ("x|y| z", Print("%c|%C|%2c", 'x', ORVTEXT('y'), 'z'));
    EXPECT_EQ("(null)(null)", Print("%s%S", static_cast<char*>(nullptr), static_cast<WCHAR*>(nullptr)));
    const char unterminated[] = {'a', 'b'};
    EXPECT_EQ("ab", Print("%.2s", unterminated));
    EXPECT_EQ(IsNarrowUtf8() ? "a" : "a\xE9", Print("%.2s", Narrow(ORVTEXT("a\u00E9")).c_str()));
}

TEST(TextFormat, TextOfTheOtherWidthIsWhole)
{
    const std::string sNarrow(700, 'n');
    const Text sWide(700, 'n');
    EXPECT_EQ("  " + sNarrow, Print("%702S", sWide.c_str()));
    EXPECT_EQ(sNarrow, Print(ORVTEXT("%S"), sNarrow.c_str()));
    // It is converted in pieces; characters of several bytes stand across their ends.
    Text sEuros(300, WCHAR{0x20AC});
    sEuros[0] = sEuros[1] = 'x';
    WCHAR aWide[512];
    OCT::FormatTo(aWide, ORVTEXT("%S"), Narrow(sEuros).c_str());
    EXPECT_EQ(sEuros, aWide);
    const WCHAR lone[] = {0xD800, 0x4E2D, 'x', 0xD800, 0};
    EXPECT_NE(std::string::npos, Print("%S", lone).find('x')) << "outside the code page";
    EXPECT_EQ(Narrow(ORVTEXT("a\u0080")), Print("%S", ORVTEXT("a\u0080"))) << "the first behind ASCII";
    const Text sPair = Text(127, 'x') + ORVTEXT("\U0001F611y");
    EXPECT_EQ(Narrow(sPair), Print("%S", sPair.c_str()));
}

TEST(TextFormat, Integers)
{
    EXPECT_EQ("-5 4294967291", Print("%d %u", -5, -5));
    EXPECT_EQ("-2147483648 37777777777", Print("%i %o", std::numeric_limits<int>::min(), -1));
    EXPECT_EQ("-5000000000 18446744073709551615",
              Print("%I64d %I64u", std::int64_t{-5000000000}, std::int64_t{-1}));
    EXPECT_EQ("-9223372036854775808", Print("%lld", std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ("12A05F200 12a05f200", Print("%I64X %llx", std::int64_t{5000000000}, std::int64_t{5000000000}));
    EXPECT_EQ("7 7", Print("%I32d %ld", 7, 7));
    EXPECT_EQ("-1 255 65535", Print("%hd %hhu %hu", 65535, 511, 131071));
    EXPECT_EQ("0x0000FF08 007", Print("0x%08lX %03d", 0xFF08, 7));
    EXPECT_EQ("[   42][42   ][  042][-0042]", Print("[%5d][%-5d][%5.3d][%05d]", 42, 42, 42, -42));
    EXPECT_EQ("[ 42][+42][0xf0][0XF0]", Print("[% d][%+d][%#x][%#X]", 42, 42, 240, 240));
    EXPECT_EQ("[0][0][][0]", Print("[%#o][%#.0o][%#.0x][%#x]", 0, 0, 0, 0));
    EXPECT_EQ("[010][052][  7]", Print("[%#o][%#.2o][%03.0d]", 8, 42, 7));
    EXPECT_EQ("[  7][007][0]", Print("[%*d][%.*d][%.*d]", 3, 7, 3, 7, -1, 0));
    EXPECT_EQ("7" + std::string(17, ' '), Print("%*d", -18, 7));
    EXPECT_EQ(sizeof(void*) == 8 ? "00000000001ABCDE" : "001ABCDE",
              Print("%p", reinterpret_cast<void*>(0x1ABCDE)));
}

TEST(TextFormat, Doubles)
{
    EXPECT_EQ("3.140000 2.5 1000000", Print("%f %g %.0f", 3.14, 2.5, 1e6));
    EXPECT_EQ("1.000000e+00 1.5E-07 1e+100", Print("%e %.1E %g", 1.0, 1.5e-7, 1e100));
    EXPECT_EQ("-000.50|+1.0| 1|1.", Print("%07.2f|%+.1f|% g|%#.0f", -0.5, 1.0, 1.0, 1.0));
    EXPECT_EQ("0x1.8p+0 -0X1P-1 0x1.80p+0", Print("%a %A %.2a", 1.5, -0.5, 1.5));
    EXPECT_EQ("2e+00 0.5" + std::string(44, '0'), Print("%.0e %.45f", 1.75, 0.5));
    EXPECT_EQ("  inf NAN", Print("%05f %F", HUGE_VAL, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(309u, Print("%.0f", std::numeric_limits<double>::max()).size());
}

TEST(TextFormat, WhatIsNoConversionIsCopied)
{
    EXPECT_EQ("100% %v %y %t 5%", Print("100%% %v %y %t 5%"));
    EXPECT_EQ("%-5", Print("%-5"));
    EXPECT_EQ("% 261112_", Print("% 261112_"));
    int nCount = 77;
    EXPECT_EQ("ab", Print("a%nb", &nCount));
    EXPECT_EQ(77, nCount) << "never written";
}

TEST(TextFormat, ConversionsWithoutAnArgumentOfTheirTypePrintNothing)
{
    EXPECT_EQ("[][x]", PrintAs("[%d][%s]", "%s", "x"));
    EXPECT_EQ("[x][]", PrintAs("[%s][%s]", "%s", "x"));
    EXPECT_EQ("[][]", PrintAs("[%s][%I64d]", "plain"));
    EXPECT_EQ("[][5]", PrintAs("[%S][%d]", "%d", 5));
    EXPECT_EQ("[5]", PrintAs("[%d]", "%%d %d", 5));
    EXPECT_EQ("[][x]", PrintAs("[%*s][%.*s]", "%s%s", "", "x"));
}

TEST(TextFormat, NoCutSplitsACharacter)
{
    const WCHAR* const sPair = ORVTEXT("a\U0001F600");
    EXPECT_EQ(1u, OCT::WholeCharacters(sPair, 2, CP_ACP));
    EXPECT_EQ(3u, OCT::WholeCharacters(sPair, 3, CP_ACP));
    const char* const sUtf8 = "aaaa\xC3\xA9\xE0\xA4\x85\xF0\x9F\x98\x80";
    const std::size_t whole[] = {0, 1, 2, 3, 4, 4, 6, 6, 6, 9, 9, 9, 9, 13};
    for (std::size_t i = 0; i < std::size(whole); ++i)
        EXPECT_EQ(whole[i], OCT::WholeCharacters(sUtf8, i, CP_UTF8)) << i;
    const char* const sShiftJis = "a\x88\x9F\x96\x7B";
    EXPECT_EQ(1u, OCT::WholeCharacters(sShiftJis, 2, 932));
    EXPECT_EQ(3u, OCT::WholeCharacters(sShiftJis, 4, 932));
    EXPECT_EQ(5u, OCT::WholeCharacters(sShiftJis, 5, 932));
}

TEST(TextFormat, CutsAtTheCapacityAndSaysSo)
{
    const auto PrintInto = [](std::size_t nSize, const char* sFormat, ...) {
        char buffer[64];
        bool bCut = false;
        va_list args;
        va_start(args, sFormat);
        OCT::FormatTextV(buffer, nSize, sFormat, args, &bCut);
        va_end(args);
        return buffer + std::string(bCut ? " (cut)" : "");
    };
    EXPECT_EQ("abcd", PrintInto(5, "%s", "abcd"));
    EXPECT_EQ("abcd (cut)", PrintInto(5, "%s", "abcde"));
    EXPECT_EQ("abcd (cut)", PrintInto(5, "abcd%d", 1));
    EXPECT_EQ(" (cut)", PrintInto(1, "a"));
    const std::string sLong(48, 'x');
    for (const std::size_t nFits : {4u, 15u, 16u, 17u, 31u, 32u, 47u})
        EXPECT_EQ(sLong.substr(0, nFits) + " (cut)", PrintInto(nFits + 1, sLong.c_str()));
    EXPECT_EQ(sLong, PrintInto(49, sLong.c_str()));
}

TEST(TextFormat, NarrowTextIsConvertedToTheCodePageOfTheSink)
{
    const std::string s = Narrow(ORVTEXT("\u00E9"));
    const std::string sFormat = s + "%s|%4s|%.2s|%d%" + s;
    const char* const sOther = IsNarrowUtf8() ? "\xE9" : "\xC3\xA9";
    g_nCodePage = IsNarrowUtf8() ? 1252 : CP_UTF8;
    const int nWidth =
        static_cast<int>(4 - s.size() + std::string_view(sOther).size()); // the width is that of s
    EXPECT_EQ(Print("%s%s|%*s|%s%s|7%%%s", sOther, sOther, nWidth, sOther, sOther,
                    IsNarrowUtf8() ? "" : sOther, sOther),
              PrintAs(sFormat.c_str(), sFormat.c_str(), s.c_str(), s.c_str(), (s + s).c_str(), 7));
    g_nCodePage = 54936;
    CPINFO info;
    if (GetCPInfo(g_nCodePage, &info)) // not everywhere
    {
        const Text sThai(128, WCHAR{0x0E01});
        EXPECT_NE('?', PrintAs("%S", "%S", sThai.c_str()).front()) << "four bytes a character";
    }
    g_nCodePage = CP_ACP;
}

// Any text whatever as a format, with no arguments behind it: nothing may be read that was not fetched.
TEST(TextFormat, RandomFormatsReadNoArgumentsThatAreNotThere)
{
    constexpr std::string_view alphabet = "%%%%dsSncpfI64l*.-+ #0x9";
    CTestRandom random;
    for (int i = 0; i < 20000; ++i)
    {
        std::string sFormat(random.UpTo(11), 0);
        for (char& c : sFormat)
            c = alphabet[random() % alphabet.size()];
        PrintAs(sFormat.c_str(), "");
    }
}
