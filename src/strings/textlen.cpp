// Loads may read past the terminator, yet never into a page that the text does not touch. The sanitizers do
// not know that; this file is built without them.
#include "strings/textlen.h"

#include "strings/strbuffer.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include <windows.h>
#include <emmintrin.h>

namespace OCT
{
namespace
{

constexpr std::size_t kUnitsPerLoad = sizeof(__m128i) / sizeof(WCHAR);

/// Two bits for each zero unit of an aligned group of eight.
unsigned ZeroUnits(const __m128i* p) noexcept
{
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_load_si128(p), _mm_setzero_si128())));
}

/// Whether the units of a text, as in a packed record, lie across the borders of units.
bool IsOdd(const WCHAR* s) noexcept
{
    return reinterpret_cast<std::uintptr_t>(s) % sizeof(WCHAR) != 0;
}

std::size_t OddTextLength(const WCHAR* s, std::size_t nMax) noexcept
{
    const auto* const pBytes = reinterpret_cast<const unsigned char*>(s);
    std::size_t n = 0;
    while (n < nMax && (pBytes[2 * n] | pBytes[2 * n + 1]) != 0)
        ++n;
    return n;
}

/// Whether 16 units can be read there without entering another page.
bool IsReadable16(const WCHAR* s) noexcept
{
    return reinterpret_cast<std::uintptr_t>(s) % 4096 <= 4096 - 2 * sizeof(__m128i);
}

/// A bit for each zero unit of 16.
unsigned ZeroUnits16(const WCHAR* s) noexcept
{
    const auto isZero = [s](std::size_t i) {
        return _mm_cmpeq_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i)), _mm_setzero_si128());
    };
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(isZero(0), isZero(kUnitsPerLoad))));
}

} // namespace

std::size_t TextLength(const WCHAR* s, std::size_t nMax) noexcept
{
    if (nMax - 1 < 2 * kUnitsPerLoad && IsReadable16(s)) [[likely]] // not 0: nothing may be read then
    {
        // A branch, so that what follows need not wait for the text.
        const unsigned nZeros = ZeroUnits16(s) & ((1u << nMax) - 1);
        return nZeros == 0 ? nMax : static_cast<std::size_t>(std::countr_zero(nZeros));
    }
    if (IsOdd(s)) [[unlikely]]
        return OddTextLength(s, nMax);
    const auto nSkipBytes = reinterpret_cast<std::uintptr_t>(s) % sizeof(__m128i);
    const auto* p = reinterpret_cast<const __m128i*>(reinterpret_cast<std::uintptr_t>(s) - nSkipBytes);
    if (nMax == 0)
        return 0;
    if (const unsigned nZeros = ZeroUnits(p) >> nSkipBytes; nZeros != 0)
        return std::min<std::size_t>(static_cast<std::size_t>(std::countr_zero(nZeros)) / sizeof(WCHAR),
                                     nMax);
    for (std::size_t n = kUnitsPerLoad - nSkipBytes / sizeof(WCHAR); n < nMax; n += kUnitsPerLoad)
        if (const unsigned nZeros = ZeroUnits(++p); nZeros != 0)
            return std::min<std::size_t>(
                n + static_cast<std::size_t>(std::countr_zero(nZeros)) / sizeof(WCHAR), nMax);
    return nMax;
}

std::size_t CopyText(WCHAR* pTo, const WCHAR* s, std::size_t nMax) noexcept
{
    const std::size_t n = TextLength(s, nMax);
    CopyUnits(pTo, s, n);
    return n;
}

std::size_t TextLength(const WCHAR* s) noexcept
{
    if (IsOdd(s)) [[unlikely]]
        return OddTextLength(s, SIZE_MAX);
    const auto nSkipBytes = reinterpret_cast<std::uintptr_t>(s) % sizeof(__m128i);
    const auto* p = reinterpret_cast<const __m128i*>(reinterpret_cast<std::uintptr_t>(s) - nSkipBytes);
    unsigned nZeros = ZeroUnits(p) >> nSkipBytes;
    if (nZeros != 0)
        return static_cast<std::size_t>(std::countr_zero(nZeros)) / sizeof(WCHAR);
    do
        nZeros = ZeroUnits(++p);
    while (nZeros == 0);
    const auto nEnd =
        reinterpret_cast<std::uintptr_t>(p) + static_cast<std::size_t>(std::countr_zero(nZeros));
    return (nEnd - reinterpret_cast<std::uintptr_t>(s)) / sizeof(WCHAR);
}

} // namespace OCT
