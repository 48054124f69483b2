// The order of texts, as the library relies on it.
#include "orvcomtypes/orvexport.h"
#include "support/wine.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

namespace
{

using CWide = std::basic_string<WCHAR>;

int Compare(const CWide& sA, const CWide& sB, DWORD dwFlags = 0)
{
    return CompareStringW(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT | dwFlags, sA.data(),
                          static_cast<int>(sA.size()), sB.data(), static_cast<int>(sB.size()));
}

// Compares the texts behind ignored soft hyphens: the result must be the same, but no short way can be taken.
int CompareTheLongWay(const CWide& sA, const CWide& sB, DWORD dwFlags)
{
    return Compare(ORVTEXT("\u00AD") + sA, ORVTEXT("\u00AD\u00AD") + sB, dwFlags);
}

const char* ResultText(int nResult)
{
    return nResult == CSTR_LESS_THAN      ? "<"
           : nResult == CSTR_EQUAL        ? "="
           : nResult == CSTR_GREATER_THAN ? ">"
                                          : "fails";
}

std::string CodesOf(const CWide& sText)
{
    std::string sCodes;
    char aCode[8];
    for (const WCHAR c : sText)
    {
        std::snprintf(aCode, sizeof aCode, "%04X ", static_cast<unsigned>(c));
        sCodes += aCode;
    }
    return sCodes;
}

void ExpectSameTheLongWay(const CWide& sA, const CWide& sB)
{
    for (const DWORD dwFlags : {0u, static_cast<unsigned>(NORM_IGNORECASE)})
    {
        const int nLongWay = CompareTheLongWay(sA, sB, dwFlags);
        ASSERT_STREQ(ResultText(nLongWay), ResultText(Compare(sA, sB, dwFlags)))
            << CodesOf(sA) << "| " << CodesOf(sB) << (dwFlags ? "ignoring case" : "");
        ASSERT_STREQ(ResultText(nLongWay),
                     ResultText(CompareStringW(LOCALE_SYSTEM_DEFAULT, SORT_STRINGSORT | dwFlags, sA.c_str(),
                                               -1, sB.c_str(), -1)))
            << "terminated " << CodesOf(sA) << "| " << CodesOf(sB) << (dwFlags ? "ignoring case" : "");
    }
}

} // namespace

TEST(Collation, OrdersAsWindowsDoes)
{
    struct CRow
    {
        CWide m_sA;
        const char* m_sResult;
        CWide m_sB;
        DWORD m_dwFlags;
    };
    const CRow c_aRows[] = {
        {ORVTEXT("co-op"), "<", ORVTEXT("coop"), 0},
        {ORVTEXT("a"), "<", ORVTEXT("A"), 0},
        {ORVTEXT("A"), "<", ORVTEXT("b"), 0},
        {ORVTEXT("a"), "=", ORVTEXT("A"), NORM_IGNORECASE},
        {ORVTEXT("\u00E9"), ">", ORVTEXT("e"), 0},
        {ORVTEXT("\u00E9"), "<", ORVTEXT("f"), 0},
        {ORVTEXT("\u00E9a"), "<", ORVTEXT("eb"), 0},
        {ORVTEXT("\u00C9t\u00C9"), "=", ORVTEXT("\u00E9T\u00E9"), NORM_IGNORECASE},
        {ORVTEXT("cote\u0301"), "<", ORVTEXT("c\u00F4te"), 0},
        {ORVTEXT("resume\u0301"), "=", ORVTEXT("resum\u00E9"), 0},
        {ORVTEXT("stra\u00DFe"), "=", ORVTEXT("strasse"), 0},
        {ORVTEXT("STRASSE"), "=", ORVTEXT("stra\u00DFe"), NORM_IGNORECASE},
        {ORVTEXT("\u00E6on"), "=", ORVTEXT("aeon"), 0},
        {ORVTEXT("10"), "<", ORVTEXT("9"), 0},
        {ORVTEXT("co\u00ADop"), "=", ORVTEXT("coop"), 0},
        {ORVTEXT("a b"), "<", ORVTEXT("ab"), 0},
        {ORVTEXT(""), "<", ORVTEXT("a"), 0},
        {ORVTEXT("aB"), ">", ORVTEXT("ab"), 0},
        {ORVTEXT("aB"), "<", ORVTEXT("abc"), 0},
        {ORVTEXT("\u043F"), "<", ORVTEXT("\u0440"), 0},
        {ORVTEXT("\u4E00"), ">", ORVTEXT("z"), 0},
    };
    for (const CRow& row : c_aRows)
    {
        EXPECT_STREQ(row.m_sResult, ResultText(Compare(row.m_sA, row.m_sB, row.m_dwFlags)))
            << CodesOf(row.m_sA) << "| " << CodesOf(row.m_sB);
        const char* sReverse = *row.m_sResult == '<' ? ">" : *row.m_sResult == '>' ? "<" : "=";
        EXPECT_STREQ(sReverse, ResultText(Compare(row.m_sB, row.m_sA, row.m_dwFlags)))
            << CodesOf(row.m_sB) << "| " << CodesOf(row.m_sA);
    }
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
            ExpectSameTheLongWay(CWide(1, a), CWide(1, b));
}

