/// What of the string buffers stays inside the library.
#pragma once

#include "orvcomtypes/orvstralloc.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <cstring>

/// The one buffer of every empty text.
extern OrvStrBuffer<1> g_DefEmptyString;

/// A new buffer without a reference for at least \p nBytes (terminator included), or null when the heap has
/// none or the size is out of reach; fewer than three bytes give the shared empty text. Throws when a pool is
/// exhausted.
WCHAR* ORVS_AllocateString(std::uint64_t nBytes);

/// The same with exactly the room that \p other has.
WCHAR* ORVS_AllocateAsLarge(const OrvStrHeader& other);

/// Gives a buffer back to its pool or to the heap, whatever its references.
void ORVS_FreeString(OrvStrHeader* p);

/// The header of \p s; null, and a report, for a null \p s.
OrvStrHeader* ORVS_GetOrvStrBuffer(const WCHAR* s);

namespace OCT
{

/// The new buffer \p p with its first reference.
inline WCHAR* FirstStrRef(WCHAR* p)
{
    if (p != nullptr)
        StrHeader(p).iRC.store(1, std::memory_order_relaxed);
    return p;
}

/// A new buffer for \p nLen code units (at least one) with its first reference, or null.
inline WCHAR* NewStr(std::uint64_t nLen)
{
    return FirstStrRef(ORVS_AllocateString(sizeof(WCHAR) * (nLen + 1)));
}

/// Copies between \p nBlock and twice as many bytes by two moves that may overlap.
template <std::size_t nBlock>
void CopyTwoBlocks(WCHAR* pTo, const WCHAR* pFrom, std::size_t nBytes) noexcept
{
    char aTail[nBlock];
    std::memcpy(aTail, reinterpret_cast<const char*>(pFrom) + nBytes - nBlock, nBlock);
    std::memcpy(pTo, pFrom, nBlock);
    std::memcpy(reinterpret_cast<char*>(pTo) + nBytes - nBlock, aTail, nBlock);
}

/// Copies \p n units; a short text takes a few moves instead of a call.
inline void CopyUnits(WCHAR* pTo, const WCHAR* pFrom, std::size_t n) noexcept
{
    const std::size_t nBytes = n * sizeof(WCHAR);
    if (n > 16)
        std::memcpy(pTo, pFrom, nBytes);
    else if (n >= 8)
        CopyTwoBlocks<16>(pTo, pFrom, nBytes);
    else if (n >= 4)
        CopyTwoBlocks<8>(pTo, pFrom, nBytes);
    else if (n >= 2)
        CopyTwoBlocks<4>(pTo, pFrom, nBytes);
    else if (n == 1)
        std::memcpy(pTo, pFrom, sizeof(WCHAR)); // which may lie at an odd address
}

/// Copies the text, at most \p nMax units and no terminator, and returns its length.
std::size_t CopyText(WCHAR* pTo, const WCHAR* s, std::size_t nMax) noexcept;

/// Ends the text of a private buffer at \p nLen.
inline void EndStr(WCHAR* s, std::uint64_t nLen) noexcept
{
    s[nLen] = 0;
    StrHeader(s).nStrLen = static_cast<std::uint32_t>(nLen);
}

} // namespace OCT
