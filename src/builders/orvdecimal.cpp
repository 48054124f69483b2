#include "orvcomtypes/orvdecimal.h"

#include "builders/wideint.h"
#include "core/charclass.h"
#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>
#include <oleauto.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace
{

using OCT::CWideInt;

constexpr std::size_t kWords = 3;

/// A number on the way to a decimal: its digits and scale may be too many.
struct CExact
{
    CWideInt m_n;
    std::int64_t m_nScale = 0;
    bool m_bNegative = false;
    bool m_bMore = false; ///< something that is not 0 follows the last digit
};

CExact Unpack(const DECIMAL& dec) noexcept
{
    return {{{dec.Lo32, dec.Mid32, dec.Hi32}}, dec.scale, dec.sign != 0};
}

/// Raises the scale; the number stays and has room.
void RaiseScale(CExact& exact, std::int64_t nScale) noexcept
{
    for (; exact.m_nScale < nScale; ++exact.m_nScale)
        exact.m_n.MultiplyAdd(10, 0);
}

/// Rounds to the most digits that fit and at most \p nMaxScale places. The digits that go are looked at once:
/// rounding step by step would find ties where there are none.
bool Pack(CExact exact, DECIMAL& dec, std::int64_t nMaxScale = COrvDecimal::kMaxScale) noexcept
{
    unsigned nLast = 0;
    bool bMore = exact.m_bMore;
    for (;;)
    {
        CWideInt rounded = exact.m_n;
        const bool bOdd = rounded.m_aWords[0] % 2 != 0;
        if (nLast > 5 || (nLast == 5 && (bMore || bOdd)))
            rounded.MultiplyAdd(1, 1);
        if (exact.m_nScale <= nMaxScale && rounded.IsBelowWord(kWords))
        {
            dec = {};
            dec.Lo64 = std::uint64_t{rounded.m_aWords[1]} << 32 | rounded.m_aWords[0];
            dec.Hi32 = rounded.m_aWords[2];
            dec.scale = static_cast<BYTE>(exact.m_nScale);
            dec.sign = exact.m_bNegative && !rounded.IsZero() ? DECIMAL_NEG : BYTE{};
            return true;
        }
        if (exact.m_nScale == 0)
            return false;
        bMore = bMore || nLast != 0;
        nLast = exact.m_n.DivideBy(10);
        --exact.m_nScale;
    }
}

CExact Sum(CExact a, CExact b) noexcept
{
    RaiseScale(a, b.m_nScale);
    RaiseScale(b, a.m_nScale);
    if (a.m_bNegative == b.m_bNegative)
        a.m_n.Add(b.m_n);
    else if (a.m_n.Compare(b.m_n) >= 0)
        a.m_n.Subtract(b.m_n);
    else
    {
        b.m_n.Subtract(a.m_n);
        return b;
    }
    return a;
}

// ---- Text ----

const WCHAR* SkipSpace(const WCHAR* s) noexcept
{
    while (OCT::IsSpace(*s))
        ++s;
    return s;
}

/// Skips a sign; true for "-".
bool ReadSign(const WCHAR*& s) noexcept
{
    const bool bNegative = *s == ORVTEXT('-');
    if (bNegative || *s == ORVTEXT('+'))
        ++s;
    return bNegative;
}

/// Appends a digit while there is room for it, which is for more digits than a decimal has; what follows only
/// counts for rounding.
void TakeDigit(CExact& exact, unsigned nDigit) noexcept
{
    constexpr std::size_t nFull = CWideInt::kWordCount - 1;
    if (exact.m_n.IsBelowWord(nFull))
        exact.m_n.MultiplyAdd(10, nDigit);
    else
    {
        exact.m_bMore = exact.m_bMore || nDigit != 0;
        --exact.m_nScale;
    }
}

/// False without a digit.
bool ReadDigits(const WCHAR*& s, CExact& exact) noexcept
{
    bool bAny = false;
    bool bPoint = false;
    for (;; ++s)
    {
        if (*s == ORVTEXT('.') && !bPoint)
            bPoint = true;
        else if (OCT::IsDigit(*s))
        {
            bAny = true;
            exact.m_nScale += bPoint;
            TakeDigit(exact, static_cast<unsigned>(*s - ORVTEXT('0')));
        }
        else
            return bAny;
    }
}

/// False when "e" has no number behind it. Exponents that nothing fits keep their meaning when they are cut.
bool ReadExponent(const WCHAR*& s, std::int64_t& nExponent) noexcept
{
    constexpr std::int64_t nMax = std::numeric_limits<std::int64_t>::max() / 4;
    nExponent = 0;
    if (*s != ORVTEXT('e') && *s != ORVTEXT('E'))
        return true;
    const bool bNegative = ReadSign(++s);
    if (!OCT::IsDigit(*s))
        return false;
    for (; OCT::IsDigit(*s); ++s)
        if (nExponent < nMax / 10)
            nExponent = 10 * nExponent + (*s - ORVTEXT('0'));
    nExponent = bNegative ? -nExponent : nExponent;
    return true;
}

/// Brings the scale into the range where digits matter. False for overflow.
bool Normalize(CExact& exact) noexcept
{
    constexpr std::int64_t nLowest = COrvDecimal::kMaxScale + std::int64_t{CWideInt::kMaxText} + 1;
    if (exact.m_n.IsZero())
        exact.m_nScale = std::clamp<std::int64_t>(exact.m_nScale, 0, COrvDecimal::kMaxScale);
    exact.m_nScale = std::min(exact.m_nScale, nLowest); // 0 all the same
    for (; exact.m_nScale < 0; ++exact.m_nScale)
        if (exact.m_bMore || !exact.m_n.MultiplyAdd(10, 0))
            return false;
    return true;
}

unsigned PutText(char* p, const DECIMAL& dec) noexcept
{
    const CExact exact = Unpack(dec);
    return static_cast<unsigned>(OCT::PutScaled(p, exact.m_n, dec.scale, exact.m_bNegative) - p);
}

/// The number rounded to a whole one, its magnitude at most 2^64 - 1.
bool GetWhole(const COrvDecimal& value, std::uint64_t& n) noexcept
{
    COrvDecimal whole = value;
    whole.Round(0);
    n = whole.Get().Lo64;
    return whole.Get().Hi32 == 0;
}

} // namespace

