// The order of texts, as the library relies on it.
#include "support/random.h"
#include "support/text.h"
#include "support/wine.h"

#include <thread>

namespace
{

int Compare(const Text& sA, const Text& sB, DWORD dwFlags = 0)
{
    return CompareStringW(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT | dwFlags, sA.data(),
                          static_cast<int>(sA.size()), sB.data(), static_cast<int>(sB.size()));
}

char Sign(int nResult)
{
    return nResult == CSTR_LESS_THAN      ? '<'
           : nResult == CSTR_EQUAL        ? '='
           : nResult == CSTR_GREATER_THAN ? '>'
                                          : '!';
}

// Behind ignored soft hyphens no short way can be taken, but the result must be the same.
void ExpectSameTheLongWay(const Text& sA, const Text& sB)
{
    SCOPED_TRACE(testing::PrintToString(sA) + " " + testing::PrintToString(sB));
    for (const DWORD dwFlags : {0u, static_cast<unsigned>(NORM_IGNORECASE)})
    {
        const char cLongWay = Sign(Compare(ORVTEXT("\u00AD") + sA, ORVTEXT("\u00AD\u00AD") + sB, dwFlags));
        ASSERT_EQ(cLongWay, Sign(Compare(sA, sB, dwFlags)));
        ASSERT_EQ(cLongWay, Sign(CompareStringW(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT | dwFlags, sA.c_str(),
                                                -1, sB.c_str(), -1)));
    }
}

} // namespace

TEST(Collation, OrdersAsWindowsDoes)
{
    const auto Order = [](const Text& sA, const Text& sB, DWORD dwFlags = 0) {
        const int nResult = Compare(sA, sB, dwFlags);
        EXPECT_EQ(CSTR_LESS_THAN + CSTR_GREATER_THAN, nResult + Compare(sB, sA, dwFlags));
        return Sign(nResult);
    };
    EXPECT_EQ('<', Order(ORVTEXT("co-op"), ORVTEXT("coop")));
    EXPECT_EQ('<', Order(ORVTEXT("a"), ORVTEXT("A")));
    EXPECT_EQ('<', Order(ORVTEXT("A"), ORVTEXT("b")));
    EXPECT_EQ('=', Order(ORVTEXT("a"), ORVTEXT("A"), NORM_IGNORECASE));
    EXPECT_EQ('>', Order(ORVTEXT("\u00E9"), ORVTEXT("e")));
    EXPECT_EQ('<', Order(ORVTEXT("\u00E9"), ORVTEXT("f")));
    EXPECT_EQ('<', Order(ORVTEXT("\u00E9a"), ORVTEXT("eb")));
    EXPECT_EQ('=', Order(ORVTEXT("\u00C9t\u00C9"), ORVTEXT("\u00E9T\u00E9"), NORM_IGNORECASE));
    EXPECT_EQ('<', Order(ORVTEXT("cote\u0301"), ORVTEXT("c\u00F4te")));
    EXPECT_EQ('=', Order(ORVTEXT("resume\u0301"), ORVTEXT("resum\u00E9")));
    EXPECT_EQ('=', Order(ORVTEXT("stra\u00DFe"), ORVTEXT("strasse")));
    EXPECT_EQ('=', Order(ORVTEXT("STRASSE"), ORVTEXT("stra\u00DFe"), NORM_IGNORECASE));
    EXPECT_EQ('=', Order(ORVTEXT("\u00E6on"), ORVTEXT("aeon")));
    EXPECT_EQ('<', Order(ORVTEXT("10"), ORVTEXT("9")));
    EXPECT_EQ('=', Order(ORVTEXT("co\u00ADop"), ORVTEXT("coop")));
    EXPECT_EQ('<', Order(ORVTEXT("a b"), ORVTEXT("ab")));
    EXPECT_EQ('<', Order(ORVTEXT(""), ORVTEXT("a")));
    EXPECT_EQ('>', Order(ORVTEXT("aB"), ORVTEXT("ab")));
    EXPECT_EQ('<', Order(ORVTEXT("aB"), ORVTEXT("abc")));
    EXPECT_EQ('<', Order(ORVTEXT("\u043F"), ORVTEXT("\u0440")));
    EXPECT_EQ('>', Order(ORVTEXT("\u4E00"), ORVTEXT("z")));
}

