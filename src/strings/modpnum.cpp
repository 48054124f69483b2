#include "orvcomtypes/modpnum.h"

#include "core/numtext.h"
#include "orvcomtypes/orvexport.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace
{

constexpr double kMaxWhole = 2147483647;
constexpr std::uint32_t kPowersOfTen[] = {1,      10,      100,      1000,      10000,
                                          100000, 1000000, 10000000, 100000000, 1000000000};

/// The parts of a magnitude, rounded: \p m_nFraction may be one digit longer than there are decimals.
struct CRounded
{
    std::uint32_t m_nWhole;
    std::uint32_t m_nFraction;
};

bool IsTie(double dRest)
{
    return std::fabs(dRest - 0.5) < 1e-12;
}

CRounded RoundWhole(double dMagnitude)
{
    const auto nWhole = static_cast<std::uint32_t>(dMagnitude);
    const double dRest = dMagnitude - nWhole;
    const bool bUp = dRest > 0.5 || (IsTie(dRest) && nWhole % 2 != 0);
    return {nWhole + bUp, 0};
}

CRounded RoundFraction(double dMagnitude, std::uint32_t nPower)
{
    const auto nWhole = static_cast<std::uint32_t>(dMagnitude);
    const double dScaled = (dMagnitude - nWhole) * nPower;
    const auto nFraction = static_cast<std::uint32_t>(dScaled);
    const double dRest = dScaled - nFraction;
    if (dRest > 0.5)
        return nFraction + 1 == nPower ? CRounded{nWhole + 1, 0} : CRounded{nWhole, nFraction + 1};
    // Deliberate: 0 counts as odd, and there is no carry.
    const bool bUp = IsTie(dRest) && (nFraction == 0 || nFraction % 2 != 0);
    return {nWhole, nFraction + bUp};
}

/// A fraction that is as large as the power of ten keeps its additional digit.
char* PutFraction(char* p, std::uint32_t nFraction, int nDecimals)
{
    *p++ = '.';
    return nFraction >= kPowersOfTen[nDecimals]
               ? OCT::PutDecimal(p, nFraction)
               : OCT::PutDigits(p, nFraction, static_cast<unsigned>(nDecimals));
}

char* PutDecimals(char* p, double value, int prec, bool bDropZeros)
{
    if (std::isnan(value))
        return std::copy_n("nan", 3, p);
    const double dMagnitude = value < 0 ? -value : value;
    if (dMagnitude > kMaxWhole)
        return std::to_chars(p, p + OCT::kMaxDoubleText, value, std::chars_format::scientific, 6).ptr;
    prec = std::clamp(prec, 0, 9);
    const CRounded rounded =
        prec == 0 ? RoundWhole(dMagnitude) : RoundFraction(dMagnitude, kPowersOfTen[prec]);
    if (value < 0)
        *p++ = '-';
    p = OCT::PutDecimal(p, rounded.m_nWhole);
    if (prec == 0 || (bDropZeros && rounded.m_nFraction == 0))
        return p;
    p = PutFraction(p, rounded.m_nFraction, prec);
    while (bDropZeros && p[-1] == '0')
        --p;
    return p;
}

} // namespace

void ORVCALL modp_itoa10(std::int32_t value, char* str)
{
    *OCT::PutDecimal(str, value) = 0;
}

void ORVCALL modp_uitoa10(std::uint32_t value, char* str)
{
    *OCT::PutDecimal(str, value) = 0;
}

void ORVCALL modp_litoa10(std::int64_t value, char* str)
{
    *OCT::PutDecimal(str, value) = 0;
}

void ORVCALL modp_ulitoa10(std::uint64_t value, char* str)
{
    *OCT::PutDecimal(str, value) = 0;
}

void ORVCALL modp_dtoa(double value, char* str, int prec)
{
    *PutDecimals(str, value, prec, false) = 0;
}

void ORVCALL modp_dtoa2(double value, char* str, int prec)
{
    *PutDecimals(str, value, prec, true) = 0;
}
