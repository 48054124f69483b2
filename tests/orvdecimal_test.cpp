// Exact decimal numbers.
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvdecimal.h"
#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <string>

namespace
{

std::string TextOf(const COrvDecimal& value)
{
    WCHAR sText[COrvDecimal::kMaxText];
    const unsigned nLen = value.CopyTo(sText, COrvDecimal::kMaxText);
    EXPECT_GT(nLen, 0u);
    EXPECT_EQ(Text(sText), Text(static_cast<const WCHAR*>(value.GetText())));
    return std::string(sText, sText + nLen);
}

COrvDecimal Decimal(const std::string& s)
{
    COrvDecimal value;
    EXPECT_TRUE(value.SetText(Wide(s).c_str())) << s;
    return value;
}

/// What \p s reads as, or "refused".
std::string Read(const std::string& s)
{
    COrvDecimal value(4711);
    if (value.SetText(Wide(s).c_str()))
        return TextOf(value);
    EXPECT_EQ("4711", TextOf(value)) << s;
    return "refused";
}

const std::string kMax = "79228162514264337593543950335"; // 2^96 - 1

// ---- Schoolbook arithmetic on digits ----

/// A number times ten to the power of kPlaces, the lowest digit first, each with the number's sign.
constexpr int kPlaces = 2 * COrvDecimal::kMaxScale;
using CModel = std::array<int, kPlaces + 64>;

CModel ModelOf(const COrvDecimal& value)
{
    const std::string s = TextOf(value);
    const std::size_t iFirst = s[0] == '-';
    CModel model = {};
    std::size_t i = kPlaces + std::min(s.find('.'), s.size()) - iFirst;
    for (const char c : s.substr(iFirst))
        if (c != '.')
            model[--i] = iFirst ? '0' - c : c - '0';
    return model;
}

CModel Negative(CModel model)
{
    for (int& n : model)
        n = -n;
    return model;
}

/// Digits of one sign, from sums of any.
CModel Carried(CModel model)
{
    CModel carried = model;
    for (std::size_t i = 0; i + 1 < carried.size(); ++i)
    {
        const int nCarry = (carried[i] - 9 * (carried[i] < 0)) / 10;
        carried[i] -= 10 * nCarry;
        carried[i + 1] += nCarry;
    }
    return carried.back() < 0 ? Negative(Carried(Negative(model))) : carried;
}

CModel Sum(CModel a, const CModel& b)
{
    for (std::size_t i = 0; i < a.size(); ++i)
        a[i] += b[i];
    return Carried(a);
}

CModel Product(const CModel& a, const CModel& b)
{
    CModel product = {};
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t j = 0; a[i] != 0 && j < b.size(); ++j)
            if (b[j] != 0)
                product.at(i + j - kPlaces) += a[i] * b[j];
    return Carried(product);
}

bool IsNegative(const CModel& model)
{
    return std::ranges::any_of(model, [](int n) { return n < 0; });
}

/// To the nearest number with so many digits behind the point, a tie to the even one.
CModel Rounded(CModel model, std::size_t nScale)
{
    const auto pPoint = model.begin() + static_cast<std::ptrdiff_t>(kPlaces - nScale);
    const int nSign = IsNegative(model) ? -1 : 1;
    const int nLast = nSign * pPoint[-1];
    const bool bTie = nLast == 5 && std::all_of(model.begin(), pPoint - 1, [](int n) { return n == 0; });
    std::fill(model.begin(), pPoint, 0);
    *pPoint += nSign * (bTie ? *pPoint & 1 : nLast >= 5);
    return Carried(model);
}

/// The text of the decimal nearest to a model, or "overflow".
std::string Nearest(const CModel& model, std::size_t nMostScale = COrvDecimal::kMaxScale)
{
    const auto withoutZeros = [](std::string s) {
        return s.erase(0, std::min(s.find_first_not_of('0'), s.size()));
    };
    for (std::size_t nScale = nMostScale + 1; nScale-- > 0;)
    {
        std::string s;
        for (const int n : Rounded(model, nScale))
            s.insert(s.begin(), static_cast<char>('0' + std::abs(n)));
        const std::string sDigits = withoutZeros(s.substr(0, s.size() - kPlaces + nScale));
        if (sDigits.size() > kMax.size() || (sDigits.size() == kMax.size() && sDigits > kMax))
            continue;
        s.insert(s.size() - kPlaces, ".");
        s = withoutZeros(s.erase(s.find_last_not_of('0') + 1));
        s.insert(0, s[0] == '.' ? "0" : "");
        s.resize(s.size() - s.ends_with('.'));
        return IsNegative(model) && s != "0" ? "-" + s : s;
    }
    return "overflow";
}

