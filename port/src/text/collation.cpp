// CompareStringW through ICU's collator for the locale of the environment, with Windows' equalities on top.
#include "process/sparememory.h"
#include "process/unload.h"
#include "text/collationtable.h"
#include "text/nlslocale.h"
#include "threads/portlock.h"

#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <windows.h>
#include <dlfcn.h>
#include <emmintrin.h>

namespace
{

// Characters that equal two others, case for case, in every locale that sorts them as these two.
struct CExpansion
{
    WCHAR m_cChar;
    WCHAR m_aUnits[2];
};

constexpr CExpansion kExpansions[] = {
    {0x00DF, {u's', u's'}}, {0x00C6, {u'A', u'E'}}, {0x00E6, {u'a', u'e'}},
    {0x0152, {u'O', u'E'}}, {0x0153, {u'o', u'e'}},
};

WCHAR FoldUnit(WCHAR c)
{
    const UChar32 cFolded = u_foldCase(c, U_FOLD_CASE_DEFAULT);
    return cFolded <= 0xFFFF ? static_cast<WCHAR>(cFolded) : c;
}

// A copy of a text in other units, on the stack while it is short.
class CScratch
{
public:
    explicit CScratch(std::size_t nRoom) : m_pHeap(nRoom > kInline ? new WCHAR[nRoom] : nullptr) {}

    void Append(WCHAR c) { Data()[m_nLength++] = c; }
    WCHAR* Data() { return m_pHeap ? m_pHeap.get() : m_aInline; }
    std::size_t Length() const { return m_nLength; }

private:
    static constexpr std::size_t kInline = 512;

    std::size_t m_nLength = 0;
    std::unique_ptr<WCHAR[]> m_pHeap;
    WCHAR m_aInline[kInline];
};

struct CText
{
    const WCHAR* m_pText;
    std::size_t m_nLength;

    bool IsEnd(std::size_t i) const { return i == m_nLength; }
};

// A text whose length is measured only when the collator asks for it.
struct CTerminated
{
    const WCHAR* m_pText;

