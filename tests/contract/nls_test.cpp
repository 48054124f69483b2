// Conversions between UTF-16 and code pages, as the library relies on them.
#include "support/text.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <type_traits>
#include <utility>

namespace
{

constexpr DWORD c_dwUntouched = 4711;

// What a call returns, and the error it leaves.
using CResult = std::pair<int, DWORD>;

CResult ToWide(UINT nPage, DWORD dwFlags, const char* pSrc, int nSrc, WCHAR* pDest, int nDest)
{
    SetLastError(c_dwUntouched);
    const int n = MultiByteToWideChar(nPage, dwFlags, pSrc, nSrc, pDest, nDest);
    return {n, GetLastError()};
}

CResult ToBytes(UINT nPage, DWORD dwFlags, const WCHAR* pSrc, int nSrc, char* pDest, int nDest)
{
    SetLastError(c_dwUntouched);
    const int n = WideCharToMultiByte(nPage, dwFlags, pSrc, nSrc, pDest, nDest, nullptr, nullptr);
    return {n, GetLastError()};
}

Text Decoded(UINT nPage, const std::string& sBytes)
{
    Text sText(sBytes.size() + 1, 0);
    const int n = ToWide(nPage, nPage == CP_UTF8 ? 0 : MB_PRECOMPOSED, sBytes.data(),
                         static_cast<int>(sBytes.size()), sText.data(), static_cast<int>(sText.size()))
                      .first;
    return sText.substr(0, static_cast<std::size_t>(n));
}

std::string Encoded(UINT nPage, const Text& sText, DWORD dwFlags = WC_NO_BEST_FIT_CHARS)
{
    std::string sBytes(sText.size() * 4 + 1, 0);
    const int n = ToBytes(nPage, nPage == CP_UTF8 ? 0 : dwFlags, sText.data(), static_cast<int>(sText.size()),
                          sBytes.data(), static_cast<int>(sBytes.size()))
                      .first;
    return sBytes.substr(0, static_cast<std::size_t>(n));
}

// Every byte; in double-byte pages every pair from 8000.
Text EveryCharacter(UINT nPage)
{
    const bool bDouble = nPage > 900 && nPage < 1000;
    Text sAll;
    for (unsigned n = bDouble ? 0x8001 : 1; n < (bDouble ? 0x10000u : 0x100u); ++n)
        if (n & 0xFF)
            sAll += Decoded(nPage, bDouble ? std::string{static_cast<char>(n >> 8), static_cast<char>(n)}
                                           : std::string{static_cast<char>(n)});
    return sAll;
}

// Every unit, without look-alikes.
std::string EveryUnit(UINT nPage)
{
    std::string sAll;
    for (unsigned c = 1; c < 0x10000; ++c)
        sAll += Encoded(nPage, Text(1, static_cast<WCHAR>(c)));
    return sAll;
}

// FNV-1a over the units, so that one number stands for a whole table.
template <class Unit>
std::uint32_t Digest(const std::basic_string<Unit>& sAll)
{
    std::uint32_t nHash = 2166136261u;
    for (const Unit c : sAll)
    {
        const auto n = static_cast<unsigned>(static_cast<std::make_unsigned_t<Unit>>(c));
        nHash = (nHash ^ (n & 0xFF)) * 16777619u;
        nHash = (nHash ^ (n >> 8)) * 16777619u;
    }
    return nHash;
}

} // namespace

TEST(CodePages, MapEveryByteAndEveryUnitAlike)
{
    constexpr struct
    {
        UINT m_nPage;
        std::uint32_t m_nCharacters;
        std::uint32_t m_nUnits;
    } c_aPages[] = {
        {437, 0x83D5B729u, 0x65EA8EE5u},   {737, 0x581AEB70u, 0x58C5545Du},
        {775, 0x52B1DCC9u, 0xDF9D2A35u},   {850, 0x31E9A355u, 0x279A008Du},
        {852, 0x8F001D22u, 0x266C051Du},   {855, 0x346FB54Eu, 0x88CEB9D5u},
        {857, 0xEFE3ECC6u, 0xF002768Du},   {860, 0x5ECDEDC4u, 0xA5746CEDu},
        {861, 0xDB839442u, 0x501671DDu},   {862, 0x56DF5930u, 0x94D96165u},
        {863, 0x16BFD7EEu, 0x02BDFD8Du},   {865, 0x4FE4C84Du, 0x4697DE75u},
        {866, 0xE77BF47Du, 0x019CBACDu},   {874, 0x2584F64Du, 0x0C5821B5u},
        {932, 0x5801EA4Du, 0x6F81828Eu},   {936, 0xA9B1BCC8u, 0x85ED8982u},
        {949, 0x5AA4C6F5u, 0x4086CC55u},   {950, 0xF0A40DB6u, 0xAB0599F1u},
        {1250, 0x8AB7CAC8u, 0x41FECDCDu},  {1251, 0x6E8E52D7u, 0x5BB8AEC5u},
        {1252, 0xAC557558u, 0x067EDFFDu},  {1253, 0x26D2790Du, 0x5E50E58Du},
        {1254, 0xE51FAF76u, 0xF66D62A5u},  {1255, 0xEB8D2850u, 0x7B5DA885u},
        {1256, 0x75856930u, 0x92ECA9FDu},  {1257, 0xCEF414F4u, 0x26BEFBE5u},
        {1258, 0xE565D022u, 0x3BEDBAFDu},  {20127, 0x359180FDu, 0xF7FA3CFDu},
        {20866, 0xFE7A98E6u, 0xAB64A865u}, {21866, 0xD7B3461Eu, 0xA8C26FFDu},
        {28591, 0x5A8702FDu, 0x78ADF6FDu}, {28592, 0x114B217Au, 0x096438DDu},
        {28593, 0x4A309E92u, 0x57990165u}, {28594, 0x015F06E4u, 0xC728A91Du},
        {28595, 0x13857772u, 0x47A2665Du}, {28596, 0x38452539u, 0x88D69AF5u},
        {28597, 0xD901C7E1u, 0x9B3EF7F5u}, {28598, 0xCDE9B368u, 0xF32FEE3Du},
        {28599, 0xE4FB43C4u, 0xA246463Du}, {28603, 0xABC235FAu, 0xCEB3247Du},
        {28605, 0x193BCCE8u, 0x01EE956Du},
    };
    for (const auto& page : c_aPages)
    {
        EXPECT_EQ(page.m_nCharacters, Digest(EveryCharacter(page.m_nPage))) << page.m_nPage;
        EXPECT_EQ(page.m_nUnits, Digest(EveryUnit(page.m_nPage))) << page.m_nPage;
    }
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
    EXPECT_EQ(CResult(5, c_dwUntouched), ToWide(1252, MB_PRECOMPOSED, "abcd", -1, nullptr, 0));
    EXPECT_EQ(CResult(5, c_dwUntouched), ToWide(1252, MB_PRECOMPOSED, "abcd", -1, aWide, 8));
    EXPECT_EQ(CResult(3, c_dwUntouched), ToBytes(932, 0, ORVTEXT("a\u3042"), 2, nullptr, 0));
    EXPECT_EQ(CResult(5, c_dwUntouched), ToBytes(CP_UTF8, 0, ORVTEXT("\u00E9\u20AC"), 2, nullptr, 0));
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
    EXPECT_EQ(CResult(0, ERROR_INVALID_FLAGS), ToWide(CP_UTF8, MB_PRECOMPOSED, "a", 1, aWide, 8));
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
