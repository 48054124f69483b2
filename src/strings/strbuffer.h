/// What of the string buffers stays inside the library.
#pragma once

#include "orvcomtypes/orvstralloc.h"

#include <cstring>

/// The one buffer of every empty text.
extern OrvStrBuffer<1> g_DefEmptyString;

/// A new buffer without a reference for at least \p nBytes (terminator included), or null when the heap has
/// none or the size is out of reach; fewer than three bytes give the shared empty text. Throws when a pool is
/// exhausted.
WCHAR* ORVS_AllocateString(std::uint64_t nBytes);

/// Gives a buffer back to its pool or to the heap, whatever its references.
void ORVS_FreeString(OrvStrHeader* p);

/// The header of \p s; null, and a report, for a null \p s.
OrvStrHeader* ORVS_GetOrvStrBuffer(const WCHAR* s);

namespace OCT
{

/// A new buffer for \p nLen code units (at least one) with its first reference, or null.
inline WCHAR* NewStr(std::uint64_t nLen)
{
    WCHAR* const p = ORVS_AllocateString(sizeof(WCHAR) * (nLen + 1));
    if (p != nullptr)
        StrHeader(p).iRC.store(1, std::memory_order_relaxed);
    return p;
}

/// Copies \p n units; a short text takes two overlapping moves instead of a call.
inline void CopyUnits(WCHAR* pTo, const WCHAR* pFrom, std::size_t n) noexcept
{
    constexpr std::size_t nBlock = 8;
    if (n >= nBlock && n <= 2 * nBlock)
    {
        WCHAR aTail[nBlock];
        std::memcpy(aTail, pFrom + n - nBlock, sizeof(aTail));
        std::memcpy(pTo, pFrom, sizeof(aTail));
        std::memcpy(pTo + n - nBlock, aTail, sizeof(aTail));
    }
    else
        std::memcpy(pTo, pFrom, n * sizeof(WCHAR));
}

/// Ends the text of a private buffer at \p nLen.
inline void EndStr(WCHAR* s, std::uint64_t nLen) noexcept
{
    s[nLen] = 0;
    StrHeader(s).nStrLen = static_cast<std::uint32_t>(nLen);
}

} // namespace OCT