TEST(Collation, ShortWaysGiveTheCollatorsResult)
{
    ORV_SKIP_WINE("does not weigh accents, case and punctuation level by level");
    const CWide c_aAlphabets[] = {
        ORVTEXT("abAB"),
        ORVTEXT(" !-'09aAzZcsCSdzDZ_~lL\u00B7"),
        ORVTEXT("aA\u00E0\u00C0\u00E1\u00E5oO\u00F6\u00D6\u00F8\u00D8\u0151uU\u00FC\u0171sz\u00DF\u00E6\u00C6"
                "tcyI\u0130\u0131"),
        ORVTEXT("\u0435\u0451\u0415\u0401\u0438\u0439\u03B1\u03AC\u0391\u03C3\u03C2\u03A3ae\u2019\u2013 "
                "\u0142\u0141\u0111"),
        ORVTEXT("ae\u0301\u0308o\u00F3\u1EBF\u00EA\u00AD\u3042\u4E00\u00AA\uFF41\u2070lL\u00B7"),
    };
    const unsigned nSeed = std::random_device()();
    SCOPED_TRACE(nSeed);
    std::mt19937 random(nSeed);
    for (const CWide& sAlphabet : c_aAlphabets)
    {
        const auto RandomText = [&] {
            CWide sText(random() % 7, 0);
            for (WCHAR& c : sText)
                c = sAlphabet[random() % sAlphabet.size()];
            return sText;
        };
        for (int i = 0; i < 20000 && !testing::Test::HasFatalFailure(); ++i)
        {
            const CWide sPrefix = RandomText();
            ExpectSameTheLongWay(sPrefix + RandomText(), sPrefix + RandomText());
        }
    }
}

TEST(Collation, AnyUnitsAreSafe)
{
    const unsigned nSeed = std::random_device()();
    SCOPED_TRACE(nSeed);
    std::mt19937 random(nSeed);
    const CWide sLong(100000, ORVTEXT('\u00DF'));
    EXPECT_EQ(CSTR_EQUAL, Compare(sLong, CWide(200000, ORVTEXT('s'))));
    for (int i = 0; i < 2000; ++i)
    {
        CWide aTexts[2];
        for (CWide& sText : aTexts)
            for (std::size_t n = random() % 600; n; --n)
                sText.push_back(static_cast<WCHAR>(random() % 4 ? random() % 0x600 : random()));
        const int nResult = Compare(aTexts[0], aTexts[1], i & 1);
        EXPECT_EQ(4, nResult + Compare(aTexts[1], aTexts[0], i & 1))
            << CodesOf(aTexts[0]) << "| " << CodesOf(aTexts[1]);
    }
}

TEST(Collation, ThreadsCompareAtOnce)
{
    std::vector<std::thread> vThreads;
    std::vector<int> vWrong(4);
    for (int& nWrong : vWrong)
        vThreads.emplace_back([&nWrong] {
            for (int i = 0; i < 5000; ++i)
                nWrong += Compare(ORVTEXT("na\u00EFve\u0301"), ORVTEXT("na\u00EFv\u00E9")) != CSTR_EQUAL ||
                          Compare(ORVTEXT("abc"), ORVTEXT("ABD"), NORM_IGNORECASE) != CSTR_LESS_THAN;
        });
    for (std::thread& thread : vThreads)
        thread.join();
    EXPECT_EQ(std::vector<int>(4), vWrong);
}
