// Both sets of functions for characters of three bytes, as only one of them is used on a machine: other tests
// say what that one must do, and the other one does the same.
#include "strings/utf8.h"
#include "strings/utf8threes.h"
#include "support/random.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

/// What a conversion gives in so much room and writes nowhere else.
template <class Unit, class Convert>
std::basic_string<Unit> SameByBoth(std::size_t nRoom, Convert convert)
{
    static const OCT::CThreeByteRuns* const s_pOfThisProcessor = OCT::g_pThreeByteRuns;
    std::basic_string<Unit> results[2];
    for (std::basic_string<Unit>& s : results)
    {
        OCT::g_pThreeByteRuns = &s == results ? &OCT::kSse2Runs : s_pOfThisProcessor;
        s.resize(nRoom + 2, Unit{0x55}); // a terminator may follow
        const std::size_t n = convert(s.data(), nRoom);
        EXPECT_EQ(Unit{0x55}, s.back());
        s.resize(n);
    }
    EXPECT_EQ(results[0], results[1]);
    return results[1];
}

TEST(ThreeByteRuns, BothSetsGiveTheSame)
{
    constexpr WCHAR kBorders[] = {0x0800, 0x0FFF, 0x1000, 0xD7FF, 0xD800, 0xDFFF, 0xE000,
                                  0xFFFF, 0x4E00, 0x3042, 'a',    0x7F,   0x80,   0x7FF};
    CTestRandom random;
    for (int i = 0; i < 6000 && !testing::Test::HasFailure(); ++i)
    {
        Text sText(1 + random.UpTo(100), 0);
        const unsigned nLast = random.UpTo(1) ? 13u : 9u; // with shorter ones or not
        for (WCHAR& c : sText)
            c = random.UpTo(20) ? static_cast<WCHAR>(0x3000 + random.UpTo(0x6FFF))
                                : kBorders[random.UpTo(nLast)];
        std::string sBytes = SameByBoth<char>(3 * sText.size() - random.UpTo(2), [&](char* p, std::size_t n) {
            return OCT::WideToUtf8(sText.data(), sText.size(), p, n);
        });
        for (unsigned n = random.UpTo(2); n && !sBytes.empty(); --n)
            sBytes[random() % sBytes.size()] = static_cast<char>(1 + random.UpTo(254));
        const std::vector<char> bytes(sBytes.begin(), sBytes.end()); // nothing behind them may be read
        SameByBoth<WCHAR>(sBytes.size(), [&](WCHAR* p, std::size_t n) {
            return OCT::Utf8ToWide(bytes.data(), bytes.size(), p, n);
        });
    }
}

TEST(EncodePairAsUtf8, IsReadBackAsThePair)
{
    for (unsigned n = 0; n < 0x100000; n += 0x5B)
    {
        Text sPair = {static_cast<WCHAR>(0xD800 | n >> 10), static_cast<WCHAR>(0xDC00 | (n & 0x3FF))};
        const Text sBefore = sPair;
        char aBytes[4];
        OCT::EncodePairAsUtf8(sPair[0], sPair[1], aBytes);
        OCT::Utf8ToWide(aBytes, 4, sPair.data(), 2);
        ASSERT_EQ(sBefore, sPair);
    }
}

} // namespace