COrvDecimal RandomDecimal(CTestRandom& random)
{
    DECIMAL dec = {};
    const unsigned nBits = random.UpTo(96);
    dec.Lo64 = std::uint64_t{random()} << 32 | random();
    dec.Hi32 = nBits <= 64 ? 0 : random() >> (96 - nBits);
    dec.Lo64 = nBits >= 64 ? dec.Lo64 : nBits == 0 ? 0 : dec.Lo64 >> (64 - nBits);
    if (random.UpTo(3) == 0)
        dec.Lo64 = dec.Lo64 / 1000 * 1000 + 500 * random.UpTo(1); // ties
    dec.scale = static_cast<BYTE>(random.UpTo(COrvDecimal::kMaxScale));
    dec.sign = random.UpTo(1) ? DECIMAL_NEG : BYTE{};
    return COrvDecimal(dec);
}

template <class Operation>
std::string Result(COrvDecimal a, const COrvDecimal& b, Operation operation)
{
    const std::string sBefore = TextOf(a);
    if ((a.*operation)(b))
        return TextOf(a);
    EXPECT_EQ(sBefore, TextOf(a));
    return "overflow";
}

} // namespace

TEST(OrvDecimal, ArithmeticIsThatOfTheSchoolbook)
{
    CTestRandom random;
    for (int i = 0; i < 1000; ++i)
    {
        const COrvDecimal a = RandomDecimal(random);
        const COrvDecimal b = random.UpTo(9) == 0 ? a : RandomDecimal(random);
        SCOPED_TRACE(TextOf(a) + " and " + TextOf(b));
        const CModel modelA = ModelOf(a);
        const CModel modelB = ModelOf(b);
        ASSERT_EQ(Nearest(Product(modelA, modelB)), Result(a, b, &COrvDecimal::Multiply));
        ASSERT_EQ(Nearest(Sum(modelA, modelB)), Result(a, b, &COrvDecimal::Add));
        const CModel difference = Sum(modelA, Negative(modelB));
        ASSERT_EQ(Nearest(difference), Result(a, b, &COrvDecimal::Subtract));
        ASSERT_EQ(difference == CModel{} ? 0 : IsNegative(difference) ? -1 : 1, a.Compare(b));
        const unsigned nScale = random.UpTo(COrvDecimal::kMaxScale);
        COrvDecimal rounded = a;
        rounded.Round(nScale);
        ASSERT_EQ(Nearest(modelA, nScale), TextOf(rounded)) << nScale;
    }
}

TEST(OrvDecimal, RoundsOnceAndReportsOverflow)
{
    const COrvDecimal max = Decimal(kMax);
    // The last digit that fits decides, not one of those that go.
    EXPECT_EQ("0.0000000000000000000000000001", TextOf(Decimal("1e-14") * Decimal("0.51e-14")));
    EXPECT_EQ("0", TextOf(Decimal("1e-14") * Decimal("0.5e-14")));
    EXPECT_EQ(kMax, TextOf(max + Decimal("0.4999")));
    EXPECT_EQ(kMax,
              TextOf(Decimal("7.9228162514264337593543950335") * Decimal("10000000000000000000000000000")));
    EXPECT_THROW(max + Decimal("0.5"), CLQInvalidargExcept);
    EXPECT_THROW(-max - 1, CLQInvalidargExcept);
    EXPECT_THROW(max * Decimal("1.1"), CLQInvalidargExcept);
    EXPECT_EQ("7922816251426433759354395034", TextOf(max * Decimal("0.1") + Decimal("0.5")));
}

