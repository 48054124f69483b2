// The conversions between UTF-16, code pages and UTF-8.
#include "support/child_process.h"
#include "support/report_capture.h"
#include "support/test_environment.h"

#include "orvcomtypes/stringutils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace
{

using CWide = std::basic_string<WCHAR>;

// ---- What the rules say, one character at a time ----

struct CDecoded
{
    char32_t m_cChar;
    std::size_t m_nBytes;
};

CDecoded SlowDecode(const std::string& s, std::size_t i)
{
    const auto At = [&](std::size_t n) { return n < s.size() ? static_cast<unsigned char>(s[n]) : 0u; };
    const unsigned b = At(i);
    const std::size_t nLength = b < 0x80 ? 1 : b < 0xC2 ? 0 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : b < 0xF5 ? 4 : 0;
    if (nLength == 1)
        return {b, 1};
    char32_t c = b & (0x7Fu >> nLength);
    for (std::size_t n = 1; n < nLength; ++n)
    {
        c = c << 6 | (At(i + n) & 0x3F);
        const bool bForbidden =
            n == 1 && ((b == 0xE0 && At(i + 1) < 0xA0) || (b == 0xED && At(i + 1) > 0x9F) ||
                       (b == 0xF0 && At(i + 1) < 0x90) || (b == 0xF4 && At(i + 1) > 0x8F));
        if ((At(i + n) & 0xC0) != 0x80 || bForbidden)
            return {0xFFFD, n};
    }
    return nLength ? CDecoded{c, nLength} : CDecoded{0xFFFD, 1};
}

CWide Units(char32_t c)
{
    if (c <= 0xFFFF)
        return CWide(1, static_cast<WCHAR>(c));
    return {static_cast<WCHAR>(0xD800 + ((c - 0x10000) >> 10)),
            static_cast<WCHAR>(0xDC00 + ((c - 0x10000) & 0x3FF))};
}

std::string UnitAsUtf8(WCHAR c)
{
    const unsigned n = c >= 0xD800 && c <= 0xDFFF ? 0xFFFD : c;
    if (n < 0x80)
        return {static_cast<char>(n)};
    if (n < 0x800)
        return {static_cast<char>(0xC0 + n / 64), static_cast<char>(0x80 + n % 64)};
    return {static_cast<char>(0xE0 + n / 4096), static_cast<char>(0x80 + n / 64 % 64),
            static_cast<char>(0x80 + n % 64)};
}

std::string UnitAsAnsi(WCHAR c, unsigned nPage)
{
    char aBytes[8];
    const int n = WideCharToMultiByte(nPage, WC_NO_BEST_FIT_CHARS, &c, 1, aBytes, 8, nullptr, nullptr);
    return std::string(aBytes, static_cast<std::size_t>(n));
}

WCHAR AnsiAsUnit(const std::string& sBytes, unsigned nPage)
{
    WCHAR c = 0;
    EXPECT_EQ(
        1, MultiByteToWideChar(nPage, MB_PRECOMPOSED, sBytes.data(), static_cast<int>(sBytes.size()), &c, 1));
    return c;
}

// Appends a character, or says that it does not fit.
template <class Text>
bool Fit(Text& sText, const Text& sChar, std::size_t nRoom)
{
    if (sChar.size() > nRoom - sText.size())
        return false;
    sText += sChar;
    return true;
}

CWide SlowUtf8ToUnicode(const std::string& s, std::size_t nRoom)
{
    CWide sResult;
    for (std::size_t i = 0; i < s.size();)
    {
        const CDecoded decoded = SlowDecode(s, i);
        if (!Fit(sResult, Units(decoded.m_cChar), nRoom))
            break;
        i += decoded.m_nBytes;
    }
    return sResult;
}

std::string SlowUnicodeToUtf8(const CWide& s, std::size_t nRoom)
{
    std::string sResult;
    for (const WCHAR c : s)
        Fit(sResult, UnitAsUtf8(c), nRoom);
    return sResult;
}

std::string SlowUnicodeToAnsi(const CWide& s, std::size_t nRoom, unsigned nPage)
{
    std::string sResult;
    for (const WCHAR c : s)
        if (!Fit(sResult, c < 0x80 ? std::string(1, static_cast<char>(c)) : UnitAsAnsi(c, nPage), nRoom))
            break;
    return sResult;
}

CWide SlowAnsiToUnicode(const std::string& s, std::size_t nRoom, unsigned nPage)
{
    CWide sResult;
    for (std::size_t i = 0; i < s.size() && sResult.size() < nRoom;)
    {
        const bool bPair =
            s[i] < 0 && IsDBCSLeadByteEx(nPage, static_cast<BYTE>(s[i])) && i + 1 < s.size() && s[i + 1] < 0;
        const std::size_t n = bPair ? 2 : 1;
        sResult += s[i] < 0 ? AnsiAsUnit(s.substr(i, n), nPage) : static_cast<WCHAR>(s[i]);
        i += n;
    }
    return sResult;
}

std::string SlowAnsiToUtf8(const std::string& s, std::size_t nRoom, unsigned nPage)
{
    std::string sResult;
    for (const char b : s)
        Fit(sResult, b < 0 ? UnitAsUtf8(AnsiAsUnit({b}, nPage)) : std::string(1, b), nRoom);
    return sResult;
}

std::string SlowUtf8ToAnsi(const std::string& s, std::size_t nRoom, unsigned nPage)
{
    std::string sResult;
    for (std::size_t i = 0; i < s.size();)
    {
        const auto b = static_cast<unsigned char>(s[i]);
        const std::size_t nLength = b < 0xC0 || b >= 0xF8 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
        const WCHAR c = Units(SlowDecode(s.substr(i, nLength), 0).m_cChar)[0];
        Fit(sResult, c < 0x80 ? std::string(1, static_cast<char>(c)) : UnitAsAnsi(c, nPage), nRoom);
        i += nLength;
    }
    return sResult;
}

// ---- Calls with a destination of any size between guards ----

constexpr unsigned c_nGuard = 32;

template <class Dest>
std::basic_string<Dest> Guarded(unsigned cchDest, const std::function<int(Dest*, unsigned)>& convert)
{
    const auto cGuard = static_cast<Dest>(0x5A5A);
    std::vector<Dest> vBuffer(cchDest + 2 * c_nGuard, cGuard);
    Dest* pDest = vBuffer.data() + c_nGuard;
    const int n = convert(pDest, cchDest);
    for (unsigned i = 0; i < c_nGuard; ++i)
        if (vBuffer[i] != cGuard || vBuffer[c_nGuard + cchDest + i] != cGuard)
            ADD_FAILURE() << "written outside a destination of " << cchDest;
    if (n < 0 || static_cast<unsigned>(n) >= cchDest || pDest[n] != 0)
    {
        ADD_FAILURE() << n << " is not the length of a terminated text in " << cchDest;
        return {};
    }
    return std::basic_string<Dest>(pDest, static_cast<std::size_t>(n));
}

// Compares the plain and the range form with the slow rule, for one size of the destination.
template <class Src, class Dest, class Slow, class Plain, class Range, class... Page>
void ExpectSame(const std::basic_string<Src>& s, unsigned cchDest, Slow slow, Plain plain, Range range,
                Page... nPage)
{
    const std::basic_string<Dest> sExpected = slow(s, cchDest - 1, nPage...);
    ASSERT_EQ(
        sExpected,
        Guarded<Dest>(cchDest, [&](Dest* p, unsigned cch) { return plain(s.c_str(), p, cch, nPage...); }))
        << "destination of " << cchDest << " for " << testing::PrintToString(s);
    // A range of its own, so that a read past its end is seen.
    const std::vector<Src> vSource(s.begin(), s.end());
    if (vSource.empty())
        return;
    const auto Convert = [&](Dest* p, unsigned cch) {
        return range(vSource.data(), vSource.data() + vSource.size(), p, cch, nPage...);
    };
    ASSERT_EQ(sExpected, Guarded<Dest>(cchDest, Convert))
        << "range, destination of " << cchDest << " for " << testing::PrintToString(s);
}

void ExpectSameFromBytes(const std::string& s, unsigned cchDest)
{
    ExpectSame<char, WCHAR>(s, cchDest, SlowUtf8ToUnicode, UTF8ToUnicode, UTF8ToUnicodeEx);
    for (const unsigned nPage : {1252u, 932u})
    {
        ExpectSame<char, WCHAR>(s, cchDest, SlowAnsiToUnicode, ANSIToUnicode, ANSIToUnicodeEx, nPage);
        ExpectSame<char, char>(s, cchDest, SlowAnsiToUtf8, ANSIToUTF8, ANSIToUTF8Ex, nPage);
        ExpectSame<char, char>(s, cchDest, SlowUtf8ToAnsi, UTF8ToANSI, UTF8ToANSIEx, nPage);
    }
}

void ExpectSameFromUnits(const CWide& s, unsigned cchDest)
{
    ExpectSame<WCHAR, char>(s, cchDest, SlowUnicodeToUtf8, UnicodeToUTF8, UnicodeToUTF8Ex);
    for (const unsigned nPage : {1252u, 932u})
        ExpectSame<WCHAR, char>(s, cchDest, SlowUnicodeToAnsi, UnicodeToANSI, UnicodeToANSIEx, nPage);
}

std::string Utf8Of(const CWide& s)
{
    std::string sResult;
    for (std::size_t i = 0; i < s.size(); ++i)
        if (s[i] >= 0xD800 && s[i] <= 0xDBFF && i + 1 < s.size())
        {
            const unsigned n = 0x10000u + ((s[i] - 0xD800u) << 10) + (s[i + 1] - 0xDC00u);
            for (const unsigned b :
                 {0xF0 + (n >> 18), 0x80 + (n >> 12 & 63), 0x80 + (n >> 6 & 63), 0x80 + (n & 63)})
                sResult += static_cast<char>(b);
            ++i;
        }
        else
            sResult += UnitAsUtf8(s[i]);
    return sResult;
}

const CWide c_aSamples[] = {
    ORVTEXT(""),
    ORVTEXT("The quick brown fox jumps over the lazy dog, and over the lazy dog again."),
    ORVTEXT("\u00C1rv\u00EDzt\u0171r\u0151 t\u00FCk\u00F6rf\u00FAr\u00F3g\u00E9p, na\u00EFve \u20AC 12, "
            "stra\u00DFe; pe\u0144 "
            "and much plain text behind it\u2026"),
    ORVTEXT("\u6F22\u5B57\u3068\u304B\u306A\u4EA4\u3058\u308A\u6587\u3001\u30C6\u30B9\u30C8\u3067\u3059\u3002"
            "\u6F22\u5B57"
            "\u3068\u304B\u306A\u4EA4\u3058\u308A\u6587"),
    ORVTEXT(
        "x\U0001F600\U0001F468\u200D\U0001F469\U0001F600yz\U0001F600\U0001F600\U0001F600\U0001F600\U0001F600"
        "\U0001F600\U0001F600\U0001F600"),
    ORVTEXT("0123456789abcdef0123456789abcdef0123456789abcde\u00E9"),
};

} // namespace

