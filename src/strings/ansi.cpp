#include "strings/ansi.h"

#include "core/textformat.h"
#include "strings/asciirun.h"
#include "strings/utf8.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <type_traits>

namespace OCT
{
namespace
{

// What one call converts at most, so that no size overflows an int.
constexpr std::size_t kMaxRun = 0x8000000;
// No character of a code page has more bytes, not even with the marks around it that UTF-7 has; a converter
// need not know of more room than its result can take.
constexpr std::size_t kMaxBytes = 8;

// What the number of a code page stands for; the ANSI code page may be any.
unsigned ActualPage(unsigned nCodePage)
{
    return nCodePage == CP_ACP || nCodePage == CP_THREAD_ACP ? GetACP() : nCodePage;
}

bool IsUtf8(unsigned nCodePage)
{
    return ActualPage(nCodePage) == CP_UTF8;
}

bool IsGb18030(unsigned nCodePage)
{
    return ActualPage(nCodePage) == 54936;
}

// As many of \p n bytes as fit, without a part of a character.
std::size_t FittingUtf8(const char* p, std::size_t n, std::size_t nRoom)
{
    if (n <= nRoom)
        return n;
    // No character has more than three bytes behind its first one.
    std::size_t iLast = nRoom;
    while (iLast != 0 && nRoom - iLast < 3 && (p[iLast] & 0xC0) == 0x80)
        --iLast;
    unsigned nUsed;
    DecodeUtf8(reinterpret_cast<const unsigned char*>(p + iLast), n - iLast, nUsed);
    return iLast + nUsed > nRoom ? iLast : nRoom;
}

// Narrow text of UTF-8 to narrow text of UTF-8: as it is.
std::size_t CopyUtf8(const char* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom)
{
    const std::size_t n = FittingUtf8(pSrc, nSrc, nRoom);
    std::copy_n(pSrc, n, pDest);
    return n;
}

// Code pages such as UTF-8, which may be the ANSI code page, take no flags and need none: all their mappings
// are exact.
bool RefusesFlags(int nWritten)
{
    return nWritten == 0 && GetLastError() == ERROR_INVALID_FLAGS;
}

int ConvertRun(const WCHAR* p, std::size_t n, char* pDest, std::size_t nRoom, unsigned nCodePage)
{
    const auto Encode = [&](DWORD dwFlags) {
        return WideCharToMultiByte(nCodePage, dwFlags, p, static_cast<int>(n), pDest,
                                   static_cast<int>(std::min(nRoom, kMaxBytes * n)), nullptr, nullptr);
    };
    const int nWritten = Encode(IsUtf8(nCodePage) ? 0 : WC_NO_BEST_FIT_CHARS);
    return RefusesFlags(nWritten) ? Encode(0) : nWritten;
}

int ConvertRun(const char* p, std::size_t n, WCHAR* pDest, std::size_t nRoom, unsigned nCodePage)
{
    const auto Decode = [&](DWORD dwFlags) {
        return MultiByteToWideChar(nCodePage, dwFlags, p, static_cast<int>(n), pDest,
                                   static_cast<int>(std::min(nRoom, n)));
    };
    const int nWritten = Decode(MB_PRECOMPOSED);
    return RefusesFlags(nWritten) ? Decode(0) : nWritten;
}

// Whether the code page has nothing but single bytes, and ASCII stands for itself.
bool ProbeSingleByte(unsigned nCodePage)
{
    CPINFO info;
    if (!GetCPInfo(nCodePage, &info) || info.MaxCharSize != 1)
        return false;
    char aAscii[0x7F];
    WCHAR aWide[0x7F] = {};
    for (int i = 0; i < 0x7F; ++i)
        aAscii[i] = static_cast<char>(i + 1);
    return ConvertRun(aAscii, 0x7F, aWide, 0x7F, nCodePage) == 0x7F &&
           std::equal(aWide, aWide + 0x7F, aAscii);
}

// The same, remembered for the ANSI code page and for the last other one that was.
bool IsSingleByte(unsigned nCodePage)
{
    static std::atomic<unsigned> s_aKnown[] = {CP_UTF8, CP_UTF8};
    std::atomic<unsigned>& nKnown = s_aKnown[nCodePage == CP_ACP];
    if (nKnown.load(std::memory_order_relaxed) == nCodePage)
        return true;
    if (!ProbeSingleByte(nCodePage))
        return false;
    nKnown.store(nCodePage, std::memory_order_relaxed);
    return true;
}

template <class Char>
std::size_t ForeignLength(const Char* p, std::size_t n)
{
    std::size_t i = 0;
    while (i < n && static_cast<std::make_unsigned_t<Char>>(p[i]) >= 0x80)
        ++i;
    return i;
}

// As many of \p n units as \p nMax; without half of a pair where a pair is a character and not two that the
// page lacks.
std::size_t WholeUnits(const WCHAR* p, std::size_t n, std::size_t nMax, unsigned nCodePage)
{
    const std::size_t nWhole = std::min(n, nMax);
    const bool bSplits = nWhole && nWhole < n && (p[nWhole - 1] & 0xFC00) == 0xD800 &&
                         (p[nWhole] & 0xFC00) == 0xDC00 && (IsUtf8(nCodePage) || IsGb18030(nCodePage));
    return nWhole - bSplits;
}

// The characters of a run that fit, by halving: every success leaves less room for what remains.
std::size_t ConvertFitting(const WCHAR* p, std::size_t n, char* pDest, std::size_t nRoom, unsigned nCodePage)
{
    std::size_t iDest = 0;
    std::size_t nTry = WholeUnits(p, n, nRoom, nCodePage);
    while (nTry)
    {
        const int nWritten = ConvertRun(p, nTry, pDest + iDest, nRoom - iDest, nCodePage);
        if (nWritten > 0)
        {
            iDest += static_cast<std::size_t>(nWritten);
            p += nTry;
            n -= nTry;
            nTry = WholeUnits(p, n, nRoom - iDest, nCodePage);
        }
        else
            nTry = WholeUnits(p, n, nTry == 3 ? 2 : nTry / 2, nCodePage); // there may be a pair in front
    }
    return iDest;
}

// Whether a byte of a run, which holds no ASCII, begins a pair. The system tells lead bytes only where no
// character is longer than two bytes.
bool IsLead(char c, unsigned nCodePage)
{
    return IsDBCSLeadByteEx(nCodePage, static_cast<BYTE>(c)) ||
           (IsGb18030(nCodePage) && c != '\x80' && c != '\xFF');
}

// The bytes of whole characters among \p nMax of \p n bytes, at least one character.
std::size_t WholeCharacters(const char* p, std::size_t n, std::size_t nMax, unsigned nCodePage)
{
    std::size_t i = 0;
    while (i < n)
    {
        const std::size_t nChar = i + 1 < n && IsLead(p[i], nCodePage) ? 2 : 1;
        if (i && i + nChar > nMax)
            break;
        i += nChar;
    }
    return i;
}

// The same the other way: as many bytes as there is room for units always fit.
std::size_t ConvertFitting(const char* p, std::size_t n, WCHAR* pDest, std::size_t nRoom, unsigned nCodePage)
{
    std::size_t iDest = 0;
    while (n && iDest < nRoom)
    {
        const std::size_t nTry = WholeCharacters(p, n, nRoom - iDest, nCodePage);
        const int nWritten = ConvertRun(p, nTry, pDest + iDest, nRoom - iDest, nCodePage);
        if (nWritten <= 0)
            break;
        iDest += static_cast<std::size_t>(nWritten);
        p += nTry;
        n -= nTry;
    }
    return iDest;
}

// What one call converts of the characters beyond ASCII at \p p.
std::size_t RunLength(const WCHAR* p, std::size_t n, unsigned nCodePage)
{
    return WholeUnits(p, n, ForeignLength(p, std::min(n, kMaxRun)), nCodePage);
}

std::size_t RunLength(const char* p, std::size_t n, unsigned nCodePage)
{
    const std::size_t nRun = ForeignLength(p, std::min(n, kMaxRun));
    return nRun < kMaxRun ? nRun : WholeCharacters(p, n, kMaxRun, nCodePage);
}

bool IsOutOfRoom()
{
    return GetLastError() == ERROR_INSUFFICIENT_BUFFER;
}

// How far a conversion has come.
template <class Src, class Dest>
struct CProgress
{
    const Src* m_pSrc;
    std::size_t m_nSrc;
    Dest* m_pDest;
    std::size_t m_nRoom;
    std::size_t m_nWritten = 0;

