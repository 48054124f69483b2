/// Blocks of ASCII, 8 and 16 units at a time.
#pragma once

#include <windows.h>

#include <bit>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include <emmintrin.h>

namespace OCT
{

inline __m128i Load16(const void* p)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

inline __m128i Load8(const void* p)
{
    return _mm_loadl_epi64(static_cast<const __m128i*>(p));
}

inline __m128i Load4(const void* p)
{
    int n;
    std::memcpy(&n, p, sizeof n);
    return _mm_cvtsi32_si128(n);
}

inline void Store16(void* p, __m128i v)
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

inline void Store8(void* p, __m128i v)
{
    _mm_storel_epi64(static_cast<__m128i*>(p), v);
}

inline void Store4(void* p, __m128i v)
{
    const int n = _mm_cvtsi128_si32(v);
    std::memcpy(p, &n, sizeof n);
}

// Some units of ASCII in another size. Of other units narrow ones are widened as they are, and wide ones
// become bytes that are not ASCII, or zero.

inline void Copy16(const char* p, WCHAR* pDest)
{
    const __m128i v = Load16(p);
    Store16(pDest, _mm_unpacklo_epi8(v, _mm_setzero_si128()));
    Store16(pDest + 8, _mm_unpackhi_epi8(v, _mm_setzero_si128()));
}

inline void Copy8(const char* p, WCHAR* pDest)
{
    Store16(pDest, _mm_unpacklo_epi8(Load8(p), _mm_setzero_si128()));
}

inline void Copy4(const char* p, WCHAR* pDest)
{
    Store8(pDest, _mm_unpacklo_epi8(Load4(p), _mm_setzero_si128()));
}

inline void Copy16(const WCHAR* p, char* pDest)
{
    Store16(pDest, _mm_packus_epi16(Load16(p), Load16(p + 8)));
}

inline void Copy8(const WCHAR* p, char* pDest)
{
    Store8(pDest, _mm_packus_epi16(Load16(p), _mm_setzero_si128()));
}

inline void Copy4(const WCHAR* p, char* pDest)
{
    Store4(pDest, _mm_packus_epi16(Load8(p), _mm_setzero_si128()));
}

inline void Copy16(const char* p, char* pDest)
{
    Store16(pDest, Load16(p));
}

inline void Copy8(const char* p, char* pDest)
{
    Store8(pDest, Load8(p));
}

inline void Copy4(const char* p, char* pDest)
{
    Store4(pDest, Load4(p));
}

/// Copies exactly \p n < 16 units of ASCII.
template <class Src, class Dest>
void CopyFew(const Src* p, std::size_t n, Dest* pDest)
{
    if (n >= 8)
    {
        Copy8(p, pDest);
        Copy8(p + n - 8, pDest + n - 8);
    }
    else if (n >= 4)
    {
        Copy4(p, pDest);
        Copy4(p + n - 4, pDest + n - 4);
    }
    else
        for (std::size_t i = 0; i < n; ++i)
            pDest[i] = static_cast<Dest>(p[i]);
}

/// A bit for each of 16 bytes that is not between 1 and 0x7F.
inline unsigned Foreign16(__m128i v)
{
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpgt_epi8(v, _mm_setzero_si128()))) ^ 0xFFFFu;
}

/// A bit for each of 16 units that is not between 1 and 0x7F.
inline unsigned Foreign16(const char* p)
{
    return Foreign16(Load16(p));
}

inline unsigned Foreign16(const WCHAR* p)
{
    return Foreign16(_mm_packus_epi16(Load16(p), Load16(p + 8)));
}

inline unsigned Foreign8(const char* p)
{
    return Foreign16(Load8(p)) & 0xFF;
}

inline unsigned Foreign8(const WCHAR* p)
{
    return Foreign16(_mm_packus_epi16(Load16(p), _mm_setzero_si128())) & 0xFF;
}

/// Whether 64 units are all between 1 and 0x7F.
inline bool IsAscii64(const char* p)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i a = _mm_and_si128(_mm_cmpgt_epi8(Load16(p), zero), _mm_cmpgt_epi8(Load16(p + 16), zero));
    const __m128i b =
        _mm_and_si128(_mm_cmpgt_epi8(Load16(p + 32), zero), _mm_cmpgt_epi8(Load16(p + 48), zero));
    return _mm_movemask_epi8(_mm_and_si128(a, b)) == 0xFFFF;
}

inline bool IsAscii64(const WCHAR* p)
{
    const auto isAscii16 = [](const WCHAR* pUnits) {
        return _mm_cmpgt_epi8(_mm_packus_epi16(Load16(pUnits), Load16(pUnits + 8)), _mm_setzero_si128());
    };
    const __m128i a = _mm_and_si128(isAscii16(p), isAscii16(p + 16));
    return _mm_movemask_epi8(_mm_and_si128(a, _mm_and_si128(isAscii16(p + 32), isAscii16(p + 48)))) == 0xFFFF;
}

/// Copies the ASCII units at the beginning of \p n units, up to the first zero unit, and returns their
/// number. Nothing else is written.
template <class Src, class Dest>
std::size_t CopyAscii(const Src* p, std::size_t n, Dest* pDest)
{
    std::size_t i = 0;
    const auto CopyUpTo = [&](unsigned nForeign) {
        // A branch, so that what follows need not wait for the count.
        if (nForeign & 1)
            return i;
        const auto nAscii = static_cast<std::size_t>(std::countr_zero(nForeign));
        CopyFew(p + i, nAscii, pDest + i);
        return i + nAscii;
    };
    for (; n - i >= 64 && IsAscii64(p + i); i += 64)
        for (std::size_t k = 0; k < 64; k += 16)
            Copy16(p + i + k, pDest + i + k);
    for (; n - i >= 16; i += 16)
    {
        if (const unsigned nForeign = Foreign16(p + i))
            return CopyUpTo(nForeign);
        Copy16(p + i, pDest + i);
    }
    if (n - i >= 8)
    {
        if (const unsigned nForeign = Foreign8(p + i))
            return CopyUpTo(nForeign);
        Copy8(p + i, pDest + i);
        i += 8;
    }
    for (; i < n && static_cast<std::make_unsigned_t<Src>>(p[i]) - 1u < 0x7F; ++i)
        pDest[i] = static_cast<Dest>(p[i]);
    return i;
}

} // namespace OCT