TEST(Conversions, CutAtEverySize)
{
    CReportCapture capture;
    for (const CWide& s : c_aSamples)
    {
        const std::string sUtf8 = Utf8Of(s);
        const auto nMost = static_cast<unsigned>(sUtf8.size()) + 4;
        for (unsigned cchDest = 2; cchDest <= nMost && !HasFatalFailure(); ++cchDest)
        {
            ExpectSameFromUnits(s, cchDest);
            ExpectSameFromBytes(sUtf8, cchDest);
            ExpectSameFromBytes(SlowUnicodeToAnsi(s, SIZE_MAX, 932), cchDest);
        }
    }
    EXPECT_NO_REPORTS(capture);
}

TEST(Conversions, EveryTwoBytesAndEveryUnit)
{
    for (unsigned n = 0x0101; n < 0x10000 && !HasFatalFailure(); ++n)
    {
        const std::string s = {'a', static_cast<char>(n >> 8), static_cast<char>(n), 'z'};
        if (n & 0xFF)
            ExpectSame<char, WCHAR>(s, 8, SlowUtf8ToUnicode, UTF8ToUnicode, UTF8ToUnicodeEx);
        const CWide sWide = {ORVTEXT('a'), static_cast<WCHAR>(n), ORVTEXT('z')};
        ExpectSame<WCHAR, char>(sWide, 8, SlowUnicodeToUtf8, UnicodeToUTF8, UnicodeToUTF8Ex);
    }
}