TEST(Collation, TakesLengthsAndRefusesBadArguments)
{
    const auto ErrorOf = [](LCID nLocale, DWORD dwFlags, const WCHAR* pA, int nA, const WCHAR* pB, int nB) {
        SetLastError(0);
        return CompareStringW(nLocale, dwFlags, pA, nA, pB, nB) ? DWORD{0} : GetLastError();
    };
    const WCHAR* const pText = ORVTEXT("ab\0c");
    EXPECT_EQ(CSTR_EQUAL, CompareStringW(LOCALE_USER_DEFAULT, SORT_STRINGSORT, pText, -1, pText, 2));
    EXPECT_EQ(CSTR_LESS_THAN, CompareStringW(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT, pText, 2, pText, 4))
        << "a zero unit does not end a counted text";
    EXPECT_EQ(CSTR_EQUAL, CompareStringW(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT, pText, 0, ORVTEXT(""), -1));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER),
              ErrorOf(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT, nullptr, -1, pText, -1));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER),
              ErrorOf(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT, pText, -1, nullptr, 0));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_FLAGS),
              ErrorOf(LOCALE_SYSTEM_DEFAULT, 0x09000000, pText, -1, pText, -1));
}

TEST(Collation, SingleAsciiCharactersNeedNoCollator)
{
    for (WCHAR a = 0x20; a < 0x7F; ++a)
        for (WCHAR b = 0x20; b < 0x7F; ++b)
            ExpectSameTheLongWay(Text(1, a), Text(1, b));
}

TEST(Collation, ShortWaysGiveTheCollatorsResult)
{
    ORV_SKIP_WINE("does not weigh accents, case and punctuation level by level");
    const Text c_aAlphabets[] = {
        ORVTEXT("abAB"),
        ORVTEXT(" !-'09aAzZcsCSdzDZ_~lL\u00B7"),
        ORVTEXT("aA\u00E0\u00C0\u00E1\u00E5oO\u00F6\u00D6\u00F8\u00D8\u0151uU\u00FC\u0171sz\u00DF\u00E6\u00C6"
                "tcyI\u0130\u0131"),
        ORVTEXT("\u0435\u0451\u0415\u0401\u0438\u0439\u03B1\u03AC\u0391\u03C3\u03C2\u03A3ae\u2019\u2013 "
                "\u0142\u0141\u0111"),
        ORVTEXT("ae\u0301\u0308o\u00F3\u1EBF\u00EA\u00AD\u3042\u4E00\u00AA\uFF41\u2070lL\u00B7"),
    };
    CTestRandom random;
    for (const Text& sAlphabet : c_aAlphabets)
    {
        const auto RandomText = [&] {
            Text sText(random.UpTo(6), 0);
            for (WCHAR& c : sText)
                c = sAlphabet[random() % sAlphabet.size()];
            return sText;
        };
        for (int i = 0; i < 20000 && !testing::Test::HasFatalFailure(); ++i)
        {
            const Text sPrefix = RandomText();
            ExpectSameTheLongWay(sPrefix + RandomText(), sPrefix + RandomText());
        }
    }
}

TEST(Collation, AnyUnitsAreSafe)
{
    const Text sLong(100000, ORVTEXT('\u00DF'));
    EXPECT_EQ(CSTR_EQUAL, Compare(sLong, Text(200000, ORVTEXT('s'))));
    CTestRandom random;
    for (int i = 0; i < 2000; ++i)
    {
        Text aTexts[2];
        for (Text& sText : aTexts)
            for (unsigned n = random.UpTo(600); n; --n)
                sText.push_back(static_cast<WCHAR>(random.UpTo(3) ? random.UpTo(0x5FF) : random()));
        EXPECT_EQ(4, Compare(aTexts[0], aTexts[1], i & 1) + Compare(aTexts[1], aTexts[0], i & 1))
            << testing::PrintToString(aTexts);
    }
}

TEST(Collation, ThreadsCompareAtOnce)
{
    const auto CompareOften = [] {
        for (int i = 0; i < 5000; ++i)
            if (Compare(ORVTEXT("na\u00EFve\u0301"), ORVTEXT("na\u00EFv\u00E9")) != CSTR_EQUAL ||
                Compare(ORVTEXT("abc"), ORVTEXT("ABD"), NORM_IGNORECASE) != CSTR_LESS_THAN)
                ADD_FAILURE() << "round " << i;
    };
    std::thread other(CompareOften);
    CompareOften();
    other.join();
}
