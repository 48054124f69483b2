// The short ways of comparing give the collator's result, whatever the locale's order is.
#include "support/child_process.h"
#include "support/random.h"
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <span>
#include <string>
#include <string_view>

namespace
{

// With letters that locales contract, order on their own, or tell apart by case or accent only.
const Text kAlphabets[] = {
    ORVTEXT("abAB"),
    ORVTEXT(" !-'09aAzZcsCSdzDZ_~lLgynNth\u00B7"),
    ORVTEXT(
        "aA\u00E0\u00C0\u00E1\u00C1\u00E4\u00C4\u00E5oO\u00F6\u00D6\u00F8\u00D8\u0151uU\u00FC\u0171sz\u00DF"
        "\u00E6\u00C6tcyI\u0130\u0131"),
    ORVTEXT(
        "a\u0105c\u0107C\u0106e\u0119\u00E9\u00E8\u00EA\u00EBE\u00C9l\u0142\u0141n\u0144oO\u00F3\u00F4s\u015B"
        "zZ\u017A\u017C\u017E\u010D\u0159"),
    ORVTEXT(
        "\u0435\u0451\u0415\u0401\u0438\u0439\u03B1\u03AC\u0391\u03C3\u03C2\u03A3ae\u2019\u2013 \u0142\u0141"
        "\u0111"),
    ORVTEXT("ae\u0301\u0308o\u00F3\u1EBF\u00EA\u00AD\u3042\u4E00\u00AA\uFF41\u2070lL\u00B7"),
};

void ExpectSameTheLongWay(const Text& sA, const Text& sB)
{
    for (const DWORD dwFlags : {SORT_STRINGSORT, SORT_STRINGSORT | NORM_IGNORECASE})
    {
        const auto Compare = [dwFlags](const Text& a, const Text& b, int nA = -1, int nB = -1) {
            return CompareStringW(LOCALE_SYSTEM_DEFAULT, dwFlags, a.c_str(), nA, b.c_str(), nB);
        };
        // Behind ignored soft hyphens no short way can be taken.
        const int nLongWay = Compare(ORVTEXT("\u00AD") + sA, ORVTEXT("\u00AD\u00AD") + sB);
        const int nCounted = Compare(sA, sB, static_cast<int>(sA.size()), static_cast<int>(sB.size()));
        ASSERT_TRUE(nLongWay != 0 && nLongWay == Compare(sA, sB) && nLongWay == nCounted)
            << testing::PrintToString(sA) << " " << testing::PrintToString(sB);
    }
}

/// The collator is asked often enough for its weights to be read in the first of the alphabets.
ORV_CHILD(CompareBothWays)
{
    for (WCHAR a = 0x20; a < 0x7F; ++a)
        for (WCHAR b = 0x20; b < 0x7F; ++b)
            ExpectSameTheLongWay(Text(1, a), Text(1, b));
    CTestRandom random;
    for (const Text& sAlphabet : std::span(kAlphabets).first(std::stoul(args.at(0))))
    {
        const auto RandomText = [&] {
            Text sText(random.UpTo(6), 0);
            for (WCHAR& c : sText)
                c = sAlphabet[random() % sAlphabet.size()];
            return sText;
        };
        for (int i = 0; i < 2000 && !testing::Test::HasFatalFailure(); ++i)
        {
            const Text sPrefix = RandomText();
            ExpectSameTheLongWay(sPrefix + RandomText(), sPrefix + RandomText());
        }
    }
    return testing::Test::HasFailure();
}

TEST(CollationLocales, ShortWaysGiveTheCollatorsResult)
{
    for (const char* sLocale : {"C", "en_US_POSIX", "hu_HU.UTF-8", "de_DE.UTF-8", "de@collation=phonebook",
                                "pl_PL.UTF-8", "fr_FR.UTF-8", "fr_CA.UTF-8", "cs_CZ.UTF-8", "da_DK.UTF-8"})
    {
        const CVariableGuard locale("LC_ALL", sLocale);
        // Canada weighs accents from the end, so its weights are not tabulated; where marks are ignored ICU
        // does not agree with itself.
        const std::size_t nAlphabets = std::size(kAlphabets) - (sLocale == std::string_view("fr_CA.UTF-8"));
        const ChildResult result = CChildProcess("CompareBothWays", {std::to_string(nAlphabets)}).Wait();
        EXPECT_EQ(0, result.m_iExitCode) << sLocale << ": " << result.m_sOutput;
    }
}

} // namespace
