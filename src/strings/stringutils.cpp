#include "orvcomtypes/stringutils.h"

#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "strings/ansi.h"
#include "strings/asciirun.h"
#include "strings/textlen.h"
#include "strings/utf8.h"

#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstddef>

namespace
{

using OCT::TextLength;

// A source, which ends at a zero unit if not before, and the room before the terminator.
template <class Src, class Dest>
struct CConversion
{
    CConversion(const Src* pSrc, Dest* pDest, unsigned cchDest)
        : CConversion(pSrc, TextLength(pSrc), pDest, cchDest)
    {
    }
    CConversion(const Src* pFrom, const Src* pTo, Dest* pDest, unsigned cchDest)
        : CConversion(pFrom, static_cast<std::size_t>(pTo - pFrom), pDest, cchDest)
    {
    }
    // Every result is an int.
    CConversion(const Src* pSrc, std::size_t nSrc, Dest* pDest, unsigned cchDest)
        : m_pSrc(pSrc),
          m_nSrc(nSrc),
          m_pDest(pDest),
          m_nRoom(std::min(cchDest - 1, static_cast<unsigned>(INT_MAX)))
    {
    }

    // Copies leading ASCII, converts what follows it, and terminates.
    template <class Convert, class... Args>
    int Run(Convert convert, Args... args) const
    {
        std::size_t n = OCT::CopyAscii(m_pSrc, std::min(m_nSrc, m_nRoom), m_pDest);
        if (n < m_nSrc && n < m_nRoom && m_pSrc[n] != 0)
            n += convert(m_pSrc + n, TextLength(m_pSrc + n, m_nSrc - n), m_pDest + n, m_nRoom - n, args...);
        m_pDest[n] = 0;
        return static_cast<int>(n);
    }

    const Src* m_pSrc;
    std::size_t m_nSrc;
    Dest* m_pDest;
    std::size_t m_nRoom;
};

template <class Dest>
int Refuse(const char* sFunction, const char* sCondition, Dest* pDest, unsigned cchDest)
{
    ORV_REPORT(sFunction, sCondition);
    if (pDest != nullptr && cchDest > 0)
        *pDest = 0;
    return 0;
}

// To or from a code page that must not be UTF-8; if it is, that is reported and the text copied, as for an
// ANSI code page that is UTF-8.
template <class Convert, class... Args>
int RunUnlessUtf8(const char* sFunction, const char* sCondition, const CConversion<char, char>& conversion,
                  Convert convert, unsigned nCodePage, Args... args)
{
    if (nCodePage == CP_UTF8)
        ORV_REPORT(sFunction, sCondition);
    return conversion.Run(convert, nCodePage, args...);
}

template <class Src, class Dest>
bool IsUsable(const Src* pSrc, const Dest* pDest, unsigned cchDest)
{
    return pSrc != nullptr && pDest != nullptr && cchDest >= 2;
}

template <class Src, class Dest>
bool IsUsable(const Src* pSrcFrom, const Src* pSrcTo, const Dest* pDest, unsigned cchDest)
{
    return pSrcTo != nullptr && pSrcFrom <= pSrcTo && IsUsable(pSrcFrom, pDest, cchDest);
}

#define ORV_BAD_TEXT "pSrc == nullptr || pDest == nullptr || "
#define ORV_BAD_RANGE "pSrcFrom == nullptr || pSrcTo == nullptr || pSrcFrom > pSrcTo || pDest == nullptr || "

} // namespace

int ORVCALL UnicodeToANSI(const WCHAR* pSrc, char* pDest, unsigned cchDest, unsigned destCodePage)
{
    if (!IsUsable(pSrc, pDest, cchDest) || destCodePage == CP_UTF8)
        return Refuse("UnicodeToANSI", ORV_BAD_TEXT "cchDest < 2 || destCodePage == CP_UTF8", pDest, cchDest);
    return CConversion(pSrc, pDest, cchDest).Run(OCT::WideToAnsi, destCodePage);
}

int ORVCALL UnicodeToANSIEx(const WCHAR* pSrcFrom, const WCHAR* pSrcTo, char* pDest, unsigned cchDest,
                            unsigned destCodePage)
{
    if (!IsUsable(pSrcFrom, pSrcTo, pDest, cchDest) || destCodePage == CP_UTF8)
        return Refuse("UnicodeToANSIEx", ORV_BAD_RANGE "cchDest < 2 || destCodePage == CP_UTF8", pDest,
                      cchDest);
    return CConversion(pSrcFrom, pSrcTo, pDest, cchDest).Run(OCT::WideToAnsi, destCodePage);
}

int ORVCALL ANSIToUnicode(const char* pSrc, WCHAR* pDest, unsigned cchDest, unsigned srcCodePage)
{
    if (!IsUsable(pSrc, pDest, cchDest) || srcCodePage == CP_UTF8)
        return Refuse("ANSIToUnicode", ORV_BAD_TEXT "cchDest < 2 || srcCodePage == CP_UTF8", pDest, cchDest);
    return CConversion(pSrc, pDest, cchDest).Run(OCT::AnsiToWide, srcCodePage);
}

