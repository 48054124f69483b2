// Numbers in text: the parsers must not read past the end, must agree in both widths and with the plain
// rules; what the writer writes is the C++ library's text, and the parsers read it back.
#include "core/numtext.h"
#include "fuzzing.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/stringutils.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <string>
#include <string_view>

namespace
{

/// `ToUInt64` in the words of the standard library.
std::uint64_t Read(std::string_view sText, int iHex, std::uint64_t nDefault)
{
    const bool bHex = iHex == 1;
    if (bHex && (sText.starts_with("0x") || sText.starts_with("0X")))
        sText.remove_prefix(2);
    const std::string_view sDigits = bHex ? "0123456789ABCDEFabcdef" : "0123456789";
    if (sText.size() > (bHex ? 16 : 20) || sText.find_first_not_of(sDigits) != sText.npos)
        return nDefault;
    std::uint64_t n = 0;
    const auto result = std::from_chars(sText.data(), sText.data() + sText.size(), n, bHex ? 16 : 10);
    const std::uint64_t nMost = bHex ? UINT64_MAX : INT64_MAX;
    return result.ec == std::errc::result_out_of_range ? nMost : std::min(n, nMost);
}

void CheckToUInt64(const std::string& sText)
{
    const Text sWide(sText.begin(), sText.end());
    const COrvStr str(sWide.c_str(), false);
    for (const int iHex : {0, 1})
        for (const std::uint64_t nDefault : {0, 77})
            Require(str.ToUInt64(iHex, nDefault) == (sText.empty() ? nDefault : Read(sText, iHex, nDefault)));
}

void CheckParsers(const std::string& sText)
{
    const Text sWide(sText.begin(), sText.end());
    const auto n = naive_atoll(sText.c_str());
    Require(n == naive_wtoll(sWide.c_str()));
    Require(naive_atol(sText.c_str()) == static_cast<LONG>(n));
    Require(naive_wtol(sWide.c_str()) == static_cast<LONG>(n));
    const auto d = std::bit_cast<std::uint64_t>(naive_atof(sText.c_str()));
    Require(d == std::bit_cast<std::uint64_t>(naive_wtof(sWide.c_str())));
    std::int64_t nRead = 0;
    const char* pStart = sText.c_str() + std::min(sText.find_first_not_of(" \t"), sText.size());
    if (std::from_chars(pStart, sText.c_str() + sText.size(), nRead).ec == std::errc())
        Require(n == nRead);
}

void CheckIntegers(std::uint64_t n)
{
    COrvStr str;
    str.AppendNum(n >> 1);
    Require(str.ToUInt64(0, 0) == n >> 1);
    Require(naive_wtoll(str) == static_cast<LONGLONG>(n >> 1));
    str.Empty();
    str.AppendHex(n);
    Require(str.ToUInt64(1, 0) == n);
}

void CheckDouble(double d, int nDigits)
{
    char sText[OCT::kMaxFixedText];
    char sExpected[OCT::kMaxFixedText];
    const auto Written = [&](char* pEnd) {
        return std::string_view(sText, static_cast<std::size_t>(pEnd - sText));
    };
    const auto Expected = [&](std::chars_format eForm) {
        char* const pEnd = std::to_chars(sExpected, std::end(sExpected), d, eForm, nDigits).ptr;
        return std::string_view(sExpected, static_cast<std::size_t>(pEnd - sExpected));
    };
    Require(Written(OCT::PutDouble(sText, d, nDigits)) == Expected(std::chars_format::general));
    Require(Written(OCT::PutFixed(sText, d, nDigits)) == Expected(std::chars_format::fixed));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    // Exact copies up to the first zero, so that a read past the terminator is seen.
    const std::string sData(reinterpret_cast<const char*>(pData), nSize);
    const std::string sText = sData.c_str();
    CheckToUInt64(sText);
    CheckParsers(sText);
    if (nSize < 9)
        return 0;
    std::uint64_t nBits;
    std::memcpy(&nBits, pData, sizeof nBits);
    CheckIntegers(nBits);
    CheckDouble(std::bit_cast<double>(nBits), 1 + pData[8] % OCT::kMaxDoubleDigits);
    // Few decimals, which random bits never give.
    CheckDouble(static_cast<double>(static_cast<std::int64_t>(nBits) >> pData[8] % 64) / 1000,
                1 + pData[8] % 20);
    return 0;
}
