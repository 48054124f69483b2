#include "strings/ansi.h"

#include "strings/asciirun.h"
#include "strings/utf8.h"

#include <algorithm>
#include <atomic>

namespace OCT
{
namespace
{

// What one call converts at most, so that no size overflows an int.
constexpr std::size_t c_nMaxRun = 0x10000000;
// No character of a code page has more bytes; a converter need not know of more room than its result can
// take.
constexpr std::size_t c_nMaxBytes = 4;

// Whether the number means UTF-8, as the ANSI code page may.
bool IsUtf8(unsigned nCodePage)
{
    return (nCodePage == CP_ACP || nCodePage == CP_THREAD_ACP) && GetACP() == CP_UTF8;
}

// Narrow text of UTF-8 to narrow text of UTF-8: as it is, cut between characters.
std::size_t CopyUtf8(const char* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom)
{
    std::size_t n = std::min(nSrc, nRoom);
    if (n < nSrc)
        while (n != 0 && (pSrc[n] & 0xC0) == 0x80)
            --n;
    std::copy_n(pSrc, n, pDest);
    return n;
}

// Code pages such as UTF-8, which may be the ANSI code page, take no flags and need none: all their mappings
// are exact.
bool RefusesFlags(int nWritten)
{
    return nWritten == 0 && GetLastError() == ERROR_INVALID_FLAGS;
}

int EncodeRun(const WCHAR* p, std::size_t n, char* pDest, std::size_t nRoom, unsigned nCodePage)
{
    const auto Encode = [&](DWORD dwFlags) {
        return WideCharToMultiByte(nCodePage, dwFlags, p, static_cast<int>(n), pDest,
                                   static_cast<int>(std::min(nRoom, c_nMaxBytes * n)), nullptr, nullptr);
    };
    const int nWritten = Encode(IsUtf8(nCodePage) ? 0 : WC_NO_BEST_FIT_CHARS);
    return RefusesFlags(nWritten) ? Encode(0) : nWritten;
}

int DecodeRun(const char* p, std::size_t n, WCHAR* pDest, std::size_t nRoom, unsigned nCodePage)
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
    return DecodeRun(aAscii, 0x7F, aWide, 0x7F, nCodePage) == 0x7F && std::equal(aWide, aWide + 0x7F, aAscii);
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

std::size_t ForeignLength(const WCHAR* p, std::size_t n)
{
    std::size_t i = 0;
    while (i < n && p[i] >= 0x80)
        ++i;
    return i;
}

std::size_t ForeignLength(const char* p, std::size_t n)
{
    std::size_t i = 0;
    while (i < n && p[i] < 0)
        ++i;
    return i;
}

// The characters of a run that fit, by halving: every success leaves less room for what remains.
std::size_t EncodeFitting(const WCHAR* p, std::size_t n, char* pDest, std::size_t nRoom, unsigned nCodePage)
{
    std::size_t iDest = 0;
    std::size_t nTry = std::min(n, nRoom);
    while (nTry)
    {
        const int nWritten = EncodeRun(p, nTry, pDest + iDest, nRoom - iDest, nCodePage);
        if (nWritten > 0)
        {
            iDest += static_cast<std::size_t>(nWritten);
            p += nTry;
            n -= nTry;
            nTry = std::min(n, nRoom - iDest);
        }
        else
            nTry /= 2;
    }
    return iDest;
}

// The bytes of whole characters among \p nMax of \p n bytes, at least one character.
std::size_t WholeCharacters(const char* p, std::size_t n, std::size_t nMax, unsigned nCodePage)
{
    std::size_t i = 0;
    while (i < n)
    {
        const std::size_t nChar = IsDBCSLeadByteEx(nCodePage, static_cast<BYTE>(p[i])) && i + 1 < n ? 2 : 1;
        if (i && i + nChar > nMax)
            break;
        i += nChar;
    }
    return i;
}

// The same the other way: as many bytes as there is room for units always fit.
std::size_t DecodeFitting(const char* p, std::size_t n, WCHAR* pDest, std::size_t nRoom, unsigned nCodePage)
{
    std::size_t iDest = 0;
    while (n && iDest < nRoom)
    {
        const std::size_t nTry = WholeCharacters(p, n, nRoom - iDest, nCodePage);
        const int nWritten = DecodeRun(p, nTry, pDest + iDest, nRoom - iDest, nCodePage);
        if (nWritten <= 0)
            break;
        iDest += static_cast<std::size_t>(nWritten);
        p += nTry;
        n -= nTry;
    }
    return iDest;
}

bool IsOutOfRoom()
{
    return GetLastError() == ERROR_INSUFFICIENT_BUFFER;
}

} // namespace

// In a code page of single bytes every unit converts to one by itself, so one call for all gives what
// calls for each run would give.
std::size_t WideToAnsi(const WCHAR* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom,
                       unsigned nCodePage)
{
    const std::size_t n = std::min(nSrc, nRoom);
    if (n <= c_nMaxRun && IsSingleByte(nCodePage) &&
        EncodeRun(pSrc, n, pDest, n, nCodePage) == static_cast<int>(n))
        return n;
    std::size_t iDest = 0;
    while (nSrc && iDest < nRoom)
    {
        const std::size_t nAscii = CopyAscii(pSrc, std::min(nSrc, nRoom - iDest), pDest + iDest);
        pSrc += nAscii;
        nSrc -= nAscii;
        iDest += nAscii;
        const std::size_t nRun = ForeignLength(pSrc, std::min(nSrc, c_nMaxRun));
        if (!nRun || iDest == nRoom)
            continue;
        const int nWritten = EncodeRun(pSrc, nRun, pDest + iDest, nRoom - iDest, nCodePage);
        if (nWritten <= 0 && IsOutOfRoom())
            return iDest + EncodeFitting(pSrc, nRun, pDest + iDest, nRoom - iDest, nCodePage);
        iDest += static_cast<std::size_t>(nWritten);
        pSrc += nRun;
        nSrc -= nRun;
    }
    return iDest;
}

std::size_t AnsiToWide(const char* pSrc, std::size_t nSrc, WCHAR* pDest, std::size_t nRoom,
                       unsigned nCodePage)
{
    if (IsUtf8(nCodePage))
        return Utf8ToWide(pSrc, nSrc, pDest, nRoom);
    const std::size_t n = std::min(nSrc, nRoom);
    if (n <= c_nMaxRun && IsSingleByte(nCodePage) &&
        DecodeRun(pSrc, n, pDest, n, nCodePage) == static_cast<int>(n))
        return n;
    std::size_t iDest = 0;
    while (nSrc && iDest < nRoom)
    {
        const std::size_t nAscii = CopyAscii(pSrc, std::min(nSrc, nRoom - iDest), pDest + iDest);
        pSrc += nAscii;
        nSrc -= nAscii;
        iDest += nAscii;
        std::size_t nRun = ForeignLength(pSrc, std::min(nSrc, c_nMaxRun));
        if (!nRun || iDest == nRoom)
            continue;
        if (nRun == c_nMaxRun)
            nRun = WholeCharacters(pSrc, nSrc, c_nMaxRun, nCodePage);
        const int nWritten = DecodeRun(pSrc, nRun, pDest + iDest, nRoom - iDest, nCodePage);
        if (nWritten <= 0 && IsOutOfRoom())
            return iDest + DecodeFitting(pSrc, nRun, pDest + iDest, nRoom - iDest, nCodePage);
        iDest += static_cast<std::size_t>(nWritten);
        pSrc += nRun;
        nSrc -= nRun;
    }
    return iDest;
}

std::size_t AnsiToUtf8(const char* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom, unsigned nCodePage)
{
    if (IsUtf8(nCodePage))
        return CopyUtf8(pSrc, nSrc, pDest, nRoom);
    std::size_t iDest = 0;
    while (nSrc && iDest < nRoom)
    {
        const std::size_t nAscii = CopyAscii(pSrc, std::min(nSrc, nRoom - iDest), pDest + iDest);
        pSrc += nAscii;
        nSrc -= nAscii;
        iDest += nAscii;
        for (; nSrc && *pSrc < 0; ++pSrc, --nSrc)
        {
            WCHAR c;
            if (nRoom - iDest < 2 || DecodeRun(pSrc, 1, &c, 1, nCodePage) <= 0 ||
                Utf8LengthOfUnit(c) > nRoom - iDest)
                continue;
            EncodeUnitAsUtf8(c, pDest + iDest);
            iDest += Utf8LengthOfUnit(c);
        }
    }
    return iDest;
}

std::size_t Utf8ToAnsi(const char* pSrc, std::size_t nSrc, char* pDest, std::size_t nRoom, unsigned nCodePage,
                       const char** ppCut)
{
    if (IsUtf8(nCodePage))
        return CopyUtf8(pSrc, nSrc, pDest, nRoom);
    std::size_t iDest = 0;
    while (nSrc && iDest < nRoom)
    {
        const std::size_t nAscii = CopyAscii(pSrc, std::min(nSrc, nRoom - iDest), pDest + iDest);
        pSrc += nAscii;
        nSrc -= nAscii;
        iDest += nAscii;
        while (nSrc && *pSrc < 0 && iDest < nRoom)
        {
            // Deliberate: the lead byte decides how far to go, also when the sequence is damaged; a character
            // of two units is looked up by its first one, which no code page has.
            const auto* pSequence = reinterpret_cast<const unsigned char*>(pSrc);
            const std::size_t nLength = Utf8LengthByLead(*pSequence);
            const std::size_t nThere = std::min(nLength, nSrc);
            unsigned nUsed;
            const char32_t cDecoded = DecodeUtf8(pSequence, nThere, nUsed);
            const WCHAR c = static_cast<WCHAR>(cDecoded > 0xFFFF ? 0xD7C0 + (cDecoded >> 10) : cDecoded);
            const int nWritten = EncodeRun(&c, 1, pDest + iDest, nRoom - iDest, nCodePage);
            iDest += static_cast<std::size_t>(std::max(nWritten, 0));
            pSrc += nThere;
            nSrc -= nThere;
            if (ppCut && nThere < nLength)
                *ppCut = pSrc;
        }
    }
    return iDest;
}

} // namespace OCT
