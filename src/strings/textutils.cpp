// The small text utilities of stringutils.h.
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/stringutils.h"

#include "core/charclass.h"
#include "core/numtext.h"

#include <windows.h>

#include <cmath>
#include <cstdint>

namespace
{

template <class Char>
bool IsMissing(const Char* p, const char* sFunction)
{
    if (p == nullptr)
        ORV_REPORT_FROM("stringutils", sFunction, "p == nullptr", 0);
    return p == nullptr;
}

// Skips blanks and a minus sign; true when there was one.
template <class Char>
bool TakeSign(const Char*& p)
{
    while (*p == ' ' || *p == '\t')
        ++p;
    const bool bNegative = *p == '-';
    p += bNegative;
    return bNegative;
}

// Overflow wraps at the end: the low bits do not depend on the high ones.
template <class Unsigned, class Char>
Unsigned ParseInteger(const Char* p, const char* sFunction)
{
    if (IsMissing(p, sFunction))
        return 0;
    const bool bNegative = !OCT::IsDigit(*p) && TakeSign(p);
    Unsigned n = 0;
    // Two digits a step: each step waits for the product of the one before.
    for (;; p += 2)
    {
        if (!OCT::IsDigit(p[0]))
            break;
        const auto nDigit = static_cast<Unsigned>(p[0] - '0');
        if (!OCT::IsDigit(p[1]))
        {
            n = n * 10 + nDigit;
            break;
        }
        n = n * 100 + (nDigit * 10 + static_cast<Unsigned>(p[1] - '0'));
    }
    return bNegative ? 0 - n : n;
}

// The digits behind the separator as a part of 1. Those that fit no more are less than a part in 10^18 of the
// others.
template <class Char>
double ParseFraction(const Char* const pStart)
{
    std::uint64_t f = 0;
    const Char* p = pStart;
    for (; OCT::IsDigit(*p); ++p)
    {
        const auto nDigit = static_cast<std::uint64_t>(*p - '0');
        if (f > (UINT64_MAX - nDigit) / 10)
            break;
        f = f * 10 + nDigit;
    }
    const auto k = p - pStart;
    return static_cast<double>(f) / (k == 2 ? 100.0 : std::pow(10.0, static_cast<double>(k)));
}

template <class Char>
double ParseDouble(const Char* p, const char* sFunction)
{
    if (IsMissing(p, sFunction))
        return 0;
    const bool bNegative = TakeSign(p);
    double d = 0;
    for (; OCT::IsDigit(*p); ++p)
        d = d * 10 + static_cast<double>(*p - '0');
    if (*p == '.' || *p == ',')
        d += ParseFraction(p + 1);
    return bNegative ? -d : d;
}

// Four hexadecimal digits as a code unit, or -1.
int ParseHexUnit(const char* p)
{
    int n = 0;
    for (int i = 0; i < 4; ++i)
    {
        const int nDigit = OCT::HexDigitValue(p[i]);
        if (nDigit < 0)
            return -1;
        n = n << 4 | nDigit;
    }
    return n;
}

} // namespace

LONG ORVCALL naive_atol(const char* p)
{
    return static_cast<LONG>(ParseInteger<std::uint32_t>(p, "naive_atol"));
}

LONG ORVCALL naive_wtol(const WCHAR* p)
{
    return static_cast<LONG>(ParseInteger<std::uint32_t>(p, "naive_wtol"));
}

LONGLONG ORVCALL naive_atoll(const char* p)
{
    return static_cast<LONGLONG>(ParseInteger<std::uint64_t>(p, "naive_atoll"));
}

LONGLONG ORVCALL naive_wtoll(const WCHAR* p)
{
    return static_cast<LONGLONG>(ParseInteger<std::uint64_t>(p, "naive_wtoll"));
}

double ORVCALL naive_atof(const char* p)
{
    return ParseDouble(p, "naive_atof");
}

double ORVCALL naive_wtof(const WCHAR* p)
{
    return ParseDouble(p, "naive_wtof");
}

int ORVCALL UCNToUnicode(const char* pSrc, WCHAR* pDest, int cchDest)
{
    if (pSrc == nullptr || pDest == nullptr || cchDest <= 0)
        return 0;
    int n = 0;
    for (; *pSrc && n < cchDest - 1; ++n)
    {
        if (*pSrc != '\\')
        {
            // Deliberate: bytes widen as signed ones, so 0x80 gives U+FF80.
            pDest[n] = static_cast<WCHAR>(static_cast<signed char>(*pSrc++));
            continue;
        }
        const int nUnit = pSrc[1] == 'u' ? ParseHexUnit(pSrc + 2) : -1;
        if (nUnit < 0)
            break;
        pDest[n] = static_cast<WCHAR>(nUnit);
        pSrc += 6;
    }
    pDest[n] = 0;
    return n;
}

unsigned ORVCALL BinaryToHex(const unsigned char* pData, unsigned cbData, WCHAR* pOut)
{
    if (pData == nullptr || cbData == 0 || pOut == nullptr)
        return 0;
    *OCT::PutHexBytes(pOut, pData, cbData) = 0;
    return 2 * cbData + 1;
}

int ORVCALL GetLuhnKey(const WCHAR* sDigits)
{
    if (sDigits == nullptr || *sDigits == 0)
        return -1;
    const WCHAR* p = sDigits;
    while (OCT::IsDigit(*p))
        ++p;
    if (*p != 0)
        return -1;
    // From the right every second digit counts twice, the last one first; of a doubled digit the digits are
    // added.
    unsigned nSum = 0;
    for (bool bTwice = true; p != sDigits; bTwice = !bTwice)
    {
        const unsigned nDigit = static_cast<unsigned>(*--p - '0') << bTwice;
        nSum = (nSum + nDigit / 10 + nDigit % 10) % 10;
    }
    return static_cast<int>((10 - nSum) % 10);
}