    bool IsEnd(std::size_t i) const { return !m_pText[i]; }
    operator CText() const { return {m_pText, std::char_traits<WCHAR>::length(m_pText)}; }
};

// Stays until the library is unloaded: when the process ends other threads may still compare.
std::atomic<UCollator*> g_pCollator;

// ICU's caches are its own: where it were unloaded along with us, each load would leave a set of them behind.
[[gnu::constructor]] void KeepIcuLoaded()
{
    dlopen("libicui18n.so." U_ICU_VERSION_SHORT, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

// The collation of the process; const, hence shared by all threads without a lock.
class CCollation
{
public:
    CCollation();

    int Compare(CText a, CText b, bool bNoCase) const;

private:
    static bool IsPrimaryEqual(const UCollator* pCollator, const CExpansion& expansion);
    bool NeedsMapping(CText text) const;
    const CExpansion* FindExpansion(WCHAR c) const;
    CText Map(CText text, bool bNoCase, std::optional<CScratch>& scratch) const;
    void CountTowardsTables(const UCollator* pCollator) const noexcept;

    bool m_bTables = false; // whether its weights can be tabulated
    CExpansion m_aExpansions[std::size(kExpansions)];
    std::size_t m_nExpansions = 0;
};

// The collator's weights, with and without case.
struct CTables
{
    explicit CTables(const UCollator* pCollator)
    {
        m_Table.Read(pCollator);
        m_TableNoCase.ReadMapped(m_Table, FoldUnit);
    }

    CCollationTable m_Table;
    CCollationTable m_TableNoCase;
};

constinit CMadeOnce<CCollation> g_collation;
// Reading the weights takes milliseconds, so a program pays for them only when it has asked the collator
// often.
constinit CMadeOnce<CTables> g_tables;
constinit std::atomic<unsigned> g_nAskedCollator = 0;
constexpr unsigned kAskedBeforeTables = 4096;

CCollation::CCollation()
{
    if (!PortHasSpareMemory())
        throw std::bad_alloc();
    char sName[ULOC_FULLNAME_CAPACITY];
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UCollator, void (*)(UCollator*)> pCollator(
        ucol_open(EnvironmentLocale("LC_COLLATE", sName, sizeof sName), &status), ucol_close);
    ucol_setAttribute(pCollator.get(), UCOL_STRENGTH, UCOL_TERTIARY, &status);
    ucol_setAttribute(pCollator.get(), UCOL_ALTERNATE_HANDLING, UCOL_NON_IGNORABLE, &status);
    ucol_setAttribute(pCollator.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    ucol_setAttribute(pCollator.get(), UCOL_CASE_LEVEL, UCOL_OFF, &status);
    if (U_FAILURE(status))
        throw std::runtime_error("ICU lacks a collator");
    for (const CExpansion& expansion : kExpansions)
        if (IsPrimaryEqual(pCollator.get(), expansion))
            m_aExpansions[m_nExpansions++] = expansion;
    // Backward secondary weights would not lie side by side.
    m_bTables = ucol_getAttribute(pCollator.get(), UCOL_FRENCH_COLLATION, &status) == UCOL_OFF;
    g_pCollator = pCollator.release();
}

bool CCollation::IsPrimaryEqual(const UCollator* pCollator, const CExpansion& expansion)
{
    std::uint8_t aKeys[2][64] = {};
    ucol_getSortKey(pCollator, &expansion.m_cChar, 1, aKeys[0], 64);
    ucol_getSortKey(pCollator, expansion.m_aUnits, 2, aKeys[1], 64);
    const auto PrimaryLength = [](const std::uint8_t* pKey) {
        return std::strcspn(reinterpret_cast<const char*>(pKey), "\x01");
    };
    const std::size_t n = PrimaryLength(aKeys[0]);
    return n == PrimaryLength(aKeys[1]) && !std::memcmp(aKeys[0], aKeys[1], n);
}

const CExpansion* CCollation::FindExpansion(WCHAR c) const
{
    if (c < 0x00C6 || c > 0x0153)
        return nullptr;
    for (std::size_t i = 0; i < m_nExpansions; ++i)
        if (m_aExpansions[i].m_cChar == c)
            return &m_aExpansions[i];
    return nullptr;
}

bool CCollation::NeedsMapping(CText text) const
{
    for (std::size_t i = 0; i < text.m_nLength; ++i)
        if (FindExpansion(text.m_pText[i]))
            return true;
    return false;
}

// The text that the collator compares: case-folded and expanded where needed, else the text itself.
CText CCollation::Map(CText text, bool bNoCase, std::optional<CScratch>& scratch) const
{
    if (!bNoCase && !NeedsMapping(text))
        return text;
    scratch.emplace(2 * text.m_nLength);
    const auto Append = [&](UChar32 c) {
        if (c > 0xFFFF)
        {
            scratch->Append(U16_LEAD(c));
            scratch->Append(U16_TRAIL(c));
        }
        else if (const CExpansion* pExpansion = FindExpansion(static_cast<WCHAR>(c)))
        {
            scratch->Append(pExpansion->m_aUnits[0]);
            scratch->Append(pExpansion->m_aUnits[1]);
        }
        else
            scratch->Append(static_cast<WCHAR>(c));
    };
    for (std::size_t i = 0; i < text.m_nLength;)
    {
        UChar32 c;
        U16_NEXT(text.m_pText, i, text.m_nLength, c);
        Append(bNoCase ? u_foldCase(c, U_FOLD_CASE_DEFAULT) : c);
    }
    return {scratch->Data(), scratch->Length()};
}

void CCollation::CountTowardsTables(const UCollator* pCollator) const noexcept
try
{
    if (m_bTables && !g_tables.Peek() && ++g_nAskedCollator % kAskedBeforeTables == 0 && PortHasSpareMemory())
        g_tables.Get(pCollator);
}
catch (const std::bad_alloc&)
{
    // The collator goes on answering.
}

int CCollation::Compare(CText a, CText b, bool bNoCase) const
{
    std::optional<CScratch> scratchA;
    std::optional<CScratch> scratchB;
    a = Map(a, bNoCase, scratchA);
    b = Map(b, bNoCase, scratchB);
    if (a.m_nLength > INT_MAX || b.m_nLength > INT_MAX)
        throw std::bad_alloc();
    const UCollator* const pCollator = g_pCollator;
    if (!pCollator)
        throw std::runtime_error("the library is being unloaded");
    CountTowardsTables(pCollator);
    const UCollationResult result = ucol_strcoll(pCollator, a.m_pText, static_cast<int>(a.m_nLength),
                                                 b.m_pText, static_cast<int>(b.m_nLength));
    return result == UCOL_LESS ? CSTR_LESS_THAN : result == UCOL_GREATER ? CSTR_GREATER_THAN : CSTR_EQUAL;
}

// The length of the common beginning.
std::size_t CommonPrefix(CText a, CText b)
{
    const std::size_t nCommon = std::min(a.m_nLength, b.m_nLength);
    std::size_t i = 0;
    for (; i + 4 <= nCommon; i += 4)
    {
        std::uint64_t nA;
        std::uint64_t nB;
        std::memcpy(&nA, a.m_pText + i, 8);
        std::memcpy(&nB, b.m_pText + i, 8);
        if (nA != nB)
            return i + static_cast<std::size_t>(std::countr_zero(nA ^ nB)) / 16;
    }
    while (i < nCommon && a.m_pText[i] == b.m_pText[i])
        ++i;
    return i;
}

// Whether eight units can be read there: no terminated text ends in a page and goes on being read in the next
// one.
bool IsReadable(const WCHAR* p)
{
    return (reinterpret_cast<std::uintptr_t>(p) & 0xFFF) <= 0x1000 - 16;
}

// Reads past the end of a text, though not of its page; the sanitizers do not know that this is harmless.
__attribute__((no_sanitize("address", "thread"))) std::size_t CommonPrefix(CTerminated a, CTerminated b)
{
    std::size_t i = 0;
    for (;;)
    {
        const WCHAR* const pA = a.m_pText + i;
        const WCHAR* const pB = b.m_pText + i;
        if (!IsReadable(pA) || !IsReadable(pB))
        {
            if (*pA != *pB || !*pA)
                return i;
            ++i;
            continue;
        }
        const __m128i unitsA = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pA));
        const __m128i unitsB = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pB));
        const __m128i goesOn =
            _mm_andnot_si128(_mm_cmpeq_epi16(unitsA, _mm_setzero_si128()), _mm_cmpeq_epi16(unitsA, unitsB));
        const auto nGoesOn = static_cast<unsigned>(_mm_movemask_epi8(goesOn));
        if (nGoesOn != 0xFFFF)
            return i + static_cast<std::size_t>(std::countr_one(nGoesOn)) / 2;
        i += 8;
    }
}

