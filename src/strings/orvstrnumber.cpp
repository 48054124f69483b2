// Numbers of COrvStr: appended, and read.
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvstralloc.h"

#include "core/charclass.h"
#include "core/numtext.h"
#include "core/textformat.h"
#include "strings/strbuffer.h"

#include <windows.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace
{

// Reports name the class's source, not this part of it.
constexpr const char* kSourceName = "orvstr";

constexpr int kMaxPaddedLen = 256;
/// Number texts end here, except padded decimals.
constexpr unsigned kMaxText = 63;

/// Below it, with at most nine decimals, a double's text is not cut.
constexpr double kShort = 1e18;
constexpr unsigned kMaxShortText = 32;

unsigned PadsUpTo(unsigned nWidth, unsigned nLen)
{
    return nWidth > nLen ? nWidth - nLen : 0;
}

unsigned Magnitude(int n)
{
    return n < 0 ? 0u - static_cast<unsigned>(n) : static_cast<unsigned>(n);
}

WCHAR* PutPrefixed(WCHAR* p, std::uint64_t n, unsigned nDigits)
{
    *p++ = ORVTEXT('0');
    *p++ = ORVTEXT('x');
    return OCT::PutHex(p, n, nDigits);
}

unsigned HexDigitCount(std::uint64_t n)
{
    return (static_cast<unsigned>(std::bit_width(n | 1)) + 3) / 4;
}

} // namespace

/// Appends what \p put writes, at most \p nMost units: in place where there is room for as many.
template <class Put>
void COrvStr::AppendWritten(unsigned nMost, Put put)
{
    if (m_bOwn && m_pStr != nullptr)
    {
        const std::uint64_t nLen = OCT::StrHeader(m_pStr).nStrLen;
        if (OCT::IsSoleStrOwner(m_pStr, sizeof(WCHAR) * (nLen + nMost + 1)))
            return OCT::EndStr(m_pStr, static_cast<std::size_t>(put(m_pStr + nLen) - m_pStr));
    }
    WCHAR sText[kMaxPaddedLen + OCT::kMaxIntText];
    Append(sText, static_cast<unsigned>(put(sText) - sText));
}

template <class Int>
void COrvStr::AppendPadded(Int n, int iPaddedLen)
{
    if (iPaddedLen > kMaxPaddedLen || iPaddedLen < -kMaxPaddedLen)
    {
        ORV_REPORT_FROM(kSourceName, "COrvStr::AppendNum",
                        iPaddedLen > 0 ? "iPaddedLen <= 256" : "iPaddedLen >= -256", 0);
        iPaddedLen = 0;
    }
    WCHAR sNumber[OCT::kMaxIntText];
    const auto nLen = static_cast<unsigned>(OCT::PutDecimal(sNumber, n) - sNumber);
    const unsigned nPad = PadsUpTo(Magnitude(iPaddedLen), nLen);
    const WCHAR cPad = iPaddedLen < 0 ? ORVTEXT('0') : ORVTEXT(' ');
    // Zeros before a minus sign are deliberate.
    AppendWritten(nPad + nLen,
                  [&](WCHAR* p) { return std::copy_n(sNumber, nLen, std::fill_n(p, nPad, cPad)); });
}

void COrvStr::AppendNum(int n)
{
    AppendWritten(OCT::kMaxIntText, [=](WCHAR* p) { return OCT::PutDecimal(p, n); });
}

void COrvStr::AppendNum(unsigned n)
{
    AppendWritten(OCT::kMaxIntText, [=](WCHAR* p) { return OCT::PutDecimal(p, n); });
}

void COrvStr::AppendNum(std::uint64_t n)
{
    AppendWritten(OCT::kMaxIntText, [=](WCHAR* p) { return OCT::PutDecimal(p, n); });
}

void COrvStr::AppendNum(int n, int iPaddedLen)
{
    AppendPadded(n, iPaddedLen);
}

void COrvStr::AppendNum(unsigned n, int iPaddedLen)
{
    AppendPadded(n, iPaddedLen);
}