TEST(OrvDecimal, ReadsText)
{
    EXPECT_EQ("-12.5", Read(" \t-12.500 \n"));
    EXPECT_EQ("0.5", Read("+.5"));
    EXPECT_EQ("5", Read("5."));
    EXPECT_EQ("0", Read("-0.00"));
    EXPECT_EQ("1500", Read("1.5E+3"));
    EXPECT_EQ("0.0015", Read("1.5e-3"));
    EXPECT_EQ("-" + kMax, Read("-" + kMax));
    EXPECT_EQ(kMax,
              Read("00000000000000000000000000000000000000000000000000000000000000000" + kMax + ".4999"));
    EXPECT_EQ("0.3333333333333333333333333333", Read("0." + std::string(200, '3')));
    EXPECT_EQ("0.6666666666666666666666666667", Read("0." + std::string(200, '6')));
    EXPECT_EQ("0.0000000000000000000000000001",
              Read("0.00000000000000000000000000005" + std::string(99, '0') + "1"));
    EXPECT_EQ("0", Read("0.00000000000000000000000000005"));
    EXPECT_EQ("1", Read("1" + std::string(300, '0') + "e-300"));
    EXPECT_EQ("1", Read("0." + std::string(300, '0') + "1e301"));
    EXPECT_EQ("0", Read("9e-99999999999999999999"));
    EXPECT_EQ("0", Read("0e99999999999999999999"));
    for (const std::string s : {"", " ", "-", ".", "+-1", "1.2.3", "1,5", "1e", "1e+", "0x1", "1 2", "1_",
                                "e5", "79228162514264337593543950336", "79228162514264337593543950335.5",
                                "1e29", "1e99999999999999999999"})
        EXPECT_EQ("refused", Read(s)) << s;
    EXPECT_FALSE(COrvDecimal().SetText(nullptr));
}

TEST(OrvDecimal, IntegersGoInAndOut)
{
    using Limits = std::numeric_limits<std::int64_t>;
    EXPECT_EQ("-9223372036854775808", TextOf(Limits::min()));
    EXPECT_EQ("18446744073709551615", TextOf(~0ull));
    EXPECT_EQ("-2147483648", TextOf(std::numeric_limits<LONG>::min()));
    std::int64_t n = 4711;
    std::uint64_t nUnsigned = 4711;
    std::int32_t nShort = 4711;
    std::uint32_t nShortUnsigned = 4711;
    EXPECT_TRUE(Decimal("-9223372036854775808.5").GetInt(n) && n == Limits::min());
    EXPECT_TRUE(Decimal("9223372036854775807.4").GetInt(n) && n == Limits::max());
    EXPECT_FALSE(Decimal("9223372036854775807.5").GetInt(n) || Decimal("18446744073709551616").GetInt(n));
    EXPECT_EQ(Limits::max(), n);
    EXPECT_TRUE(Decimal("18446744073709551615").GetInt(nUnsigned) && nUnsigned == ~0ull);
    EXPECT_TRUE(Decimal("-0.5").GetInt(nUnsigned) && nUnsigned == 0);
    EXPECT_FALSE(Decimal("-0.51").GetInt(nUnsigned) || Decimal("18446744073709551616").GetInt(nUnsigned));
    EXPECT_TRUE(Decimal("2.5").GetInt(nShort) && nShort == 2);
    EXPECT_TRUE(Decimal("-3.5").GetInt(nShort) && nShort == -4);
    EXPECT_FALSE(COrvDecimal(2147483648u).GetInt(nShort) || COrvDecimal(-1).GetInt(nShortUnsigned));
    EXPECT_TRUE(COrvDecimal(4294967295u).GetInt(nShortUnsigned) && nShortUnsigned == 4294967295u);
}

TEST(OrvDecimal, WrapsTheSystemsType)
{
    CReportCapture capture;
    DECIMAL dec = {};
    dec.sign = DECIMAL_NEG;
    EXPECT_FALSE(COrvDecimal(dec).IsNegative());
    dec.Lo64 = 1500;
    dec.scale = 3;
    const COrvDecimal value(dec);
    EXPECT_TRUE(value.IsNegative() && value.GetScale() == 3 && value == Decimal("-1.5"));
    EXPECT_EQ(1500u, value.Get().Lo64);
    EXPECT_EQ(DECIMAL_NEG, value.Get().sign);
    dec.scale = 28;
    EXPECT_EQ(28u, COrvDecimal(dec).GetScale());
    EXPECT_NO_REPORTS(capture);
    dec.scale = 29;
    EXPECT_TRUE(COrvDecimal(dec).IsZero());
    EXPECT_REPORTS(capture, {{"COrvDecimal::COrvDecimal", "dec.scale > 28", "", "orvdecimal"}});
    WCHAR sText[4] = {ORVTEXT('x')};
    EXPECT_EQ(0u, value.CopyTo(sText, 4));
    EXPECT_EQ(0, sText[0]);
    EXPECT_EQ(0u, value.CopyTo(nullptr, 0));
}
