// The number writer against the C library's text of the same numbers.
#include "core/numtext.h"
#include "support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

namespace
{

constexpr std::size_t kRoom = OCT::kMaxFixedText + 1;
constexpr char kBehind = '\x7F';

/// What \p put writes, which is the same in either width; nothing is written behind it.
template <class Put>
std::string Written(Put put)
{
    std::string sNarrow(kRoom, kBehind);
    std::basic_string<WCHAR> sWide(kRoom, kBehind);
    const auto nLength = static_cast<std::size_t>(put(sNarrow.data()) - sNarrow.data());
    put(sWide.data());
    EXPECT_EQ(sNarrow, std::string(sWide.begin(), sWide.end()));
    EXPECT_EQ(std::string::npos, sNarrow.find_first_not_of(kBehind, nLength));
    return sNarrow.substr(0, nLength);
}

template <class... Args>
std::string Printed(const char* sFormat, Args... args)
{
    char sText[kRoom];
    std::snprintf(sText, sizeof sText, sFormat, args...);
    return sText;
}

std::uint64_t Next64(CTestRandom& random)
{
    const std::uint64_t nHigh = random();
    return nHigh << 32 | random();
}

void ExpectDouble(double d, int nDigits, int nDecimals)
{
    EXPECT_EQ(Printed("%.*g", nDigits, d), Written([=](auto* p) { return OCT::PutDouble(p, d, nDigits); }))
        << Printed("%a with %d digits", d, nDigits);
    EXPECT_EQ(Printed("%.*f", nDecimals, d), Written([=](auto* p) { return OCT::PutFixed(p, d, nDecimals); }))
        << Printed("%a with %d decimals", d, nDecimals);
}

template <class Int>
void ExpectInteger(Int n)
{
    const std::string sExpected = std::is_signed_v<Int> ? Printed("%lld", static_cast<long long>(n))
                                                        : Printed("%llu", static_cast<unsigned long long>(n));
    EXPECT_EQ(sExpected, Written([=](auto* p) { return OCT::PutDecimal(p, n); }));
}

void ExpectInteger(std::uint64_t n, unsigned nWidth)
{
    ExpectInteger(n);
    ExpectInteger(static_cast<std::int64_t>(n));
    ExpectInteger(static_cast<std::uint32_t>(n));
    ExpectInteger(static_cast<std::int32_t>(n));
    ExpectInteger(static_cast<std::int8_t>(n));
    EXPECT_EQ(Printed("%020llu", static_cast<unsigned long long>(n)).substr(20 - nWidth),
              Written([=](auto* p) { return OCT::PutDigits(p, n, nWidth); }));
    const unsigned nHexWidth = std::min(nWidth, 16u);
    EXPECT_EQ(Printed("%016llX", static_cast<unsigned long long>(n)).substr(16 - nHexWidth),
              Written([=](auto* p) { return OCT::PutHex(p, n, nHexWidth); }));
}

} // namespace

TEST(NumberText, IntegersOfAllLengths)
{
    CTestRandom random;
    for (int i = 0; i < 6000; ++i)
        ExpectInteger(Next64(random) >> random.UpTo(63), random.UpTo(20));
    // Where the number of digits changes, and the limits on the way.
    for (std::uint64_t nPower = 1; nPower <= UINT64_MAX / 10; nPower *= 10)
        for (const std::uint64_t n : {nPower - 1, nPower, 0 - nPower, 10 * nPower - 1})
            ExpectInteger(n, 20);
    for (int nShift = 7; nShift < 64; ++nShift)
        ExpectInteger(std::uint64_t{1} << nShift, 20);
}

TEST(NumberText, HexadecimalOfBytes)
{
    unsigned char bytes[256 + 256 % 101]; // the last text is of their end
    std::string sAll;
    for (std::size_t i = 0; i < sizeof bytes; ++i)
        sAll += Printed("%02X", bytes[i] = static_cast<unsigned char>(i));
    for (std::size_t i = 0; i <= 256; ++i)
        EXPECT_EQ(sAll.substr(2 * i, 2 * (i % 101)),
                  Written([&](auto* p) { return OCT::PutHexBytes(p, bytes + i, i % 101); }));
}

TEST(NumberText, DoublesOfEveryKind)
{
    CTestRandom random;
    const auto Power = [&](unsigned nMost) { return std::pow(10.0, random.UpTo(nMost)); };
    for (int i = 0; i < 12000; ++i)
    {
        const std::uint64_t n = Next64(random);
        const double dWhole = static_cast<double>(n >> random.UpTo(63));
        const double rows[] = {std::bit_cast<double>(n),                           // any
                               dWhole / Power(18),                                 // few decimals
                               dWhole / std::ldexp(1.0, static_cast<int>(n % 70)), // ties
                               (dWhole + 0.5) / Power(18),                         // nearly ties
                               std::nextafter(Power(19), n & 1 ? 0.0 : 1e300),     // beside a power of ten
                               (Power(17) - 0.5 / Power(8)) / Power(18)};          // rounded up to one
        const double d = rows[i % std::size(rows)];
        if (std::isfinite(d))
            ExpectDouble(n & 2 ? -d : d, 1 + static_cast<int>(random() % 20),
                         static_cast<int>(random() % 21));
    }
}

TEST(NumberText, DoublesAtTheLimits)
{
    using Limits = std::numeric_limits<double>;
    constexpr double dMin = Limits::min(), dLeast = Limits::denorm_min(), dMost = Limits::max();
    constexpr double dBelow11 = 0x1p-11 - 0x1p-64, dBelow64 = 0x1p64 - 0x1p11; // by one digit
    const double rows[] = {0.0,    0.1,        0.5,      1.5,        2.5,    9.5,  99.5,    0.125,
                           0.0001, 0.00099999, 1e15,     1e15 - 0.5, 1e16,   1e17, 0x1p-11, 0x1p63,
                           0x1p64, dBelow11,   dBelow64, dMin,       dLeast, dMost};
    for (const double d : rows)
        for (int n = 0; n <= OCT::kMaxDoubleDigits; ++n)
        {
            ExpectDouble(d, std::max(n, 1), n);
            ExpectDouble(-d, std::max(n, 1), n);
        }
    EXPECT_EQ("2", Written([](auto* p) { return OCT::PutDouble(p, 1.5, -1); })) << "at least one digit";
    EXPECT_EQ("2", Written([](auto* p) { return OCT::PutFixed(p, 1.5, -1); })) << "no decimals";
    EXPECT_EQ("-inf", Written([](auto* p) { return OCT::PutDouble(p, -Limits::infinity(), 15); }));
    EXPECT_EQ("nan", Written([](auto* p) { return OCT::PutFixed(p, Limits::quiet_NaN(), 2); }));
}
