// Exact decimal numbers.
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvdecimal.h"
#include "support/random.h"
#include "support/report_capture.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>

namespace
{

// Texts of ASCII characters are easier to compute with.
Text Wide(const std::string& s)
{
    return Text(s.begin(), s.end());
}

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

// ---- Schoolbook arithmetic on digit strings ----

/// A sign, digits with the lowest first, and how many of them are behind the point.
struct CModel
{
    bool bNegative;
    std::string sDigits;
    std::size_t nScale;
};

CModel ModelOf(const COrvDecimal& value)
{
    std::string s = TextOf(value);
    CModel model = {s[0] == '-', s.substr(s[0] == '-'), 0};
    if (const std::size_t iPoint = model.sDigits.find('.'); iPoint != std::string::npos)
    {
        model.nScale = model.sDigits.size() - iPoint - 1;
        model.sDigits.erase(iPoint, 1);
    }
    std::reverse(model.sDigits.begin(), model.sDigits.end());
    return model;
}

void Carry(std::vector<int>& digits)
{
    for (std::size_t i = 0; i < digits.size(); ++i)
        if (digits[i] < 0 || digits[i] > 9)
        {
            const int nCarry = digits[i] < 0 ? -1 : digits[i] / 10;
            if (i + 1 == digits.size())
                digits.push_back(0);
            digits[i] -= 10 * nCarry;
            digits[i + 1] += nCarry;
        }
}

CModel Product(const CModel& a, const CModel& b)
{
    std::vector<int> digits(a.sDigits.size() + b.sDigits.size());
    for (std::size_t i = 0; i < a.sDigits.size(); ++i)
        for (std::size_t j = 0; j < b.sDigits.size(); ++j)
            digits[i + j] += (a.sDigits[i] - '0') * (b.sDigits[j] - '0');
    Carry(digits);
    CModel product = {a.bNegative != b.bNegative, "", a.nScale + b.nScale};
    for (const int n : digits)
        product.sDigits += static_cast<char>('0' + n);
    return product;
}

CModel Sum(CModel a, CModel b)
{
    const std::size_t nScale = std::max(a.nScale, b.nScale);
    a.sDigits.insert(0, nScale - a.nScale, '0');
    b.sDigits.insert(0, nScale - b.nScale, '0');
    std::vector<int> digits(std::max(a.sDigits.size(), b.sDigits.size()) + 1);
    for (std::size_t i = 0; i < digits.size(); ++i)
    {
        const int nA = i < a.sDigits.size() ? a.sDigits[i] - '0' : 0;
        const int nB = i < b.sDigits.size() ? b.sDigits[i] - '0' : 0;
        digits[i] = (a.bNegative ? -nA : nA) + (b.bNegative ? -nB : nB);
    }
    const auto pFirst = std::find_if(digits.rbegin(), digits.rend(), [](int n) { return n != 0; });
    const bool bNegative = pFirst != digits.rend() && *pFirst < 0;
    for (int& n : digits)
        n = bNegative ? -n : n;
    Carry(digits);
    CModel sum = {bNegative, "", nScale};
    for (const int n : digits)
        sum.sDigits += static_cast<char>('0' + n);
    return sum;
}

bool FitsModel(const std::string& sDigits)
{
    std::string s(sDigits.rbegin(), sDigits.rend());
    s.erase(0, std::min(s.find_first_not_of('0'), s.size()));
    return s.size() < kMax.size() || (s.size() == kMax.size() && s <= kMax);
}

/// Cuts the lowest \p n digits, to the nearest number, a tie to the even one.
std::string Rounded(const std::string& sDigits, std::size_t n)
{
    if (n == 0)
        return sDigits;
    std::vector<int> digits;
    for (std::size_t i = n; i < sDigits.size(); ++i)
        digits.push_back(sDigits[i] - '0');
    digits.push_back(0);
    const char cLast = sDigits[n - 1];
    const bool bTie = cLast == '5' && sDigits.find_first_not_of('0') == n - 1;
    digits[0] += bTie ? digits[0] % 2 : cLast >= '5';
    Carry(digits);
    std::string sResult;
    for (const int nDigit : digits)
        sResult += static_cast<char>('0' + nDigit);
    return sResult;
}

/// The text of the decimal nearest to a model, or "overflow".
std::string Nearest(const CModel& model)
{
    for (std::size_t nCut = 0; nCut <= model.nScale; ++nCut)
    {
        std::string s = Rounded(model.sDigits, nCut);
        const std::size_t nScale = model.nScale - nCut;
        if (nScale > COrvDecimal::kMaxScale || !FitsModel(s))
            continue;
        s.append(nScale + 1 > s.size() ? nScale + 1 - s.size() : 0, '0');
        std::reverse(s.begin(), s.end());
        std::string sFraction = s.substr(s.size() - nScale);
        sFraction.erase(sFraction.find_last_not_of('0') + 1);
        std::string sWhole = s.substr(0, s.size() - nScale);
        sWhole.erase(0, std::min(sWhole.find_first_not_of('0'), sWhole.size() - 1));
        const std::string sText = sFraction.empty() ? sWhole : sWhole + "." + sFraction;
        return model.bNegative && sText != "0" ? "-" + sText : sText;
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
    for (int i = 0; i < 2000; ++i)
    {
        const COrvDecimal a = RandomDecimal(random);
        const COrvDecimal b = random.UpTo(9) == 0 ? a : RandomDecimal(random);
        SCOPED_TRACE(TextOf(a) + " and " + TextOf(b));
        const CModel modelA = ModelOf(a);
        const CModel modelB = ModelOf(b);
        CModel negative = modelB;
        negative.bNegative = !negative.bNegative;
        ASSERT_EQ(Nearest(Product(modelA, modelB)), Result(a, b, &COrvDecimal::Multiply));
        ASSERT_EQ(Nearest(Sum(modelA, modelB)), Result(a, b, &COrvDecimal::Add));
        const CModel difference = Sum(modelA, negative);
        ASSERT_EQ(Nearest(difference), Result(a, b, &COrvDecimal::Subtract));
        const bool bEqual = difference.sDigits.find_first_not_of('0') == std::string::npos;
        ASSERT_EQ(bEqual ? 0 : difference.bNegative ? -1 : 1, a.Compare(b));
        const unsigned nScale = random.UpTo(COrvDecimal::kMaxScale);
        COrvDecimal rounded = a;
        rounded.Round(nScale);
        CModel model = modelA;
        const std::size_t nCut = modelA.nScale - std::min<std::size_t>(modelA.nScale, nScale);
        model.sDigits = Rounded(model.sDigits, nCut);
        model.nScale -= nCut;
        ASSERT_EQ(Nearest(model), TextOf(rounded)) << nScale;
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
    EXPECT_EQ("0", TextOf(max - max));
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
    EXPECT_FALSE(Decimal("9223372036854775807.5").GetInt(n) || Decimal(kMax).GetInt(n));
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
    EXPECT_NO_REPORTS(capture);
    dec.scale = 29;
    EXPECT_TRUE(COrvDecimal(dec).IsZero());
    EXPECT_REPORTS(capture, {{"COrvDecimal::COrvDecimal", "dec.scale > 28", "", "orvdecimal"}});
    WCHAR sText[4] = {ORVTEXT('x')};
    EXPECT_EQ(0u, value.CopyTo(sText, 4));
    EXPECT_EQ(0, sText[0]);
    EXPECT_EQ(0u, value.CopyTo(nullptr, 0));
}
