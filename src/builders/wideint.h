/// Unsigned whole numbers of 192 bits: enough for the product of two decimals, and for one whose scale is
/// raised to that of another. Nothing checks for more than that but `MultiplyAdd`.
#pragma once

#include "core/numtext.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace OCT
{

struct CWideInt
{
    static constexpr std::size_t kWordCount = 6;
    /// Room for all digits.
    static constexpr std::size_t kMaxText = 58;

    std::uint32_t m_aWords[kWordCount] = {}; ///< the lowest first

    constexpr bool IsBelowWord(std::size_t nWords) const noexcept
    {
        return std::all_of(m_aWords + nWords, m_aWords + kWordCount, [](std::uint32_t n) { return n == 0; });
    }
    constexpr bool IsZero() const noexcept { return IsBelowWord(0); }

    /// What is left over.
    constexpr std::uint32_t DivideBy(std::uint32_t nDivisor) noexcept
    {
        std::uint64_t nRest = 0;
        for (std::size_t i = kWordCount; i-- > 0;)
        {
            nRest = nRest << 32 | m_aWords[i];
            m_aWords[i] = static_cast<std::uint32_t>(nRest / nDivisor);
            nRest %= nDivisor;
        }
        return static_cast<std::uint32_t>(nRest);
    }

    /// False when the result has more bits; the number is then lost.
    constexpr bool MultiplyAdd(std::uint32_t nFactor, std::uint32_t nMore) noexcept
    {
        std::uint64_t nCarry = nMore;
        for (std::uint32_t& nWord : m_aWords)
        {
            nCarry += std::uint64_t{nWord} * nFactor;
            nWord = static_cast<std::uint32_t>(nCarry);
            nCarry >>= 32;
        }
        return nCarry == 0;
    }

    /// \p nWords words of each factor; the rest of both is 0.
    static constexpr CWideInt Product(const CWideInt& a, const CWideInt& b, std::size_t nWords) noexcept
    {
        CWideInt product;
        for (std::size_t i = 0; i < nWords; ++i)
        {
            std::uint64_t nCarry = 0;
            for (std::size_t j = 0; j < nWords; ++j)
            {
                nCarry += product.m_aWords[i + j] + std::uint64_t{a.m_aWords[i]} * b.m_aWords[j];
                product.m_aWords[i + j] = static_cast<std::uint32_t>(nCarry);
                nCarry >>= 32;
            }
            product.m_aWords[i + nWords] = static_cast<std::uint32_t>(nCarry);
        }
        return product;
    }

    constexpr void Add(const CWideInt& other) noexcept
    {
        std::uint64_t nCarry = 0;
        for (std::size_t i = 0; i < kWordCount; ++i)
        {
            nCarry += std::uint64_t{m_aWords[i]} + other.m_aWords[i];
            m_aWords[i] = static_cast<std::uint32_t>(nCarry);
            nCarry >>= 32;
        }
    }

    /// \p other is not greater.
    constexpr void Subtract(const CWideInt& other) noexcept
    {
        std::uint64_t nBorrow = 0;
        for (std::size_t i = 0; i < kWordCount; ++i)
        {
            const std::uint64_t nDifference = std::uint64_t{m_aWords[i]} - other.m_aWords[i] - nBorrow;
            m_aWords[i] = static_cast<std::uint32_t>(nDifference);
            nBorrow = nDifference >> 63;
        }
    }

    constexpr int Compare(const CWideInt& other) const noexcept
    {
        for (std::size_t i = kWordCount; i-- > 0;)
            if (m_aWords[i] != other.m_aWords[i])
                return m_aWords[i] < other.m_aWords[i] ? -1 : 1;
        return 0;
    }
};

/// Room for any `CWideInt` with a scale of at most 57.
inline constexpr std::size_t kMaxScaledText = CWideInt::kMaxText + 3;

/// Writes \p n divided by 10^nScale, \p nScale below `CWideInt::kMaxText`, and returns the end: no zeros at
/// the end of the fraction, no terminator, no "-0".
inline char* PutScaled(char* p, CWideInt n, unsigned nScale, bool bNegative) noexcept
{
    constexpr unsigned nGroup = 9;
    constexpr unsigned nMaxGroups = (CWideInt::kMaxText + nGroup - 1) / nGroup;
    char sDigits[nGroup * nMaxGroups];
    char* const pEnd = std::end(sDigits);
    char* const pPoint = pEnd - nScale;
    bNegative = bNegative && !n.IsZero();
    char* pFirst = pEnd;
    while (!n.IsZero() || pFirst >= pPoint)
    {
        pFirst -= nGroup;
        PutDigits(pFirst, n.DivideBy(1000000000), nGroup);
    }
    while (pFirst + 1 < pPoint && *pFirst == '0')
        ++pFirst;
    const char* pLast = pEnd;
    while (pLast > pPoint && pLast[-1] == '0')
        --pLast;
    if (bNegative)
        *p++ = '-';
    p = std::copy(pFirst, pPoint, p);
    if (pLast > pPoint)
        *p++ = '.';
    return std::copy(static_cast<const char*>(pPoint), pLast, p);
}

} // namespace OCT
