// The order of texts, as the library relies on it.
#include "support/random.h"
#include "support/text.h"

#include <string>
#include <thread>

namespace
{

int Compare(const Text& sA, const Text& sB, DWORD dwFlags = 0)
{
    return CompareStringW(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT | dwFlags, sA.data(),
                          static_cast<int>(sA.size()), sB.data(), static_cast<int>(sB.size()));
}

} // namespace

TEST(Collation, OrdersAsWindowsDoes)
{
    const auto Order = [](const Text& sA, const Text& sB, DWORD dwFlags = 0) {
        const int nResult = Compare(sA, sB, dwFlags);
        EXPECT_EQ(CSTR_LESS_THAN + CSTR_GREATER_THAN, nResult + Compare(sB, sA, dwFlags));
        return std::string("!<=>").at(static_cast<std::size_t>(nResult));
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
    const auto ErrorOf = [](DWORD dwFlags, const WCHAR* pA, int nA, const WCHAR* pB, int nB) {
        SetLastError(0);
        return CompareStringW(LOCALE_SYSTEM_DEFAULT, dwFlags, pA, nA, pB, nB) ? DWORD{0} : GetLastError();
    };
    const WCHAR* const pText = ORVTEXT("ab\0c");
    EXPECT_EQ(CSTR_EQUAL, CompareStringW(LOCALE_USER_DEFAULT, SORT_STRINGSORT, pText, -1, pText, 2));
    EXPECT_EQ(CSTR_LESS_THAN, CompareStringW(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT, pText, 2, pText, 4))
        << "a zero unit does not end a counted text";
    EXPECT_EQ(CSTR_EQUAL, CompareStringW(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT, pText, 0, ORVTEXT(""), -1));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, ErrorOf(SORT_STRINGSORT, nullptr, -1, pText, -1));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, ErrorOf(SORT_STRINGSORT, pText, -1, nullptr, 0));
    EXPECT_EQ(DWORD{ERROR_INVALID_FLAGS}, ErrorOf(0x09000000, pText, -1, pText, -1));
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
    const std::jthread other(CompareOften);
    CompareOften();
}
