// The conversions between UTF-16, code pages and UTF-8.
#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include "orvcomtypes/stringutils.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace
{

// ---- What the rules say, one character at a time ----

// Whether both halves of a pair are one character; such pages take no flags.
bool HasPairs(unsigned nPage)
{
    return nPage == CP_UTF8 || nPage == 54936 || (nPage == CP_ACP && IsNarrowUtf8());
}

// ASCII is the same in every code page, also in one that the system does not know.

std::string Encoded(const Text& s, unsigned nPage)
{
    if (s.size() == 1 && s[0] < 0x80)
        return {static_cast<char>(s[0])};
    std::string sBytes(4 * s.size(), 0);
    sBytes.resize(static_cast<std::size_t>(WideCharToMultiByte(
        nPage, HasPairs(nPage) ? 0 : WC_NO_BEST_FIT_CHARS, s.data(), static_cast<int>(s.size()),
        sBytes.data(), static_cast<int>(sBytes.size()), nullptr, nullptr)));
    return sBytes;
}

Text Decoded(const std::string& s, unsigned nPage)
{
    if (s.size() == 1 && s[0] >= 0)
        return {static_cast<WCHAR>(s[0])};
    WCHAR aUnits[2];
    return Text(aUnits, static_cast<std::size_t>(
                            MultiByteToWideChar(nPage, HasPairs(nPage) ? 0 : MB_PRECOMPOSED, s.data(),
                                                static_cast<int>(s.size()), aUnits, 2)));
}

Text Units(char32_t c)
{
    if (c <= 0xFFFF)
        return Text(1, static_cast<WCHAR>(c));
    return {static_cast<WCHAR>(0xD800 + ((c - 0x10000) >> 10)),
            static_cast<WCHAR>(0xDC00 + ((c - 0x10000) & 0x3FF))};
}

// A step sets the character that begins at s[i], converted, and returns the units that it takes there.

std::size_t StepUtf8ToUnicode(const std::string& s, std::size_t i, Text& sChar)
{
    const auto At = [&](std::size_t n) { return n < s.size() ? static_cast<unsigned char>(s[n]) : 0u; };
    const unsigned b = At(i);
    const std::size_t nLength = b < 0x80 ? 1 : b < 0xC2 ? 0 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : b < 0xF5 ? 4 : 0;
    const unsigned bSecond = At(i + 1);
    const bool bForbidden = (b == 0xE0 && bSecond < 0xA0) || (b == 0xED && bSecond > 0x9F) ||
                            (b == 0xF0 && bSecond < 0x90) || (b == 0xF4 && bSecond > 0x8F);
    char32_t c = nLength == 1 ? b : nLength == 0 ? 0xFFFD : b & (0x7Fu >> nLength);
    for (std::size_t n = 1; n < nLength; ++n)
    {
        if ((At(i + n) & 0xC0) != 0x80 || bForbidden)
        {
            sChar = Units(0xFFFD);
            return n;
        }
        c = c << 6 | (At(i + n) & 0x3F);
    }
    sChar = Units(c);
    return std::max<std::size_t>(nLength, 1);
}

std::size_t StepUnicodeToUtf8(const Text& s, std::size_t i, std::string& sChar)
{
    sChar = Encoded(s.substr(i, 1), CP_UTF8);
    return 1;
}

std::size_t StepUnicodeToAnsi(const Text& s, std::size_t i, std::string& sChar, unsigned nPage)
{
    const bool bPair =
        HasPairs(nPage) && i + 1 < s.size() && (s[i] & 0xFC00) == 0xD800 && (s[i + 1] & 0xFC00) == 0xDC00;
    sChar = Encoded(s.substr(i, bPair ? 2 : 1), nPage);
    return bPair ? 2 : 1;
}

std::size_t StepAnsiToUnicode(const std::string& s, std::size_t i, Text& sChar, unsigned nPage)
{
    const bool bLead = nPage == 54936 ? s[i] < -1 && s[i] != '\x80'
                                      : IsDBCSLeadByteEx(nPage, static_cast<BYTE>(s[i])) != FALSE;
    const bool bPair = bLead && i + 1 < s.size() && s[i + 1] < 0;
    sChar = Decoded(s.substr(i, bPair ? 2 : 1), nPage);
    return bPair ? 2 : 1;
}

std::size_t StepAnsiToUtf8(const std::string& s, std::size_t i, std::string& sChar, unsigned nPage)
{
    sChar = Encoded(Decoded(s.substr(i, 1), nPage), CP_UTF8);
    return 1;
}

std::size_t StepUtf8ToAnsi(const std::string& s, std::size_t i, std::string& sChar, unsigned nPage)
{
    const auto b = static_cast<unsigned char>(s[i]);
    const std::size_t nLength = b < 0xC0 || b >= 0xF8 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
    Text sUnits;
    StepUtf8ToUnicode(s.substr(i, nLength), 0, sUnits);
    sChar = Encoded(sUnits.substr(0, 1), nPage);
    return nLength;
}

// What is written into a buffer between guards.
template <class Dest, class Convert>
std::basic_string<Dest> Written(std::size_t nBuffer, Convert convert)
{
    const std::basic_string<Dest> sGuard(32, static_cast<Dest>(0x5A5A));
    std::basic_string<Dest> sBuffer(nBuffer + 2 * sGuard.size(), sGuard[0]);
    const int n = convert(sBuffer.data() + sGuard.size());
    EXPECT_TRUE(sBuffer.starts_with(sGuard) && sBuffer.ends_with(sGuard)) << "written outside the buffer";
    sBuffer = sBuffer.substr(sGuard.size(), nBuffer);
    EXPECT_EQ(static_cast<std::size_t>(n), sBuffer.find(Dest())) << "where the terminator is";
    return sBuffer.c_str();
}

// The two forms of a conversion, and its rule. (Constructed, as the pointers' types are the compiler's
// matter.)
template <class Src, class Dest, class Plain, class Range, class... Page>
class CConversion
{
public:
    using Step = std::size_t(const std::basic_string<Src>&, std::size_t, std::basic_string<Dest>&, Page...);

    /// bDrops: drops a character that does not fit; else the text ends before it.
    CConversion(Plain* plain, Range* range, bool bDrops, Step* step)
        : m_Plain(plain), m_Range(range), m_bDrops(bDrops), m_Step(step)
    {
    }

    // Both forms follow the rule, whatever the room. Of more room than the result takes nothing is there.
    void ExpectSame(const std::basic_string<Src>& s, const std::vector<unsigned>& vRooms, Page... nPage) const
    {
        const std::vector<std::basic_string<Dest>> vCharacters = Characters(s, nPage...);
        const std::size_t nWhole = Fitting(vCharacters, SIZE_MAX).size() + 1;
        for (const unsigned cchDest : vRooms)
        {
            const auto Trace = [&] {
                return "room for " + std::to_string(cchDest) + ", from " + testing::PrintToString(s);
            };
            const std::basic_string<Dest> sExpected = Fitting(vCharacters, cchDest - 1);
            const std::size_t nBuffer = std::min<std::size_t>(cchDest, nWhole);
            const auto CallPlain = [&](Dest* p) { return m_Plain(s.c_str(), p, cchDest, nPage...); };
            ASSERT_EQ(sExpected, Written<Dest>(nBuffer, CallPlain)) << Trace();
            // The whole, a range with a zero unit, and one in front of what could go on with its last
            // character.
            const std::basic_string<Src> sTrails(4, static_cast<Src>(0xDC80));
            for (const auto& [sSource, nRange] :
                 {std::pair(s, s.size()), {s + Src() + s, 2 * s.size() + 1}, {s + sTrails, s.size()}})
            {
                // Memory of its own, so that a read past the end is seen.
                const auto pSource = std::make_unique<Src[]>(sSource.size());
                std::copy(sSource.begin(), sSource.end(), pSource.get());
                const Src* const pEnd = pSource.get() + nRange;
                const auto CallRange = [&](Dest* p) {
                    return m_Range(pSource.get(), pEnd, p, cchDest, nPage...);
                };
                ASSERT_EQ(sExpected, Written<Dest>(nBuffer, CallRange)) << "a range, " << Trace();
            }
        }
    }

    // Both forms refuse bad arguments, report them and leave an empty text where they may.
    void ExpectRefusals(const std::string& sName, const std::string& sRoom,
                        const std::string& sRangeRoom) const
    {
        const Src aText[] = {'t', 'e', 'x', 't'};
        const Src* const pEnd = std::end(aText);
        Dest aDest[8];
        const auto Expect = [&](bool bRange, const Src* pFrom, const Src* pTo, Dest* pDest, unsigned cchDest,
                                [[maybe_unused]] unsigned nPage = 0) {
            const std::string sFunction = bRange ? sName + "Ex" : sName;
            const std::string sCondition = bRange ? "pSrcFrom == nullptr || pSrcTo == nullptr || pSrcFrom > "
                                                    "pSrcTo || pDest == nullptr || " +
                                                        sRangeRoom
                                                  : "pSrc == nullptr || pDest == nullptr || " + sRoom;
            const auto cOld = static_cast<Dest>(0x5A5A);
            aDest[0] = aDest[1] = cOld;
            CReportCapture capture;
            EXPECT_EQ(0, bRange ? m_Range(pFrom, pTo, pDest, cchDest, static_cast<Page>(nPage)...)
                                : m_Plain(pFrom, pDest, cchDest, static_cast<Page>(nPage)...));
            EXPECT_REPORTS(capture, {{sFunction.c_str(), sCondition.c_str(), "", "stringutils"}});
            EXPECT_EQ(pDest && cchDest ? Dest() : cOld, aDest[0]);
            EXPECT_EQ(cOld, aDest[1]);
        };
        for (const bool bRange : {false, true})
        {
            Expect(bRange, nullptr, pEnd, aDest, 8);
            Expect(bRange, aText, pEnd, nullptr, 8);
            Expect(bRange, aText, pEnd, aDest, 0);
            Expect(bRange, aText, pEnd, aDest, 1, CP_UTF8);
            if (sRoom.ends_with("CP_UTF8"))
                Expect(bRange, aText, pEnd, aDest, 8, CP_UTF8);
        }
        Expect(true, aText, nullptr, aDest, 8);
        Expect(true, aText + 1, aText, aDest, 8);
    }

private:
    std::vector<std::basic_string<Dest>> Characters(const std::basic_string<Src>& s, Page... nPage) const
    {
        std::vector<std::basic_string<Dest>> vCharacters;
        for (std::size_t i = 0; i < s.size();)
            i += m_Step(s, i, vCharacters.emplace_back(), nPage...);
        return vCharacters;
    }

    std::basic_string<Dest> Fitting(const std::vector<std::basic_string<Dest>>& vCharacters,
                                    std::size_t nRoom) const
    {
        std::basic_string<Dest> sResult;
        for (const std::basic_string<Dest>& sChar : vCharacters)
            if (sChar.size() <= nRoom - sResult.size())
                sResult += sChar;
            else if (!m_bDrops)
                break;
        return sResult;
    }

    Plain* m_Plain;
    Range* m_Range;
    bool m_bDrops;
    Step* m_Step;
};

const CConversion kUnicodeToAnsi{UnicodeToANSI, UnicodeToANSIEx, false, StepUnicodeToAnsi};
const CConversion kAnsiToUnicode{ANSIToUnicode, ANSIToUnicodeEx, false, StepAnsiToUnicode};
const CConversion kUnicodeToUtf8{UnicodeToUTF8, UnicodeToUTF8Ex, true, StepUnicodeToUtf8};
const CConversion kUtf8ToUnicode{UTF8ToUnicode, UTF8ToUnicodeEx, false, StepUtf8ToUnicode};
const CConversion kAnsiToUtf8{ANSIToUTF8, ANSIToUTF8Ex, true, StepAnsiToUtf8};
const CConversion kUtf8ToAnsi{UTF8ToANSI, UTF8ToANSIEx, true, StepUtf8ToAnsi};

// Runs of characters of one length, and what stands at the borders of what is allowed.
std::u32string RandomText(CTestRandom& random)
{
    static constexpr char32_t kRuns[] = {'x', 0xE9, 0x6F22, 0x1F600};
    static constexpr char32_t kFirst[] = {0x01, 0x80, 0x800, 0x10000, 0x110000};
    static constexpr char32_t kBorders[] = {0x41,   0x7F,   0x80,    0x81,     0x7FF,    0x800,   0x20AC,
                                            0xD7FF, 0xD800, 0xD900,  0xDBFF,   0xDC00,   0xDFFF,  0xE000,
                                            0xFF71, 0xFFFF, 0x10000, 0x10FFFF, 0x110000, 0x11FFFF};
    std::u32string s;
    for (unsigned n = random.UpTo(12); n; --n)
    {
        const unsigned k = random.UpTo(3);
        const bool bSame = random.UpTo(1) != 0;
        for (unsigned i = random.UpTo(1) * random.UpTo(40); i; --i)
            s += bSame ? kRuns[k] : kFirst[k] + random() % (kFirst[k + 1] - kFirst[k]);
        s += kBorders[random() % std::size(kBorders)];
    }
    return s;
}

// By the form alone, whether the character is allowed or not.
std::string FormOfUtf8(char32_t c)
{
    static constexpr unsigned kMarks[] = {0, 0xC0, 0xE0, 0xF0};
    unsigned nRest = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    std::string s(1, static_cast<char>(kMarks[nRest] | c >> 6 * nRest));
    while (nRest)
        s += static_cast<char>(0x80 | (c >> 6 * --nRest & 0x3F));
    return s;
}

} // namespace