constinit std::atomic<int> g_nAsciiOrder =
    -1; // whether the locale orders ASCII as most do; -1: not yet known

constexpr CAsciiTable c_AsciiTable(false);
constexpr CAsciiTable c_AsciiTableNoCase(true);

bool HasAsciiOrder()
{
    int nAsciiOrder = g_nAsciiOrder.load(std::memory_order_relaxed);
    if (nAsciiOrder < 0)
    {
        char sName[ULOC_FULLNAME_CAPACITY];
        const std::string_view sLocale = EnvironmentLocale("LC_COLLATE", sName, sizeof sName);
        const std::string_view sLanguage = sLocale.substr(0, sLocale.find('_'));
        constexpr std::string_view kLanguages[] = {"de", "en", "fr", "it", "nl", "pl", "pt", "ru", "uk"};
        // A variant may order as it likes.
        const bool bPlain = sLocale.size() <= std::string_view("ll_CC").size();
        nAsciiOrder = bPlain && std::ranges::find(kLanguages, sLanguage) != std::end(kLanguages);
        g_nAsciiOrder.store(nAsciiOrder, std::memory_order_relaxed);
    }
    return nAsciiOrder;
}

// What the tables say; ASCII needs none of the collator's.
template <class Text>
int CompareByTables(Text a, Text b, std::size_t nStart, bool bNoCase)
{
    if (const CTables* const pTables = g_tables.Peek()) [[likely]]
        return (bNoCase ? pTables->m_TableNoCase : pTables->m_Table).Compare(a, b, nStart);
    return HasAsciiOrder() ? (bNoCase ? c_AsciiTableNoCase : c_AsciiTable).Compare(a, b, nStart) : 0;
}

template <class Text>
int Compare(Text a, Text b, bool bNoCase)
{
    const std::size_t nStart = CommonPrefix(a, b);
    if (a.IsEnd(nStart) && b.IsEnd(nStart))
        return CSTR_EQUAL;
    if (const int nResult = CompareByTables(a, b, nStart, bNoCase))
        return nResult;
    return g_collation.Get().Compare(a, b, bNoCase);
}

CText TextOf(const WCHAR* p, int n)
{
    return {p, n < 0 ? std::char_traits<WCHAR>::length(p) : static_cast<std::size_t>(n)};
}

} // namespace

void PortFreeCollatorAtUnload() noexcept
{
    ucol_close(g_pCollator.exchange(nullptr));
}

int CompareStringW(LCID Locale, DWORD dwCmpFlags, LPCWSTR lpString1, int cchCount1, LPCWSTR lpString2,
                   int cchCount2) noexcept
try
{
    if (!lpString1 || !lpString2 || (Locale != LOCALE_SYSTEM_DEFAULT && Locale != LOCALE_USER_DEFAULT))
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (dwCmpFlags & ~(NORM_IGNORECASE | SORT_STRINGSORT))
    {
        SetLastError(ERROR_INVALID_FLAGS);
        return 0;
    }
    const bool bNoCase = dwCmpFlags & NORM_IGNORECASE;
    if (cchCount1 < 0 && cchCount2 < 0)
        return Compare(CTerminated{lpString1}, CTerminated{lpString2}, bNoCase);
    return Compare(TextOf(lpString1, cchCount1), TextOf(lpString2, cchCount2), bNoCase);
}
catch (const std::exception&)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
}
