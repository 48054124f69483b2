// Conversions between UTF-16 and code pages, capitals and the form of numbers, as the library relies on them.
#include "support/test_environment.h"
#include "support/text.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace
{

constexpr DWORD kUntouched = 4711;

// What a call returns, and the error it leaves.
using CResult = std::pair<int, DWORD>;

CResult ToWide(UINT nPage, DWORD dwFlags, const char* pSrc, int nSrc, WCHAR* pDest, int nDest)
{
    SetLastError(kUntouched);
    const int n = MultiByteToWideChar(nPage, dwFlags, pSrc, nSrc, pDest, nDest);
    return {n, GetLastError()};
}

CResult ToBytes(UINT nPage, DWORD dwFlags, const WCHAR* pSrc, int nSrc, char* pDest, int nDest)
{
    SetLastError(kUntouched);
    const int n = WideCharToMultiByte(nPage, dwFlags, pSrc, nSrc, pDest, nDest, nullptr, nullptr);
    return {n, GetLastError()};
}

bool TakesNoFlags(UINT nPage)
{
    const UINT nActual = nPage == CP_ACP || nPage == CP_THREAD_ACP ? GetACP() : nPage;
    return nActual == CP_UTF8 || nActual == 65000 || nActual == 54936;
}

Text Decoded(UINT nPage, const std::string& sBytes)
{
    Text sText(sBytes.size() + 1, 0);
    const int n = ToWide(nPage, TakesNoFlags(nPage) ? 0 : MB_PRECOMPOSED, sBytes.data(),
                         static_cast<int>(sBytes.size()), sText.data(), static_cast<int>(sText.size()))
                      .first;
    return sText.substr(0, static_cast<std::size_t>(n));
}

std::string Encoded(UINT nPage, const Text& sText, DWORD dwFlags = WC_NO_BEST_FIT_CHARS)
{
    std::string sBytes(sText.size() * 4 + 1, 0);
    const int n = ToBytes(nPage, TakesNoFlags(nPage) ? 0 : dwFlags, sText.data(),
                          static_cast<int>(sText.size()), sBytes.data(), static_cast<int>(sBytes.size()))
                      .first;
    return sBytes.substr(0, static_cast<std::size_t>(n));
}

// FNV-1a, so that one number stands for a whole table: what every byte gives, in double-byte pages every pair
// from 8000, and what every unit gives without look-alikes.
std::uint32_t TableDigest(UINT nPage)
{
    std::uint32_t nHash = 2166136261u;
    const auto Add = [&](const auto& sText) {
        for (const auto c : sText)
            nHash = (nHash ^ static_cast<std::uint16_t>(c)) * 16777619u;
    };
    const bool bDouble = nPage > 900 && nPage < 1000;
    for (unsigned n = bDouble ? 0x8001 : 1; n < (bDouble ? 0x10000u : 0x100u); ++n)
        if (n & 0xFF)
            Add(Decoded(nPage, bDouble ? std::string{static_cast<char>(n >> 8), static_cast<char>(n)}
                                       : std::string{static_cast<char>(n)}));
    for (unsigned c = 1; c < 0x10000; ++c)
        Add(Encoded(nPage, Text(1, static_cast<WCHAR>(c))));
    return nHash;
}

Text Formatted(const WCHAR* sValue)
{
    WCHAR sBuffer[100] = {};
    const int nLength = GetNumberFormatW(LOCALE_USER_DEFAULT, 0, sValue, nullptr, sBuffer, 100);
    EXPECT_EQ(nLength == 0 ? 0 : nLength - 1, static_cast<int>(Text(sBuffer).size()));
    return sBuffer;
}

} // namespace

