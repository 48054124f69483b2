// Decimals from text: what is read is written and read back as the same number, what is refused changes
// nothing, and sums, differences and products keep the laws that rounding does not touch.
#include "fuzzing.h"
#include "orvcomtypes/orvdecimal.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace
{

Text TextOf(const COrvDecimal& value)
{
    WCHAR sText[COrvDecimal::kMaxText];
    Require(value.CopyTo(sText, COrvDecimal::kMaxText) > 0);
    return sText;
}

COrvDecimal Read(const Text& s)
{
    COrvDecimal value(77);
    if (!value.SetText(s.c_str()))
    {
        Require(value == 77);
        return value;
    }
    COrvDecimal again;
    Require(again.SetText(TextOf(value).c_str()) && again == value && TextOf(again) == TextOf(value));
    Require(!value.IsZero() || !value.IsNegative());
    // Behind the point and before the digits zeros change nothing.
    const auto iDigit = s.find_first_of(ORVTEXT("0123456789."));
    Text sMore = s;
    sMore.insert(iDigit, 50, ORVTEXT('0'));
    Require(again.SetText(sMore.c_str()) && again == value);
    return value;
}

/// The result, or 0 and no change for overflow.
template <class Operation>
COrvDecimal Compute(COrvDecimal a, const COrvDecimal& b, Operation operation)
{
    const COrvDecimal before = a;
    if ((a.*operation)(b))
        return a;
    Require(a == before);
    return 0;
}

void CheckLaws(const COrvDecimal& a, const COrvDecimal& b)
{
    Require(Compute(a, b, &COrvDecimal::Add) == Compute(b, a, &COrvDecimal::Add));
    Require(Compute(a, b, &COrvDecimal::Multiply) == Compute(b, a, &COrvDecimal::Multiply));
    const COrvDecimal difference = Compute(a, b, &COrvDecimal::Subtract);
    Require(difference == -Compute(b, a, &COrvDecimal::Subtract));
    Require((a < b) == (b > a) && (a == b) == (b == a) && ((a <=> b) < 0) == (a.Compare(b) < 0));
    if (!difference.IsZero())
        Require(difference.IsNegative() == (a < b));
    Require(Compute(a, a, &COrvDecimal::Subtract).IsZero() && Compute(a, 1, &COrvDecimal::Multiply) == a);
    COrvDecimal rounded = a;
    rounded.Round(3);
    Require(rounded.GetScale() <= 3);
    const COrvDecimal off = Compute(a, rounded, &COrvDecimal::Subtract);
    COrvDecimal half;
    half.SetText(ORVTEXT("0.0005"));
    Require(off <= half && -off <= half);
    std::int64_t n;
    if (a.GetInt(n))
        Require(COrvDecimal(n) == Compute(COrvDecimal(n), 0, &COrvDecimal::Add));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const std::string sAll(reinterpret_cast<const char*>(pData), nSize);
    const std::size_t iCut = std::min(sAll.find('|'), sAll.size());
    const Text sFirst(sAll.begin(), sAll.begin() + static_cast<std::ptrdiff_t>(iCut));
    const Text sSecond(sAll.begin() + static_cast<std::ptrdiff_t>(std::min(iCut + 1, nSize)), sAll.end());
    CheckLaws(Read(sFirst.c_str()), Read(sSecond.c_str()));
    Text sWide(nSize / sizeof(WCHAR), 0);
    if (!sWide.empty())
        std::memcpy(sWide.data(), pData, sWide.size() * sizeof(WCHAR));
    Read(sWide.c_str());
    return 0;
}