TEST(Conversions, AnyBytesAndUnits)
{
    const unsigned nSeed = std::random_device()();
    SCOPED_TRACE(nSeed);
    std::mt19937 generator(nSeed);
    const auto Below = [&](std::size_t n) { return static_cast<unsigned>(generator() % n); };
    // Bytes and units at the borders of what is allowed, between stretches of ASCII.
    static constexpr unsigned char c_aBytes[] = {0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF,
                                                 0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4,
                                                 0xF5, 0xF8, 0xFC, 0xFE, 0xFF, 0x83, 0x41, 0x7F, 0x01, 0x5C};
    static constexpr WCHAR c_aUnits[] = {0x7F,   0x80,   0x7FF,  0x800,  0xD7FF, 0xD800, 0xDBFF, 0xDC00,
                                         0xDFFF, 0xE000, 0xFFFF, 0x20AC, 0x6F22, 0xFF71, 0x41,   0x81};
    for (int i = 0; i < 4000 && !HasFatalFailure(); ++i)
    {
        std::string sBytes;
        CWide sUnits;
        for (unsigned n = Below(90); n; --n)
        {
            sBytes.append(Below(8) ? 0 : Below(40), 'x');
            sBytes += static_cast<char>(c_aBytes[Below(std::size(c_aBytes))]);
            sUnits.append(Below(8) ? 0 : Below(40), ORVTEXT('x'));
            sUnits += c_aUnits[Below(std::size(c_aUnits))];
        }
        const unsigned cchDest = 2 + (i % 2 ? Below(60) : 1000);
        ExpectSame<char, WCHAR>(sBytes, cchDest, SlowUtf8ToUnicode, UTF8ToUnicode, UTF8ToUnicodeEx);
        ExpectSame<char, WCHAR>(sBytes, cchDest, SlowAnsiToUnicode, ANSIToUnicode, ANSIToUnicodeEx, 932u);
        ExpectSameFromUnits(sUnits, cchDest);
    }
}