COrvDecimal::COrvDecimal(const DECIMAL& dec) noexcept : m_dec{}
{
    if (dec.scale > kMaxScale)
        ORV_REPORT("COrvDecimal::COrvDecimal", "dec.scale > 28");
    else
        Pack(Unpack(dec), m_dec);
}

// ---- Text ----

bool COrvDecimal::SetText(const WCHAR* s) noexcept
{
    if (s == nullptr)
        return false;
    CExact exact;
    std::int64_t nExponent;
    s = SkipSpace(s);
    exact.m_bNegative = ReadSign(s);
    if (!ReadDigits(s, exact) || !ReadExponent(s, nExponent) || *SkipSpace(s) != 0)
        return false;
    exact.m_nScale -= nExponent;
    return Normalize(exact) && Pack(exact, m_dec);
}

COrvStr COrvDecimal::GetText() const
{
    char sText[OCT::kMaxScaledText];
    COrvStr sResult;
    sResult.Copy(sText, PutText(sText, m_dec));
    return sResult;
}

unsigned COrvDecimal::CopyTo(WCHAR* sDest, unsigned cch) const noexcept
{
    char sText[OCT::kMaxScaledText];
    const unsigned nLen = PutText(sText, m_dec);
    const unsigned nWritten = nLen < cch ? nLen : 0;
    std::copy(sText, sText + nWritten, sDest);
    if (cch > 0)
        sDest[nWritten] = 0;
    return nWritten;
}

// ---- Whole numbers ----

bool COrvDecimal::GetInt64(std::int64_t& n) const noexcept
{
    constexpr std::uint64_t nLimit = std::uint64_t{1} << 63;
    std::uint64_t nWhole;
    if (!GetWhole(*this, nWhole) || nWhole > nLimit - !IsNegative())
        return false;
    n = static_cast<std::int64_t>(IsNegative() ? 0 - nWhole : nWhole);
    return true;
}

bool COrvDecimal::GetUInt64(std::uint64_t& n) const noexcept
{
    std::uint64_t nWhole;
    if (!GetWhole(*this, nWhole) || (IsNegative() && nWhole != 0))
        return false;
    n = nWhole;
    return true;
}

// ---- Shape ----

void COrvDecimal::Negate() noexcept
{
    if (!IsZero())
        m_dec.sign ^= DECIMAL_NEG;
}

void COrvDecimal::Round(unsigned nScale) noexcept
{
    Pack(Unpack(m_dec), m_dec, nScale);
}

// ---- Arithmetic ----

bool COrvDecimal::Add(const COrvDecimal& other) noexcept
{
    return Pack(Sum(Unpack(m_dec), Unpack(other.m_dec)), m_dec);
}

bool COrvDecimal::Subtract(const COrvDecimal& other) noexcept
{
    return Add(-other);
}

bool COrvDecimal::Multiply(const COrvDecimal& other) noexcept
{
    const CExact a = Unpack(m_dec);
    const CExact b = Unpack(other.m_dec);
    return Pack(
        {CWideInt::Product(a.m_n, b.m_n, kWords), a.m_nScale + b.m_nScale, a.m_bNegative != b.m_bNegative},
        m_dec);
}

COrvDecimal& COrvDecimal::operator+=(const COrvDecimal& other)
{
    if (!Add(other))
        LQThrowInvalidArg(LQ_SRC_LOCATION);
    return *this;
}

COrvDecimal& COrvDecimal::operator-=(const COrvDecimal& other)
{
    if (!Subtract(other))
        LQThrowInvalidArg(LQ_SRC_LOCATION);
    return *this;
}

COrvDecimal& COrvDecimal::operator*=(const COrvDecimal& other)
{
    if (!Multiply(other))
        LQThrowInvalidArg(LQ_SRC_LOCATION);
    return *this;
}

COrvDecimal COrvDecimal::operator-() const noexcept
{
    COrvDecimal result = *this;
    result.Negate();
    return result;
}

int COrvDecimal::Compare(const COrvDecimal& other) const noexcept
{
    const CExact difference = Sum(Unpack(m_dec), Unpack((-other).m_dec));
    return difference.m_n.IsZero() ? 0 : difference.m_bNegative ? -1 : 1;
}
