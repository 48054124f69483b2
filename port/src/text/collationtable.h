// Weights of the characters that a collator treats one by one, so that most comparisons need no collator.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>

struct UCollator;

/// A character is simple when the collator gives it exactly one primary weight (with a common secondary one)
/// and after it nothing but secondary weights above the common one. Texts of simple characters that form no
/// contraction have their weights side by side: the first pair with different primary weights decides, else
/// the first pair with different secondary weights, else the first pair with different tertiary weights.
/// Within one primary weight the order of single characters is therefore the order in any context, and ranks
/// can stand for weights. Everything else is left to the collator.
template <WCHAR End>
class CRankTable
{
public:
    /// CSTR_LESS_THAN, CSTR_EQUAL or CSTR_GREATER_THAN, or 0: the collator has to look. The texts are equal
    /// up to \p i. A text has m_pText and tells by IsEnd(i) whether it ends there; it is asked from \p i on
    /// in order.
    template <class Text>
    int Compare(Text a, Text b, std::size_t i) const;

protected:
    using CEntry =
        std::uint32_t; // primary rank (0: not simple), secondary rank, tertiary rank, the two flags

    static constexpr WCHAR kEnd = End;

    static constexpr CEntry kContractsBefore = 1; // may stand in a contraction, not as its last character
    static constexpr CEntry kContractsAfter = 2;  // may stand in a contraction, not as its first character
    static constexpr CEntry kNotSimple = kContractsBefore | kContractsAfter;
    // Other weights, yet whatever stands around: the same character on both sides changes nothing, unless a
    // secondary difference before it leaves the weights out of step.
    static constexpr CEntry kExpands = 0;
    static constexpr unsigned kTertiaryShift = 2;
    static constexpr unsigned kSecondaryShift = 9;
    static constexpr unsigned kPrimaryShift = 18;

    constexpr CEntry At(WCHAR c) const { return c < kEnd ? m_aEntries[c] : kNotSimple; }
    static bool IsSimple(CEntry entry) { return entry >> kPrimaryShift; }
    static bool MayContract(CEntry before, CEntry after)
    {
        return (before & kContractsBefore) && (after & kContractsAfter);
    }

    std::array<CEntry, kEnd> m_aEntries;
};

/// The ranks of a locale. At the end of the table the European scripts and general punctuation lie below.
class CCollationTable : public CRankTable<0x2070>
{
public:
    void Read(const UCollator* pCollator);
    /// The same weights for characters in another spelling: \p pMap gives the character whose weights count.
    void ReadMapped(const CCollationTable& source, WCHAR (*pMap)(WCHAR));

private:
    struct CSimple;
    struct CLevels;

    void RankSimple(const UCollator* pCollator);
    void FlagContractions(const UCollator* pCollator);
};

/// The ranks of printable ASCII in the order that all but a few languages share, known without ICU. What
/// follows a character may contract with it when it is none of these.
class CAsciiTable : public CRankTable<0x80>
{
public:
    consteval explicit CAsciiTable(bool bNoCase)
    {
        constexpr const char* kOrder =
            " _-,;:!?.'\"()[]{}@*/\\&#%`^+<=>|~$0123456789abcdefghijklmnopqrstuvwxyz";
        m_aEntries.fill(kNotSimple);
        CEntry nPrimary = 0;
        for (const char* p = kOrder; *p; ++p)
            m_aEntries[static_cast<unsigned char>(*p)] = ++nPrimary << kPrimaryShift | kContractsBefore;
        for (unsigned char c = 'A'; c <= 'Z'; ++c)
            m_aEntries[c] = m_aEntries[c + ('a' - 'A')] + (bNoCase ? 0u : 1u << kTertiaryShift);
    }
};

template <WCHAR End>
template <class Text>
int CRankTable<End>::Compare(Text a, Text b, std::size_t i) const
{
    // Differences of the lower levels, from the first pair that has one: negative when A comes first.
    int nSecondary = 0;
    int nTertiary = 0;
    CEntry previousA = i ? At(a.m_pText[i - 1]) : 0;
    CEntry previousB = previousA;
    for (;; ++i)
    {
        const bool bEndA = a.IsEnd(i);
        if (bEndA || b.IsEnd(i))
        {
            if (bEndA && b.IsEnd(i))
                break;
            const CEntry next = At((bEndA ? b : a).m_pText[i]);
            if (!IsSimple(next) || MayContract(bEndA ? previousB : previousA, next))
                return 0;
            return bEndA ? CSTR_LESS_THAN : CSTR_GREATER_THAN;
        }
        const WCHAR cA = a.m_pText[i];
        const WCHAR cB = b.m_pText[i];
        const CEntry entryA = At(cA);
        if (cA == cB)
        {
            if ((!IsSimple(entryA) && (entryA != kExpands || nSecondary)) || MayContract(previousA, entryA) ||
                MayContract(previousB, entryA))
                return 0;
            previousA = previousB = entryA;
            continue;
        }
        const CEntry entryB = At(cB);
        if (!IsSimple(entryA) || !IsSimple(entryB) || MayContract(previousA, entryA) ||
            MayContract(previousB, entryB))
            return 0;
        const CEntry differing = entryA ^ entryB;
        if (differing >> kPrimaryShift)
        {
            if ((!a.IsEnd(i + 1) && MayContract(entryA, At(a.m_pText[i + 1]))) ||
                (!b.IsEnd(i + 1) && MayContract(entryB, At(b.m_pText[i + 1]))))
                return 0;
            return entryA < entryB ? CSTR_LESS_THAN : CSTR_GREATER_THAN;
        }
        if (!nSecondary && differing >> kSecondaryShift)
            nSecondary = entryA < entryB ? -1 : 1;
        if (!nTertiary && differing >> kTertiaryShift)
            nTertiary = entryA < entryB ? -1 : 1;
        previousA = entryA;
        previousB = entryB;
    }
    const int nDifference = nSecondary ? nSecondary : nTertiary;
    return nDifference < 0 ? CSTR_LESS_THAN : nDifference > 0 ? CSTR_GREATER_THAN : CSTR_EQUAL;
}