TEST(Conversions, EveryTwoBytesAndEveryUnit)
{
    std::string sBytes;
    Text sUnits;
    for (unsigned n = 0x0101; n < 0x10000 && !HasFatalFailure(); ++n)
    {
        if (n & 0xFF)
            sBytes += {'a', static_cast<char>(n >> 8), static_cast<char>(n), 'z'};
        sUnits += {ORVTEXT('a'), static_cast<WCHAR>(n), ORVTEXT('z')};
        if (n % 64 != 63)
            continue;
        kUtf8ToUnicode.ExpectSame(std::exchange(sBytes, {}), {1000});
        kUnicodeToUtf8.ExpectSame(std::exchange(sUnits, {}), {1000});
    }
}

TEST(Conversions, AnyTextInAnyRoom)
{
    static constexpr unsigned char kBytes[] = {0x01, 0x41, 0x5C, 0x80, 0x83, 0xA0, 0xBF, 0xC0,
                                               0xC2, 0xE0, 0xED, 0xF0, 0xF4, 0xF5, 0xF8, 0xFF};
    static constexpr unsigned kHuge[] = {0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFF};
    CPINFO info;
    const unsigned nGb18030 = GetCPInfo(54936, &info) ? 54936 : 1252;
    CReportCapture capture;
    CTestRandom random;
    for (unsigned i = 0; i < 70; ++i)
    {
        Text sUnits;
        std::string sBytes;
        for (const char32_t c : RandomText(random))
        {
            sUnits += Units(c);
            sBytes += FormOfUtf8(c);
        }
        if (!random.UpTo(3))
            sBytes = Encoded(sUnits, 932);
        if (!sBytes.empty())
            for (unsigned n = random.UpTo(1) * random.UpTo(20); n; --n)
                sBytes[random() % sBytes.size()] = static_cast<char>(kBytes[random() % std::size(kBytes)]);
        sBytes.resize(sBytes.size() - std::min<std::size_t>(random.UpTo(3), sBytes.size()));
        std::vector<unsigned> vRooms = {kHuge[random.UpTo(3)]};
        for (unsigned cch = 2; cch < sBytes.size() + 4; cch += 1 + random.UpTo(i % 20))
            vRooms.push_back(cch);
        kUtf8ToUnicode.ExpectSame(sBytes, vRooms);
        kUnicodeToUtf8.ExpectSame(sUnits, vRooms);
        kUnicodeToAnsi.ExpectSame(sUnits, vRooms, CP_ACP);
        for (const unsigned nPage : {1252u, 932u, nGb18030})
        {
            kUnicodeToAnsi.ExpectSame(sUnits, vRooms, nPage);
            kAnsiToUnicode.ExpectSame(sBytes, vRooms, nPage);
            kAnsiToUtf8.ExpectSame(sBytes, vRooms, nPage);
            kUtf8ToAnsi.ExpectSame(sBytes + "end", vRooms, nPage); // a cut sequence would be reported
        }
        std::string sOne(100, 'x'); // but for one byte
        sOne[i] = '\xA1';
        kUnicodeToAnsi.ExpectSame(Text(sOne.begin(), sOne.end()), {65, 1000}, 932);
        kAnsiToUnicode.ExpectSame(sOne, {65, 1000}, 932);
        kAnsiToUtf8.ExpectSame(sOne, {65, 1000}, 932);
        if (HasFatalFailure())
            return;
    }
    EXPECT_NO_REPORTS(capture);
}