TEST(Conversions, SequenceLengthFollowsTheLeadByte)
{
    char aDest[16];
    EXPECT_EQ(2, UTF8ToANSI("\xE2"
                            "abz",
                            aDest, sizeof aDest, 1252));
    EXPECT_STREQ("?z", aDest) << "two letters behind a damaged lead byte belong to it";
    EXPECT_EQ(3, UTF8ToANSI("a\xF0\x9F\x98\x80z", aDest, sizeof aDest, 1252));
    EXPECT_STREQ("a?z", aDest);

    CReportCapture capture;
    EXPECT_EQ(1, UTF8ToANSI("\xE2", aDest, sizeof aDest, 1252));
    EXPECT_NO_REPORTS(capture);
    const char* const sCut = "a\xE2\x82\xAC";
    EXPECT_EQ(2, UTF8ToANSIEx(sCut, sCut + 3, aDest, sizeof aDest, 1252));
    EXPECT_STREQ("a?", aDest);
    EXPECT_REPORTS(capture, {{"UTF8ToANSIEx", "p > pSrcTo", "", "stringutils"}});
    EXPECT_EQ(2, UTF8ToANSIEx(sCut, sCut + 4, aDest, sizeof aDest, 1252));
    EXPECT_STREQ("a\x80", aDest);
    EXPECT_NO_REPORTS(capture);
}

TEST(Conversions, HalvesOfPairsAreEncodedAlone)
{
    char aDest[16];
    EXPECT_EQ(8, UnicodeToUTF8(ORVTEXT("a\U0001F600z"), aDest, sizeof aDest));
    EXPECT_STREQ("a\xEF\xBF\xBD\xEF\xBF\xBDz", aDest);
}

TEST(Conversions, UnitsThatDoNotFitAreDropped)
{
    char aDest[4];
    EXPECT_EQ(3, UnicodeToUTF8(ORVTEXT("a\u20ACbc\u00E9"), aDest, sizeof aDest));
    EXPECT_STREQ("abc", aDest);
    EXPECT_EQ(2, UnicodeToUTF8(ORVTEXT("a\u00E9b"), aDest, 3));
    EXPECT_STREQ("ab", aDest);
    EXPECT_EQ(2, ANSIToUTF8("a\xE9"
                            "b",
                            aDest, 3, 1252));
    EXPECT_STREQ("ab", aDest);
    WCHAR aWide[3];
    EXPECT_EQ(1, UTF8ToUnicode("a\xF0\x9F\x98\x80z", aWide, 3))
        << "a run ends the text where it does not fit";
}

