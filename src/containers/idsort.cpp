// Up to the size of the scratch buffer elements are scattered between array and buffer, lowest byte first.
// More are first parted by their highest byte in place, and each part is sorted on its own. That keeps all
// random access within the cache and reads each element a few times, where comparing would mispredict a
// branch for each of its 20 levels.
#include "idsort.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace
{

using CCounts = std::array<unsigned, 256>;

constexpr unsigned kSmallCount = 96; // below it comparing is cheaper than counting

unsigned Digit(unsigned id, unsigned nByte)
{
    return id >> (8 * nByte) & 0xFF;
}

/// Sorts by the bytes up to \p nHighByte; the higher ones are all equal.
void SortByScattering(unsigned* pIds, unsigned nCount, unsigned nHighByte, unsigned* pScratch)
{
    std::array<CCounts, 4> aCounts{};
    for (unsigned i = 0; i < nCount; ++i)
        for (unsigned nByte = 0; nByte <= nHighByte; ++nByte)
            ++aCounts[nByte][Digit(pIds[i], nByte)];

    unsigned* pFrom = pIds;
    unsigned* pTo = pScratch;
    for (unsigned nByte = 0; nByte <= nHighByte; ++nByte)
    {
        CCounts& aPos = aCounts[nByte];
        if (aPos[Digit(pIds[0], nByte)] == nCount)
            continue;
        std::exclusive_scan(aPos.begin(), aPos.end(), aPos.begin(), 0U);
        for (unsigned i = 0; i < nCount; ++i)
            pTo[aPos[Digit(pFrom[i], nByte)]++] = pFrom[i];
        std::swap(pFrom, pTo);
    }
    if (pFrom != pIds)
        std::copy_n(pFrom, nCount, pIds);
}

/// Brings the elements into the order of one byte, in place. Each element that is taken from where it does
/// not belong goes to the next free place of its own part and is exchanged for the one there, until one comes
/// up that belongs to where the first was taken from. \p aEnd holds where the parts end.
void PartByDigit(unsigned* pIds, unsigned nByte, CCounts aNext, const CCounts& aEnd)
{
    for (unsigned nPart = 0; nPart < aNext.size(); ++nPart)
        while (aNext[nPart] != aEnd[nPart])
        {
            unsigned id = pIds[aNext[nPart]];
            for (unsigned nOwn = Digit(id, nByte); nOwn != nPart; nOwn = Digit(id, nByte))
                std::swap(id, pIds[aNext[nOwn]++]);
            pIds[aNext[nPart]++] = id;
        }
}

void SortByBytes(unsigned* pIds, unsigned nCount, unsigned nHighByte, unsigned* pScratch)
{
    if (nCount < kSmallCount)
    {
        std::sort(pIds, pIds + nCount);
        return;
    }
    if (nCount <= OCT::kMaxSortScratch)
    {
        SortByScattering(pIds, nCount, nHighByte, pScratch);
        return;
    }
    CCounts aCounts{};
    for (unsigned i = 0; i < nCount; ++i)
        ++aCounts[Digit(pIds[i], nHighByte)];
    CCounts aStart;
    CCounts aEnd;
    std::exclusive_scan(aCounts.begin(), aCounts.end(), aStart.begin(), 0U);
    std::inclusive_scan(aCounts.begin(), aCounts.end(), aEnd.begin());
    PartByDigit(pIds, nHighByte, aStart, aEnd);
    if (nHighByte == 0)
        return;
    for (unsigned nPart = 0; nPart < aCounts.size(); ++nPart)
        SortByBytes(pIds + aStart[nPart], aCounts[nPart], nHighByte - 1, pScratch);
}

} // namespace

void OCT::SortIdRange(unsigned* pIds, unsigned nCount, unsigned* pScratch) noexcept
{
    if (!std::is_sorted(pIds, pIds + nCount))
        SortByBytes(pIds, nCount, 3, pScratch);
}