void COrvStr::AppendNum(std::uint64_t n, int iPaddedLen)
{
    AppendPadded(n, iPaddedLen);
}

void COrvStr::AppendHex(unsigned n)
{
    AppendWritten(10, [=](WCHAR* p) { return PutPrefixed(p, n, 8); });
}

void COrvStr::AppendHex(std::uint64_t n)
{
    AppendWritten(18, [=](WCHAR* p) { return PutPrefixed(p, n, 16); });
}

void COrvStr::AppendHexDigits(std::uint64_t n, int iWidth)
{
    const unsigned nLen = HexDigitCount(n);
    const unsigned nPad = std::min(PadsUpTo(Magnitude(iWidth), nLen), kMaxText);
    // The text is cut at its end: a wide padding leaves the first digits only.
    const unsigned nKept = std::min(nLen, kMaxText - nPad);
    AppendWritten(nPad + nKept, [=](WCHAR* p) {
        p = std::fill_n(p, nPad, iWidth > 0 ? ORVTEXT(' ') : ORVTEXT('0'));
        return nKept != 0 ? OCT::PutHex(p, n >> 4 * (nLen - nKept), nKept) : p;
    });
}

void COrvStr::AppendHex(unsigned n, int iWidth)
{
    AppendHexDigits(n, iWidth);
}

void COrvStr::AppendHex(std::uint64_t n, int iWidth)
{
    AppendHexDigits(n, iWidth);
}

void COrvStr::AppendPtr(const void* p)
{
    const auto nAddress = reinterpret_cast<std::uintptr_t>(p);
    AppendWritten(2 + 2 * sizeof(p),
                  [=](WCHAR* pDest) { return PutPrefixed(pDest, nAddress, 2 * sizeof(p)); });
}

void COrvStr::AppendDouble(double d, int iPrec)
{
    iPrec = std::clamp(iPrec, 0, 16);
    // Deliberate: of a precision of two digits only the second counts.
    const int nDecimals = iPrec % 10;
    if (std::fabs(d) < kShort)
        return AppendWritten(kMaxShortText, [=](WCHAR* p) { return OCT::PutFixed(p, d, nDecimals); });
    WCHAR sText[OCT::kMaxFixedText];
    const auto nLen = static_cast<unsigned>(OCT::PutFixed(sText, d, nDecimals) - sText);
    Append(sText, std::min(nLen, kMaxText));
}

ParamNumToStr::ParamNumToStr(int n, const WCHAR* sFormat)
{
    m_sText[0] = 0;
    if (sFormat != nullptr)
        OCT::FormatTo(m_sText, sFormat, n);
}

// ---- Reading ----

namespace
{

std::uint64_t ParseHex(const WCHAR* p, std::uint64_t nDefault)
{
    if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X'))
        p += 2;
    std::uint64_t n = 0;
    for (int nDigits = 0; *p != 0; ++p, ++nDigits)
    {
        const int nDigit = OCT::HexDigitValue(*p);
        if (nDigit < 0 || nDigits == 16)
            return nDefault;
        n = n << 4 | static_cast<unsigned>(nDigit);
    }
    return n;
}

std::uint64_t ParseDecimal(const WCHAR* p, std::uint64_t nDefault)
{
    // Saturating deliberately where a signed number would: so 2^63 counts as 2^63 - 1.
    constexpr std::uint64_t nMost = std::numeric_limits<std::int64_t>::max();
    std::uint64_t n = 0;
    for (int nDigits = 0; *p != 0; ++p, ++nDigits)
    {
        if (!OCT::IsDigit(*p) || nDigits == 20)
            return nDefault;
        const auto nDigit = static_cast<std::uint64_t>(*p - '0');
        n = n > (nMost - nDigit) / 10 ? nMost : n * 10 + nDigit;
    }
    return n;
}

} // namespace

std::uint64_t COrvStr::ToUInt64(int iHex, std::uint64_t nDefault) const
{
    if (IsEmpty())
        return nDefault;
    return iHex == 1 ? ParseHex(m_pStr, nDefault) : ParseDecimal(m_pStr, nDefault);
}