TEST(CodePages, MapEveryByteAndEveryUnitAlike)
{
    constexpr std::pair<UINT, std::uint32_t> kDigests[] = {
        {437, 0x3BA26C70u},   {737, 0x53C9572Cu},   {775, 0xDCA78C9Cu},   {850, 0x289FCA06u},
        {852, 0xEA1B3647u},   {855, 0x1826C49Eu},   {857, 0x8C7239C9u},   {860, 0x43952A53u},
        {861, 0x84352AA7u},   {862, 0xC13DB126u},   {863, 0x0E545273u},   {865, 0xF05B2B44u},
        {866, 0x35323A39u},   {874, 0xC940DF33u},   {932, 0x66A65854u},   {936, 0xE0CCD31Bu},
        {949, 0x767D546Du},   {950, 0x95EB5CAAu},   {1250, 0xB87075A9u},  {1251, 0x1D59C623u},
        {1252, 0xE9DF6243u},  {1253, 0x54A638BCu},  {1254, 0xA18426F9u},  {1255, 0xEA68CB84u},
        {1256, 0xF46D30C6u},  {1257, 0xB05E228Du},  {1258, 0xC1824C80u},  {20127, 0x315AE1FDu},
        {20866, 0xE2646657u}, {21866, 0xA8B6EBF7u}, {28591, 0xBD61CCFDu}, {28592, 0x14BE3AECu},
        {28593, 0xD32335D3u}, {28594, 0x620EB519u}, {28595, 0xF9EE8E85u}, {28596, 0xAC2274FCu},
        {28597, 0xDE22A318u}, {28598, 0x3F40EE87u}, {28599, 0x0E28A724u}, {28603, 0xE5171BC6u},
        {28605, 0x126DA003u}, {708, 0x29418BAAu},   {720, 0x8432600Cu},   {864, 0x8C152BB4u},
        {869, 0xE8E01CCFu},   {10000, 0x0CCC773Fu}};
    for (const auto& [nPage, nDigest] : kDigests)
        EXPECT_EQ(nDigest, TableDigest(nPage)) << nPage;
}

TEST(CodePages, Page858IsPage850WithTheEuroSign)
{
    ORV_SKIP_WINE("page 858 is not there");
    for (int b = 1; b < 256; ++b)
        EXPECT_EQ(b == 0xD5 ? ORVTEXT("\u20AC") : Decoded(850, {static_cast<char>(b)}),
                  Decoded(858, {static_cast<char>(b)}))
            << b;
    EXPECT_EQ("\xD5", Encoded(858, ORVTEXT("\u20AC")));
}

TEST(CodePages, ReplaceWhatThePageLacks)
{
    EXPECT_EQ("a??", Encoded(1252, ORVTEXT("a\u0100\u4E00")));
    EXPECT_EQ("aA?", Encoded(1252, ORVTEXT("a\u0100\u4E00"), 0));
    EXPECT_EQ("\xE9z", Encoded(1252, ORVTEXT("e\u0301z"), WC_COMPOSITECHECK));
    EXPECT_EQ("??z", Encoded(1252, ORVTEXT("\U0001F600z"))) << "each half of a pair by itself";
    char aBytes[8];
    BOOL bUsed = FALSE;
    EXPECT_EQ(4, WideCharToMultiByte(932, WC_NO_BEST_FIT_CHARS, ORVTEXT("\u4E00\u00E9"), 2, aBytes, 8,
                                     "\x81\x40", &bUsed));
    EXPECT_EQ("\x88\xEA\x81\x40", std::string(aBytes, 4));
    EXPECT_TRUE(bUsed);
    EXPECT_EQ(2, WideCharToMultiByte(1252, WC_NO_BEST_FIT_CHARS, ORVTEXT("ab"), 2, aBytes, 8, "#", &bUsed));
    EXPECT_FALSE(bUsed);
}

TEST(CodePages, LoneLeadByteSwallowsNoTerminator)
{
    EXPECT_TRUE(IsDBCSLeadByteEx(932, 0x81));
    EXPECT_FALSE(IsDBCSLeadByteEx(932, 0xB1));
    EXPECT_FALSE(IsDBCSLeadByteEx(1252, 0x81));
    EXPECT_EQ(ORVTEXT("a\u30FB"), Decoded(932, "a\x81"));
    EXPECT_EQ(Text(ORVTEXT("\u30FB\0z"), 3), Decoded(932, std::string("\x81\0z", 3)));
    EXPECT_EQ(ORVTEXT("\u3000z"), Decoded(932, "\x81\x40z"));
}