TEST(Conversions, RangesEndAtAZeroUnit)
{
    const std::string sBytes("ab\0cd", 5);
    const CWide sUnits(ORVTEXT("ab\0cd"), 5);
    char aNarrow[8];
    WCHAR aWide[8];
    EXPECT_EQ(2, UTF8ToUnicodeEx(sBytes.data(), sBytes.data() + 5, aWide, 8));
    EXPECT_EQ(2, ANSIToUnicodeEx(sBytes.data(), sBytes.data() + 5, aWide, 8, 0));
    EXPECT_EQ(2, ANSIToUTF8Ex(sBytes.data(), sBytes.data() + 5, aNarrow, 8, 0));
    EXPECT_EQ(2, UTF8ToANSIEx(sBytes.data(), sBytes.data() + 5, aNarrow, 8, 0));
    EXPECT_EQ(2, UnicodeToUTF8Ex(sUnits.data(), sUnits.data() + 5, aNarrow, 8));
    EXPECT_EQ(2, UnicodeToANSIEx(sUnits.data(), sUnits.data() + 5, aNarrow, 8, 0));
    EXPECT_EQ(0, UTF8ToUnicodeEx(sBytes.data(), sBytes.data(), aWide, 8));
    EXPECT_EQ(0, aWide[0]);
}

TEST(Conversions, AClaimOfEndlessRoomWritesTheResultOnly)
{
    for (const CWide& s : c_aSamples)
    {
        const std::string sUtf8 = Utf8Of(s);
        const CWide sDecoded = SlowUtf8ToUnicode(sUtf8, SIZE_MAX);
        const std::string sEncoded = SlowUnicodeToUtf8(s, SIZE_MAX);
        const std::string sAnsi = SlowUnicodeToAnsi(s, SIZE_MAX, 932);
        for (const unsigned cchDest : {0xFFFFFFFFu, 0x80000001u, 0x80000000u, 0x7FFFFFFFu})
        {
            const auto Size = [](const auto& sText) { return static_cast<unsigned>(sText.size()) + 1; };
            EXPECT_EQ(sDecoded, Guarded<WCHAR>(Size(sDecoded), [&](WCHAR* p, unsigned) {
                          return UTF8ToUnicode(sUtf8.c_str(), p, cchDest);
                      }));
            EXPECT_EQ(sEncoded, Guarded<char>(Size(sEncoded), [&](char* p, unsigned) {
                          return UnicodeToUTF8(s.c_str(), p, cchDest);
                      }));
            EXPECT_EQ(sAnsi, Guarded<char>(Size(sAnsi), [&](char* p, unsigned) {
                          return UnicodeToANSI(s.c_str(), p, cchDest, 932);
                      }));
            const CWide sWide = SlowAnsiToUnicode(sAnsi, SIZE_MAX, 932);
            EXPECT_EQ(sWide, Guarded<WCHAR>(Size(sWide), [&](WCHAR* p, unsigned) {
                          return ANSIToUnicode(sAnsi.c_str(), p, cchDest, 932);
                      }));
        }
    }
}

ORV_CHILD(ConvertByAnsiCodePage)
{
    if (GetACP() != CP_UTF8)
        return 1;
    char aNarrow[16];
    WCHAR aWide[16];
    const bool bEncodes = UnicodeToANSI(ORVTEXT("a\u20AC\u00E9"), aNarrow, 16, CP_ACP) == 6;
    const bool bDecodes = ANSIToUnicode(aNarrow, aWide, 16, CP_ACP) == 3;
    return bEncodes && bDecodes && CWide(ORVTEXT("a\u20AC\u00E9")) == aWide ? 0 : 2;
}

TEST(Conversions, TheAnsiCodePageMayBeUtf8)
{
    const CVariableGuard page("ORVCOMTYPES_ACP", "65001");
    const int nResult = CChildProcess("ConvertByAnsiCodePage").Wait().m_iExitCode;
    if (nResult == 1)
        GTEST_SKIP() << "the system does not let its ANSI code page be chosen";
    EXPECT_EQ(0, nResult);
}