TEST(Conversions, UnknownCodePagesConvertAsciiOnly)
{
    CReportCapture capture;
    for (const unsigned nPage : {12345u, 0xFFFFFFFFu})
    {
        kUnicodeToAnsi.ExpectSame(ORVTEXT("\u00E9a\u00E9\u4E00b"), {2, 16}, nPage);
        kAnsiToUnicode.ExpectSame("\xE9\x61\xE9\xE8\x62", {2, 16}, nPage);
        kAnsiToUtf8.ExpectSame("\xE9\x61\xE9\x62", {2, 16}, nPage);
        kUtf8ToAnsi.ExpectSame("\xC3\xA9\x61\xC3\xA9\x62", {2, 16}, nPage);
    }
    EXPECT_NO_REPORTS(capture);
}

TEST(Conversions, RangeThatCutsASequenceIsReported)
{
    CReportCapture capture;
    char aDest[16];
    EXPECT_EQ(1, UTF8ToANSI("\xE2", aDest, sizeof aDest, 1252));
    // Where the ANSI code page is UTF-8 text is copied, and cut in front of the character.
    EXPECT_EQ(2, UTF8ToANSI("ab\xC3\x9F", aDest, 4, CP_ACP) - (IsNarrowUtf8() ? 0 : 1));
    const char* const sEuro = "a\xE2\x82\xAC";
    EXPECT_EQ(2, UTF8ToANSIEx(sEuro, sEuro + 4, aDest, sizeof aDest, 1252));
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(2, UTF8ToANSIEx(sEuro, sEuro + 3, aDest, sizeof aDest, 1252));
    EXPECT_STREQ("a?", aDest);
    EXPECT_EQ(IsNarrowUtf8() ? 3 : 2, UTF8ToANSIEx(sEuro, sEuro + 3, aDest, 4, CP_ACP));
    const char aZero[] = {'a', '\xE2', 0, 'b'}; // ends the text, yet the sequence goes on
    EXPECT_EQ(2, UTF8ToANSIEx(aZero, aZero + 3, aDest, sizeof aDest, 1252));
    const ExpectedReport cut = {"UTF8ToANSIEx", "p > pSrcTo", "", "stringutils"};
    EXPECT_REPORTS(capture, {cut, cut, cut});
    EXPECT_EQ(2, UTF8ToANSIEx(aZero, aZero + 4, aDest, sizeof aDest, 1252));
    EXPECT_NO_REPORTS(capture);
}

