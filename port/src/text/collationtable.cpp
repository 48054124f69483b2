#include "text/collationtable.h"

#include <windows.h>

#include <unicode/ucol.h>
#include <unicode/ucoleitr.h>
#include <unicode/uset.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr unsigned kCommonSecondary = 5;

// The parts of a legacy 32-bit collation element.
unsigned PrimaryOf(std::int32_t nElement)
{
    return static_cast<std::uint32_t>(nElement) >> 16;
}

unsigned SecondaryOf(std::int32_t nElement)
{
    return static_cast<std::uint32_t>(nElement) >> 8 & 0xFF;
}

// Whether the element only carries the lower bits of the one before it.
bool IsContinuation(std::int32_t nElement)
{
    return (nElement & 0xC0) == 0xC0;
}

enum class EElements
{
    Simple,
    Expanding, // a character of its own with several weights, or with a secondary one of its own
    Other
};

EElements ElementsOf(UCollationElements* pElements, WCHAR c)
{
    UErrorCode status = U_ZERO_ERROR;
    ucol_setText(pElements, &c, 1, &status);
    std::int32_t nElement = ucol_next(pElements, &status);
    if (U_FAILURE(status) || nElement == UCOL_NULLORDER || IsContinuation(nElement) || !PrimaryOf(nElement))
        return EElements::Other;
    if (SecondaryOf(nElement) != kCommonSecondary)
        return EElements::Expanding;
    while ((nElement = ucol_next(pElements, &status)) != UCOL_NULLORDER)
        if (!IsContinuation(nElement) && (PrimaryOf(nElement) || SecondaryOf(nElement) <= kCommonSecondary))
            return EElements::Expanding;
    return U_SUCCESS(status) ? EElements::Simple : EElements::Other;
}

// European scripts and general punctuation; other characters below the end are rare or not simple.
bool IsCandidate(WCHAR c)
{
    return (c >= 0x20 && c < 0x530) || (c >= 0x1E00 && c < 0x1F00) || (c >= 0x2010 && c < 0x2060);
}

} // namespace

// The three levels of a character's sort key.
struct CCollationTable::CLevels
{
    std::string m_aLevels[3];

    bool Read(const UCollator* pCollator, WCHAR c)
    {
        std::uint8_t aKey[64];
        const int n = ucol_getSortKey(pCollator, &c, 1, aKey, sizeof aKey);
        if (n < 2 || n > static_cast<int>(sizeof aKey))
            return false;
        int nLevel = 0;
        for (int i = 0; aKey[i]; ++i)
        {
            if (aKey[i] != 1)
                m_aLevels[nLevel].push_back(static_cast<char>(aKey[i]));
            else if (++nLevel > 2)
                return false;
        }
        return true;
    }

    // The level at which the other differs, or 3.
    int DifferenceTo(const CLevels& other) const
    {
        int nLevel = 0;
        while (nLevel < 3 && m_aLevels[nLevel] == other.m_aLevels[nLevel])
            ++nLevel;
        return nLevel;
    }
};

struct CCollationTable::CSimple
{
    WCHAR m_cChar = 0;
    CLevels m_Levels;

    bool operator<(const CSimple& other) const
    {
        return std::lexicographical_compare(m_Levels.m_aLevels, m_Levels.m_aLevels + 3,
                                            other.m_Levels.m_aLevels, other.m_Levels.m_aLevels + 3);
    }
};

void CCollationTable::Read(const UCollator* pCollator)
{
    m_aEntries.fill(kNotSimple);
    RankSimple(pCollator);
    FlagContractions(pCollator);
}

void CCollationTable::RankSimple(const UCollator* pCollator)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UCollationElements, void (*)(UCollationElements*)> pElements(
        ucol_openElements(pCollator, nullptr, 0, &status), ucol_closeElements);
    if (U_FAILURE(status))
        return;
    std::vector<CSimple> vSimple;
    for (WCHAR c = 0; c < kEnd; ++c)
    {
        CSimple simple{c, {}};
        const EElements elements = IsCandidate(c) ? ElementsOf(pElements.get(), c) : EElements::Other;
        if (elements == EElements::Expanding)
            m_aEntries[c] = kExpands;
        else if (elements == EElements::Simple && simple.m_Levels.Read(pCollator, c))
            vSimple.push_back(std::move(simple));
    }
    std::sort(vSimple.begin(), vSimple.end());
    CEntry aRanks[3] = {};
    for (std::size_t i = 0; i < vSimple.size(); ++i)
    {
        const int nLevel = i ? vSimple[i].m_Levels.DifferenceTo(vSimple[i - 1].m_Levels) : 0;
        if (nLevel < 3)
            ++aRanks[nLevel];
        std::fill(aRanks + std::min(nLevel + 1, 3), aRanks + 3, 0);
        m_aEntries[vSimple[i].m_cChar] =
            aRanks[0] << kPrimaryShift | aRanks[1] << kSecondaryShift | aRanks[2] << kTertiaryShift;
    }
}

void CCollationTable::FlagContractions(const UCollator* pCollator)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<USet, void (*)(USet*)> pSet(uset_openEmpty(), uset_close);
    ucol_getContractionsAndExpansions(pCollator, pSet.get(), nullptr, true, &status);
    if (U_FAILURE(status))
        m_aEntries.fill(kNotSimple);
    for (int iItem = 0; iItem < uset_getItemCount(pSet.get()); ++iItem)
    {
        UChar32 cFirst = 0;
        UChar32 cLast = 0;
        WCHAR aUnits[128];
        status = U_ZERO_ERROR;
        const int n = uset_getItem(pSet.get(), iItem, &cFirst, &cLast, aUnits, 128, &status);
        for (int i = 0; i < std::min(n, 128); ++i)
            if (aUnits[i] < kEnd)
                m_aEntries[aUnits[i]] |= (i + 1 < n ? kContractsBefore : 0) | (i > 0 ? kContractsAfter : 0);
    }
}

void CCollationTable::ReadMapped(const CCollationTable& source, WCHAR (*pMap)(WCHAR))
{
    for (WCHAR c = 0; c < kEnd; ++c)
        m_aEntries[c] = source.At(pMap(c));
}