TEST(Conversions, UnknownCodePagesConvertAsciiOnly)
{
    CReportCapture capture;
    char aNarrow[16];
    WCHAR aWide[16];
    for (const unsigned nPage : {12345u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(2, UnicodeToANSI(ORVTEXT("a\u00E9\u4E00b"), aNarrow, 16, nPage));
        EXPECT_STREQ("ab", aNarrow);
        EXPECT_EQ(2, ANSIToUnicode("a\xE9\xE8"
                                   "b",
                                   aWide, 16, nPage));
        EXPECT_EQ(CWide(ORVTEXT("ab")), aWide);
        EXPECT_EQ(2, ANSIToUTF8("a\xE9"
                                "b",
                                aNarrow, 16, nPage));
        EXPECT_EQ(2, UTF8ToANSI("a\xC3\xA9"
                                "b",
                                aNarrow, 16, nPage));
    }
    EXPECT_NO_REPORTS(capture);
}

namespace
{

// What is refused before anything is read, so the units may stand for bytes.
struct CArguments
{
    const WCHAR* m_pFrom;
    const WCHAR* m_pTo;
    WCHAR* m_pDest;
    unsigned m_cchDest;
    unsigned m_nPage;

    const char* From() const { return reinterpret_cast<const char*>(m_pFrom); }
    const char* To() const { return reinterpret_cast<const char*>(m_pTo); }
    char* Dest() const { return reinterpret_cast<char*>(m_pDest); }
};

struct CFunction
{
    const char* m_sName;
    const char* m_sSource;
    const char* m_sRest; ///< of the condition, behind the destination
    bool m_bWide;        ///< the destination
    int (*m_Call)(const CArguments&);

    bool IsRange() const { return m_sSource[4] == 'F'; }
    bool RefusesUtf8() const { return std::string(m_sRest).find("CP_UTF8") != std::string::npos; }
    std::string Condition() const
    {
        return std::string(m_sSource) + " == nullptr || " +
               (IsRange() ? "pSrcTo == nullptr || pSrcFrom > pSrcTo || " : "") + "pDest == nullptr || " +
               m_sRest;
    }
};

using A = const CArguments&;

constexpr CFunction c_aFunctions[] = {
    {"UnicodeToANSI", "pSrc", "cchDest < 2 || destCodePage == CP_UTF8", false,
     [](A a) { return UnicodeToANSI(a.m_pFrom, a.Dest(), a.m_cchDest, a.m_nPage); }},
    {"ANSIToUnicode", "pSrc", "cchDest < 2 || srcCodePage == CP_UTF8", true,
     [](A a) { return ANSIToUnicode(a.From(), a.m_pDest, a.m_cchDest, a.m_nPage); }},
    {"UnicodeToUTF8", "pSrc", "cbDest < 2", false,
     [](A a) { return UnicodeToUTF8(a.m_pFrom, a.Dest(), a.m_cchDest); }},
    {"UTF8ToUnicode", "pSrc", "cchDest < 2", true,
     [](A a) { return UTF8ToUnicode(a.From(), a.m_pDest, a.m_cchDest); }},
    {"ANSIToUTF8", "pSrc", "cbDest < 2", false,
     [](A a) { return ANSIToUTF8(a.From(), a.Dest(), a.m_cchDest, a.m_nPage); }},
    {"UTF8ToANSI", "pSrc", "cchDest < 2", false,
     [](A a) { return UTF8ToANSI(a.From(), a.Dest(), a.m_cchDest, a.m_nPage); }},
    {"UnicodeToANSIEx", "pSrcFrom", "cchDest < 2 || destCodePage == CP_UTF8", false,
     [](A a) { return UnicodeToANSIEx(a.m_pFrom, a.m_pTo, a.Dest(), a.m_cchDest, a.m_nPage); }},
    {"ANSIToUnicodeEx", "pSrcFrom", "cchDest < 2 || srcCodePage == CP_UTF8", true,
     [](A a) { return ANSIToUnicodeEx(a.From(), a.To(), a.m_pDest, a.m_cchDest, a.m_nPage); }},
    {"UnicodeToUTF8Ex", "pSrcFrom", "cbDest < 2", false,
     [](A a) { return UnicodeToUTF8Ex(a.m_pFrom, a.m_pTo, a.Dest(), a.m_cchDest); }},
    {"UTF8ToUnicodeEx", "pSrcFrom", "cchDest < 2", true,
     [](A a) { return UTF8ToUnicodeEx(a.From(), a.To(), a.m_pDest, a.m_cchDest); }},
    {"ANSIToUTF8Ex", "pSrcFrom", "cchDest < 2", false,
     [](A a) { return ANSIToUTF8Ex(a.From(), a.To(), a.Dest(), a.m_cchDest, a.m_nPage); }},
    {"UTF8ToANSIEx", "pSrcFrom", "cchDest < 2", false,
     [](A a) { return UTF8ToANSIEx(a.From(), a.To(), a.Dest(), a.m_cchDest, a.m_nPage); }},
};

} // namespace

TEST(Conversions, RefuseAndReportBadArguments)
{
    static const WCHAR c_aText[] = ORVTEXT("text");
    WCHAR aDest[8];
    enum class EFor
    {
        All,
        Ranges,
        NoUtf8
    };
    const struct
    {
        const char* m_sCase;
        EFor m_For;
        CArguments m_Arguments;
    } aFaults[] = {
        {"null source", EFor::All, {nullptr, c_aText + 4, aDest, 8, 0}},
        {"null destination", EFor::All, {c_aText, c_aText + 4, nullptr, 8, 0}},
        {"no room", EFor::All, {c_aText, c_aText + 4, aDest, 0, 0}},
        {"room for the terminator only", EFor::All, {c_aText, c_aText + 4, aDest, 1, CP_UTF8}},
        {"null end", EFor::Ranges, {c_aText, nullptr, aDest, 8, 0}},
        {"end before the beginning", EFor::Ranges, {c_aText + 1, c_aText, aDest, 8, 0}},
        {"UTF-8 as code page", EFor::NoUtf8, {c_aText, c_aText + 4, aDest, 8, CP_UTF8}},
    };
    CReportCapture capture;
    for (const CFunction& function : c_aFunctions)
        for (const auto& fault : aFaults)
        {
            if ((fault.m_For == EFor::Ranges && !function.IsRange()) ||
                (fault.m_For == EFor::NoUtf8 && !function.RefusesUtf8()))
                continue;
            SCOPED_TRACE(std::string(function.m_sName) + ", " + fault.m_sCase);
            std::fill(std::begin(aDest), std::end(aDest), static_cast<WCHAR>(0x5A5A));
            EXPECT_EQ(0, function.m_Call(fault.m_Arguments));
            EXPECT_REPORTS(capture, {{function.m_sName, function.Condition().c_str(), "", "stringutils"}});
            const bool bUsable = fault.m_Arguments.m_pDest != nullptr && fault.m_Arguments.m_cchDest > 0;
            EXPECT_EQ(!bUsable ? 0x5A5A : function.m_bWide ? 0 : 0x5A00, aDest[0]);
            EXPECT_EQ(0x5A5A, aDest[1]);
        }
}

TEST(Conversions, Utf8AsAnsiIsReportedAndCopied)
{
    struct CRow
    {
        const char* m_sFunction;
        const char* m_sCondition;
        std::function<int(char*)> m_Call;
    };
    static const char* const c_pText = "\xC3\xA9t\xC3";
    const CRow c_aRows[] = {
        {"ANSIToUTF8", "srcCodePage == CP_UTF8", [](char* p) { return ANSIToUTF8(c_pText, p, 4, CP_UTF8); }},
        {"ANSIToUTF8Ex", "srcCodePage == CP_UTF8",
         [](char* p) { return ANSIToUTF8Ex(c_pText, c_pText + 4, p, 4, CP_UTF8); }},
        {"UTF8ToANSI", "destCodePage == CP_UTF8", [](char* p) { return UTF8ToANSI(c_pText, p, 4, CP_UTF8); }},
        {"UTF8ToANSIEx", "destCodePage == CP_UTF8",
         [](char* p) { return UTF8ToANSIEx(c_pText, c_pText + 4, p, 4, CP_UTF8); }},
    };
    CReportCapture capture;
    for (const CRow& row : c_aRows)
    {
        char aDest[8] = "-------";
        EXPECT_EQ(3, row.m_Call(aDest)) << row.m_sFunction;
        EXPECT_STREQ("\xC3\xA9t", aDest) << row.m_sFunction;
        EXPECT_REPORTS(capture, {{row.m_sFunction, row.m_sCondition, "", "stringutils"}});
    }
}