TEST(Conversions, RefuseAndReportBadArguments)
{
    const std::string sToAnsi = "cchDest < 2 || destCodePage == CP_UTF8";
    const std::string sFromAnsi = "cchDest < 2 || srcCodePage == CP_UTF8";
    kUnicodeToAnsi.ExpectRefusals("UnicodeToANSI", sToAnsi, sToAnsi);
    kAnsiToUnicode.ExpectRefusals("ANSIToUnicode", sFromAnsi, sFromAnsi);
    kUnicodeToUtf8.ExpectRefusals("UnicodeToUTF8", "cbDest < 2", "cbDest < 2");
    kUtf8ToUnicode.ExpectRefusals("UTF8ToUnicode", "cchDest < 2", "cchDest < 2");
    kAnsiToUtf8.ExpectRefusals("ANSIToUTF8", "cbDest < 2", "cchDest < 2");
    kUtf8ToAnsi.ExpectRefusals("UTF8ToANSI", "cchDest < 2", "cchDest < 2");
}

TEST(Conversions, Utf8AsAnsiIsReportedAndCopied)
{
    const std::pair<std::string, std::string> rows[] = {
        // in room for four bytes
        {"\xC3\xA9\xE2\x82\xAC", "\xC3\xA9"},
        {"\xC3\xA9\xE2\x82", "\xC3\xA9\xE2\x82"},
        {"\x80\x80\x80\x80\x80", "\x80\x80\x80\x80"},
        {"a\xF4\xC3\xA9\xC3\xA9", "a\xF4\xC3\xA9"},
    };
    CReportCapture capture;
    for (const auto& [sText, sCopy] : rows)
    {
        const char* const s = sText.c_str();
        const char* const pEnd = s + sText.size();
        for (const auto convert : {ANSIToUTF8, UTF8ToANSI})
            EXPECT_EQ(sCopy, Written<char>(5, [&](char* p) { return convert(s, p, 5, CP_UTF8); }));
        for (const auto convert : {ANSIToUTF8Ex, UTF8ToANSIEx})
            EXPECT_EQ(sCopy, Written<char>(5, [&](char* p) { return convert(s, pEnd, p, 5, CP_UTF8); }));
        EXPECT_REPORTS(capture, {{"ANSIToUTF8", "srcCodePage == CP_UTF8", "", "stringutils"},
                                 {"UTF8ToANSI", "destCodePage == CP_UTF8", "", "stringutils"},
                                 {"ANSIToUTF8Ex", "srcCodePage == CP_UTF8", "", "stringutils"},
                                 {"UTF8ToANSIEx", "destCodePage == CP_UTF8", "", "stringutils"}});
    }
}