TEST(CodePages, TellSizesAndRefuseBadArguments)
{
    WCHAR aWide[8] = {};
    char aBytes[8] = {};
    EXPECT_EQ(CResult(5, kUntouched), ToWide(1252, MB_PRECOMPOSED, "abcd", -1, nullptr, 0));
    EXPECT_EQ(CResult(5, kUntouched), ToWide(1252, MB_PRECOMPOSED, "abcd", -1, aWide, 8));
    EXPECT_EQ(CResult(3, kUntouched), ToBytes(932, 0, ORVTEXT("a\u3042"), 2, nullptr, 0));
    EXPECT_EQ(CResult(5, kUntouched), ToBytes(CP_UTF8, 0, ORVTEXT("\u00E9\u20AC"), 2, nullptr, 0));
    const CResult tooSmall(0, ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(tooSmall, ToWide(1252, 0, "abcd", 4, aWide, 3));
    EXPECT_EQ(tooSmall, ToWide(932, 0, "\x81\x40\x81\x40", 4, aWide, 1));
    EXPECT_EQ(tooSmall, ToBytes(932, 0, ORVTEXT("a\u3042\u3044"), 3, aBytes, 4));
    EXPECT_EQ(tooSmall, ToBytes(CP_UTF8, 0, ORVTEXT("\u00E9\u20AC"), 2, aBytes, 4));
    const CResult invalid(0, ERROR_INVALID_PARAMETER);
    EXPECT_EQ(invalid, ToWide(1252, 0, nullptr, 1, aWide, 8));
    EXPECT_EQ(invalid, ToWide(1252, 0, "a", 0, aWide, 8));
    EXPECT_EQ(invalid, ToWide(1252, 0, "a", 1, aWide, -1));
    EXPECT_EQ(invalid, ToWide(1252, 0, "a", 1, nullptr, 8));
    EXPECT_EQ(invalid, ToWide(12345, 0, "a", 1, aWide, 8));
    EXPECT_EQ(invalid, ToBytes(12345, 0, ORVTEXT("a"), 1, aBytes, 8));
    EXPECT_EQ(invalid, ToBytes(1252, 0, nullptr, 1, aBytes, 8));
    EXPECT_EQ(CResult(0, ERROR_INVALID_FLAGS), ToWide(1252, 0x40000000, "a", 1, aWide, 8));
    const CResult untranslated(0, ERROR_NO_UNICODE_TRANSLATION);
    EXPECT_EQ(untranslated, ToWide(932, MB_ERR_INVALID_CHARS, "\x81", 1, aWide, 8));
    EXPECT_EQ(untranslated, ToWide(CP_UTF8, MB_ERR_INVALID_CHARS, "a\xE2\x82z", 4, aWide, 8));
}

TEST(CodePages, DamagedUtf16AndUtf8)
{
    const WCHAR aText[] = {0xD800, 0xD83D, 0xDE00, 0xDC00};
    EXPECT_EQ("\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD", Encoded(CP_UTF8, Text(aText, 4)));
    EXPECT_EQ(ORVTEXT("\uFFFDz"), Decoded(CP_UTF8, "\xE2\x82z"));
    EXPECT_EQ(ORVTEXT("\uFFFD\uFFFD\uFFFD\uFFFD"), Decoded(CP_UTF8, "\xF0\x9F\x98\xFF\xC0\x80"));
    EXPECT_EQ(ORVTEXT("\uFFFD\U0001F600"), Decoded(CP_UTF8, "\x80\xF0\x9F\x98\x80"));
}

TEST(CodePages, ForbiddenSecondByteEndsAPart)
{
    ORV_SKIP_WINE("takes a forbidden second byte into the damaged part");
    EXPECT_EQ(ORVTEXT("\uFFFD\uFFFD\uFFFD"), Decoded(CP_UTF8, "\xED\xA0\x80"));
    EXPECT_EQ(ORVTEXT("\uFFFD\uFFFD\uFFFD\uFFFD"), Decoded(CP_UTF8, "\xF4\x90\x80\x80"));
    EXPECT_EQ(ORVTEXT("\uFFFD\uFFFD\uFFFD"), Decoded(CP_UTF8, "\xE0\x9F\xBF"));
}

TEST(CodePages, Page1361ComposesSyllables)
{
    const Text sText = ORVTEXT("a\uAC00\uD7A3\u1100\u1161\u11AA\u4F3D\u00A7");
    const std::string sBytes = "a\x88\x61\xD3\xBD\x88\x41\x84\x61\x84\x44\xE0\x31\xD9\x67";
    EXPECT_EQ(sBytes, Encoded(1361, sText));
    EXPECT_EQ(sText, Decoded(1361, sBytes));
}

TEST(CodePages, Utf7WritesUnitsInBase64)
{
    const std::pair<const WCHAR*, const char*> rows[] = {{ORVTEXT("Az09 '(),-./:?\t"), "Az09 '(),-./:?\t"},
                                                         {ORVTEXT("1+1"), "1+-1"},
                                                         {ORVTEXT("a\u00E9b"), "a+AOk-b"},
                                                         {ORVTEXT("\u65E5\u672C-"), "+ZeVnLA--"},
                                                         {ORVTEXT("\U0001F600"), "+2D3eAA-"}};
    for (const auto& [sText, sBytes] : rows)
    {
        EXPECT_EQ(sBytes, Encoded(65000, sText));
        EXPECT_EQ(sText, Decoded(65000, sBytes));
    }
    WCHAR sText[4];
    char sBytes[4];
    EXPECT_EQ(CResult(0, ERROR_INVALID_FLAGS), ToWide(65000, MB_PRECOMPOSED, "a", 1, sText, 4));
    EXPECT_EQ(CResult(0, ERROR_INVALID_FLAGS),
              ToBytes(65000, WC_NO_BEST_FIT_CHARS, ORVTEXT("a"), 1, sBytes, 4));
    EXPECT_EQ(CResult(0, ERROR_INSUFFICIENT_BUFFER), ToBytes(65000, 0, ORVTEXT("\u00E9"), 1, sBytes, 4));
}

TEST(CodePages, Gb18030WritesEverything)
{
    CPINFO info;
    if (!GetCPInfo(54936, &info))
        GTEST_SKIP() << "this system has no page 54936";
    EXPECT_EQ(4u, info.MaxCharSize);
    const std::string sBytes = "a" + std::string("\xA8\xA6\x81\x30\x81\x34\xBA\xBA\x90\x30\x81\x30");
    const Text sText = ORVTEXT("a\u00E9\u0084\u6C49\U00010000");
    EXPECT_EQ(sBytes, Encoded(54936, sText));
    EXPECT_EQ(sText, Decoded(54936, sBytes));
    WCHAR sBack[10];
    EXPECT_EQ(CResult(0, ERROR_NO_UNICODE_TRANSLATION),
              ToWide(54936, MB_ERR_INVALID_CHARS, "\xFF\xFF", 2, sBack, 10));
    EXPECT_EQ(CResult(0, ERROR_INVALID_FLAGS), ToWide(54936, MB_PRECOMPOSED, "a", 1, sBack, 10));
}

TEST(CodePages, ZeroMeansTheAnsiCodePage)
{
    const std::string sBytes = "\x7F\x80\x82\x9F\xA1\xB9\xC1\xE9\xFF";
    EXPECT_EQ(Decoded(GetACP(), sBytes), Decoded(CP_ACP, sBytes));
    EXPECT_EQ(Decoded(GetACP(), sBytes), Decoded(CP_THREAD_ACP, sBytes));
}

TEST(CharUpperBuff, CapitalizesUnitsWithOneCapital)
{
    WCHAR aText[] = ORVTEXT("a\u00E9\u00FF\u0451\u03C3\u03C2\u00B5\u0131\u00DF\u01C6!");
    EXPECT_EQ(9u, CharUpperBuffW(aText, 9));
    EXPECT_EQ(Text(ORVTEXT("A\u00C9\u0178\u0401\u03A3\u03C2\u00B5\u0131\u00DF\u01C6!")), Text(aText));
    EXPECT_EQ(0u, CharUpperBuffW(aText, 0));
}

TEST(NumberFormat, RoundsAndGroupsEnglish)
{
    const CVariableGuard locale("LC_ALL", "en_US.UTF-8");
    ORV_SKIP_WINE("groups wrongly without an explicit format");
    EXPECT_EQ(ORVTEXT("1,234.00"), Formatted(ORVTEXT("1234")));
    EXPECT_EQ(ORVTEXT("-1,234,567.89"), Formatted(ORVTEXT("-1234567.885")));
    EXPECT_EQ(ORVTEXT("0.50"), Formatted(ORVTEXT(".5")));
}

TEST(NumberFormat, RefusesOtherFormsAndTooLittleRoom)
{
    for (const WCHAR* sValue : {ORVTEXT("1e5"), ORVTEXT("+5"), ORVTEXT(" 5"), ORVTEXT("1.2.3")})
    {
        EXPECT_EQ(ORVTEXT(""), Formatted(sValue));
        EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
    }
    WCHAR sBuffer[4];
    EXPECT_EQ(5, GetNumberFormatW(LOCALE_USER_DEFAULT, 0, ORVTEXT("5"), nullptr, nullptr, 0));
    EXPECT_EQ(0, GetNumberFormatW(LOCALE_USER_DEFAULT, 0, ORVTEXT("5"), nullptr, sBuffer, 4));
    EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, GetLastError());
}

TEST(Nls, PreferredLanguagesAreAListOfNames)
{
    ULONG nNames = 0, nUnits = 0;
    ASSERT_TRUE(GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &nNames, nullptr, &nUnits));
    Text sList(nUnits, ORVTEXT('?'));
    ASSERT_TRUE(GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &nNames, sList.data(), &nUnits));
    EXPECT_LT(0u, nNames);
    ASSERT_EQ(sList.size(), nUnits);
    EXPECT_EQ(Text(2, 0), sList.substr(nUnits - 2));
    EXPECT_EQ(nNames, static_cast<ULONG>(std::count(sList.begin(), sList.end(), WCHAR(0)) - 1));
    ULONG nShort = nUnits - 1;
    EXPECT_FALSE(GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &nNames, sList.data(), &nShort));
    EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, GetLastError());
}