    bool GoesOn() const { return m_nSrc && m_nRoom; }
    bool IsAtForeign() const { return m_nSrc && *m_pSrc < 0; }
    void Advance(std::size_t nSrc, std::size_t nWritten)
    {
        m_pSrc += nSrc;
        m_nSrc -= nSrc;
        m_pDest += nWritten;
        m_nRoom -= nWritten;
        m_nWritten += nWritten;
    }
    void TakeAscii()
    {
        const std::size_t n = CopyAscii(m_pSrc, std::min(m_nSrc, m_nRoom), m_pDest);
        Advance(n, n);
    }
};

// In a code page of single bytes every unit converts to one by itself, so one call for all gives what
// calls for each run would give.
template <class Src, class Dest>
std::size_t ConvertRuns(CProgress<Src, Dest> at, unsigned nCodePage)
{
    const std::size_t n = std::min(at.m_nSrc, at.m_nRoom);
    if (n <= kMaxRun && IsSingleByte(nCodePage) &&
        ConvertRun(at.m_pSrc, n, at.m_pDest, n, nCodePage) == static_cast<int>(n))
        return n;
    while (at.GoesOn())
    {
        at.TakeAscii();
        const std::size_t nRun = RunLength(at.m_pSrc, at.m_nSrc, nCodePage);
        if (!nRun || !at.m_nRoom)
            continue;
        const int nWritten = ConvertRun(at.m_pSrc, nRun, at.m_pDest, at.m_nRoom, nCodePage);
        if (nWritten <= 0 && IsOutOfRoom())
            return at.m_nWritten + ConvertFitting(at.m_pSrc, nRun, at.m_pDest, at.m_nRoom, nCodePage);
        at.Advance(nRun, static_cast<std::size_t>(nWritten));
    }
    return at.m_nWritten;
}

} // namespace

std::size_t WideToAnsi(const WCHAR* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom,
                       unsigned nCodePage)
{
    return ConvertRuns<WCHAR, char>({pSrc, nSrc, pDest, nRoom}, nCodePage);
}

std::size_t AnsiToWide(const char* pSrc, std::size_t nSrc, WCHAR* pDest, std::size_t nRoom,
                       unsigned nCodePage)
{
    if (IsUtf8(nCodePage))
        return Utf8ToWide(pSrc, nSrc, pDest, nRoom);
    return ConvertRuns<char, WCHAR>({pSrc, nSrc, pDest, nRoom}, nCodePage);
}

std::size_t AnsiToUtf8(const char* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom, unsigned nCodePage)
{
    if (IsUtf8(nCodePage))
        return CopyUtf8(pSrc, nSrc, pDest, nRoom);
    CProgress<char, char> at{pSrc, nSrc, pDest, nRoom};
    while (at.GoesOn())
    {
        at.TakeAscii();
        while (at.IsAtForeign())
        {
            WCHAR c = 0;
            const bool bFits = at.m_nRoom >= 2 && ConvertRun(at.m_pSrc, 1, &c, 1, nCodePage) > 0 &&
                               Utf8LengthOfUnit(c) <= at.m_nRoom;
            if (bFits)
                EncodeUnitAsUtf8(c, at.m_pDest);
            at.Advance(1, bFits ? Utf8LengthOfUnit(c) : 0);
        }
    }
    return at.m_nWritten;
}

std::size_t Utf8ToAnsi(const char* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom, unsigned nCodePage,
                       const char** ppCut)
{
    if (IsUtf8(nCodePage))
    {
        const std::size_t nWhole = WholeCharacters(pSrc, nSrc, CP_UTF8);
        if (ppCut && nSrc <= nRoom && nWhole < nSrc)
            *ppCut = pSrc + nWhole;
        return CopyUtf8(pSrc, nSrc, pDest, nRoom);
    }
    CProgress<char, char> at{pSrc, nSrc, pDest, nRoom};
    while (at.GoesOn())
    {
        at.TakeAscii();
        while (at.m_nRoom && at.IsAtForeign())
        {
            // Deliberate: the lead byte decides how far to go, also when the sequence is damaged; a character
            // of two units is looked up by its first one, which no code page has.
            const auto* pSequence = reinterpret_cast<const unsigned char*>(at.m_pSrc);
            const std::size_t nLength = Utf8LengthByLead(*pSequence);
            const std::size_t nThere = std::min(nLength, at.m_nSrc);
            unsigned nUsed;
            const char32_t cDecoded = DecodeUtf8(pSequence, nThere, nUsed);
            const WCHAR c = static_cast<WCHAR>(cDecoded > 0xFFFF ? 0xD7C0 + (cDecoded >> 10) : cDecoded);
            const int nWritten = ConvertRun(&c, 1, at.m_pDest, at.m_nRoom, nCodePage);
            if (ppCut && nThere < nLength)
                *ppCut = at.m_pSrc;
            at.Advance(nThere, static_cast<std::size_t>(std::max(nWritten, 0)));
        }
    }
    return at.m_nWritten;
}

} // namespace OCT
