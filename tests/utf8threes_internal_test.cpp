// Both sets of functions for characters of three bytes, as only one of them is used on a machine.
#include "strings/utf8.h"
#include "strings/utf8threes.h"
#include "support/random.h"
#include "support/text.h"

#include <gtest/gtest.h>

namespace
{

/// One character, or one damaged part, at a time.
Text DecodeOneByOne(const std::string& sBytes)
{
    Text sText;
    unsigned nUsed;
    for (std::size_t i = 0; i < sBytes.size(); i += nUsed)
    {
        const char32_t c = OCT::DecodeUtf8(reinterpret_cast<const unsigned char*>(sBytes.data()) + i,
                                           sBytes.size() - i, nUsed);
        if (c > 0xFFFF)
            sText += {static_cast<WCHAR>(0xD7C0 + (c >> 10)), static_cast<WCHAR>(0xDC00 | (c & 0x3FF))};
        else
            sText += static_cast<WCHAR>(c);
    }
    return sText;
}

std::string EncodeOneByOne(const Text& sText)
{
    std::string sBytes;
    for (const WCHAR c : sText)
    {
        char aBytes[3];
        OCT::EncodeUnitAsUtf8(c, aBytes);
        sBytes.append(aBytes, OCT::Utf8LengthOfUnit(c));
    }
    return sBytes;
}

void ExpectSameAsOneByOne(const Text& sText, std::string sBytes)
{
    constexpr char cGuard = 0x55;
    std::string sEncoded(sBytes.size() + 2, cGuard);
    EXPECT_EQ(sBytes.size(), OCT::WideToUtf8(sText.data(), sText.size(), sEncoded.data(), sBytes.size()));
    EXPECT_EQ(sBytes, sEncoded.substr(0, sBytes.size()));
    EXPECT_EQ(cGuard, sEncoded.back());

    CTestRandom random;
    for (unsigned n = random.UpTo(2); n; --n)
        sBytes[random() % sBytes.size()] = static_cast<char>(1 + random.UpTo(254));
    const Text sExpected = DecodeOneByOne(sBytes);
    Text sDecoded(sExpected.size() + 2, cGuard);
    EXPECT_EQ(sExpected.size(),
              OCT::Utf8ToWide(sBytes.data(), sBytes.size(), sDecoded.data(), sExpected.size()));
    EXPECT_EQ(sExpected, sDecoded.substr(0, sExpected.size()));
    EXPECT_EQ(cGuard, sDecoded.back());
}

TEST(ThreeByteRuns, BothSetsDoAsOneCharacterAtATime)
{
    constexpr WCHAR kBorders[] = {0x0800, 0x0FFF, 0x1000, 0xD7FF, 0xD800, 0xDFFF, 0xE000,
                                  0xFFFF, 0x4E00, 0x3042, 'a',    0x7F,   0x80,   0x7FF};
    const OCT::CThreeByteRuns* const pOfThisProcessor = OCT::g_pThreeByteRuns;
    CTestRandom random;
    for (int i = 0; i < 6000 && !testing::Test::HasFailure(); ++i)
    {
        Text sText(1 + random.UpTo(100), 0);
        const unsigned nLast = random.UpTo(1) ? 13u : 9u; // with shorter ones or not
        for (WCHAR& c : sText)
            c = random.UpTo(20) ? static_cast<WCHAR>(0x3000 + random.UpTo(0x6FFF))
                                : kBorders[random.UpTo(nLast)];
        const std::string sBytes = EncodeOneByOne(sText);
        OCT::g_pThreeByteRuns = &OCT::kSse2Runs;
        ExpectSameAsOneByOne(sText, sBytes);
        OCT::g_pThreeByteRuns = pOfThisProcessor;
        ExpectSameAsOneByOne(sText, sBytes);
    }
}

} // namespace