int ORVCALL ANSIToUnicodeEx(const char* pSrcFrom, const char* pSrcTo, WCHAR* pDest, unsigned cchDest,
                            unsigned srcCodePage)
{
    if (!IsUsable(pSrcFrom, pSrcTo, pDest, cchDest) || srcCodePage == CP_UTF8)
        return Refuse("ANSIToUnicodeEx", ORV_BAD_RANGE "cchDest < 2 || srcCodePage == CP_UTF8", pDest,
                      cchDest);
    return CConversion(pSrcFrom, pSrcTo, pDest, cchDest).Run(OCT::AnsiToWide, srcCodePage);
}

int ORVCALL UnicodeToUTF8(const WCHAR* pSrc, char* pDest, unsigned cbDest)
{
    if (!IsUsable(pSrc, pDest, cbDest))
        return Refuse("UnicodeToUTF8", ORV_BAD_TEXT "cbDest < 2", pDest, cbDest);
    return CConversion(pSrc, pDest, cbDest).Run(OCT::WideToUtf8);
}

int ORVCALL UnicodeToUTF8Ex(const WCHAR* pSrcFrom, const WCHAR* pSrcTo, char* pDest, unsigned cbDest)
{
    if (!IsUsable(pSrcFrom, pSrcTo, pDest, cbDest))
        return Refuse("UnicodeToUTF8Ex", ORV_BAD_RANGE "cbDest < 2", pDest, cbDest);
    return CConversion(pSrcFrom, pSrcTo, pDest, cbDest).Run(OCT::WideToUtf8);
}

int ORVCALL UTF8ToUnicode(const char* pSrc, WCHAR* pDest, unsigned cchDest)
{
    if (!IsUsable(pSrc, pDest, cchDest))
        return Refuse("UTF8ToUnicode", ORV_BAD_TEXT "cchDest < 2", pDest, cchDest);
    return CConversion(pSrc, pDest, cchDest).Run(OCT::Utf8ToWide);
}

int ORVCALL UTF8ToUnicodeEx(const char* pSrcFrom, const char* pSrcTo, WCHAR* pDest, unsigned cchDest)
{
    if (!IsUsable(pSrcFrom, pSrcTo, pDest, cchDest))
        return Refuse("UTF8ToUnicodeEx", ORV_BAD_RANGE "cchDest < 2", pDest, cchDest);
    return CConversion(pSrcFrom, pSrcTo, pDest, cchDest).Run(OCT::Utf8ToWide);
}

int ORVCALL ANSIToUTF8(const char* pSrc, char* pDest, unsigned cbDest, unsigned srcCodePage)
{
    if (!IsUsable(pSrc, pDest, cbDest))
        return Refuse("ANSIToUTF8", ORV_BAD_TEXT "cbDest < 2", pDest, cbDest);
    return RunUnlessUtf8("ANSIToUTF8", "srcCodePage == CP_UTF8", CConversion(pSrc, pDest, cbDest),
                         OCT::AnsiToUtf8, srcCodePage);
}

int ORVCALL ANSIToUTF8Ex(const char* pSrcFrom, const char* pSrcTo, char* pDest, unsigned cchDest,
                         unsigned srcCodePage)
{
    if (!IsUsable(pSrcFrom, pSrcTo, pDest, cchDest))
        return Refuse("ANSIToUTF8Ex", ORV_BAD_RANGE "cchDest < 2", pDest, cchDest);
    return RunUnlessUtf8("ANSIToUTF8Ex", "srcCodePage == CP_UTF8",
                         CConversion(pSrcFrom, pSrcTo, pDest, cchDest), OCT::AnsiToUtf8, srcCodePage);
}

int ORVCALL UTF8ToANSI(const char* pSrc, char* pDest, unsigned cchDest, unsigned destCodePage)
{
    if (!IsUsable(pSrc, pDest, cchDest))
        return Refuse("UTF8ToANSI", ORV_BAD_TEXT "cchDest < 2", pDest, cchDest);
    return RunUnlessUtf8("UTF8ToANSI", "destCodePage == CP_UTF8", CConversion(pSrc, pDest, cchDest),
                         OCT::Utf8ToAnsi, destCodePage, nullptr);
}

int ORVCALL UTF8ToANSIEx(const char* pSrcFrom, const char* pSrcTo, char* pDest, unsigned cchDest,
                         unsigned destCodePage)
{
    if (!IsUsable(pSrcFrom, pSrcTo, pDest, cchDest))
        return Refuse("UTF8ToANSIEx", ORV_BAD_RANGE "cchDest < 2", pDest, cchDest);
    const char* pCut = nullptr;
    const int n = RunUnlessUtf8("UTF8ToANSIEx", "destCodePage == CP_UTF8",
                                CConversion(pSrcFrom, pSrcTo, pDest, cchDest), OCT::Utf8ToAnsi, destCodePage,
                                destCodePage == CP_UTF8 ? nullptr : &pCut);
    // A zero unit may have cut the sequence, too, within the range.
    if (pCut != nullptr &&
        static_cast<std::size_t>(pSrcTo - pCut) < OCT::Utf8LengthByLead(static_cast<unsigned char>(*pCut)))
        ORV_REPORT("UTF8ToANSIEx", "p > pSrcTo");
    return n;
}
