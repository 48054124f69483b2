// Sorting of identifiers by their digits.
#pragma once

namespace OCT
{

/// The most scratch elements that SortIdRange makes use of.
inline constexpr unsigned kMaxSortScratch = 65536;

/// Sorts in ascending order; \p pScratch has room for min(nCount, kMaxSortScratch) elements.
void SortIdRange(unsigned* pIds, unsigned nCount, unsigned* pScratch) noexcept;

} // namespace OCT
