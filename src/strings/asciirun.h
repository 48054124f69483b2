/// Blocks of ASCII, 16 units at a time. Nothing is written beyond what the functions say.
#pragma once

#include <windows.h>

#include <bit>
#include <cstddef>

#include <emmintrin.h>

namespace OCT
{

inline __m128i Load16(const void* p)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

inline void Store16(void* p, __m128i v)
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

/// The number of low bits of \p nMask, out of \p nAll, before the first one set.
inline unsigned BitsBefore(unsigned nMask, unsigned nAll)
{
    return nMask ? static_cast<unsigned>(std::countr_zero(nMask)) : nAll;
}

/// Widens 16 bytes, writing 16 units; returns how many of them lead as ASCII.
inline unsigned Widen16(const char* p, WCHAR* pDest)
{
    const __m128i v = Load16(p);
    Store16(pDest, _mm_unpacklo_epi8(v, _mm_setzero_si128()));
    Store16(pDest + 8, _mm_unpackhi_epi8(v, _mm_setzero_si128()));
    return BitsBefore(static_cast<unsigned>(_mm_movemask_epi8(v)), 16);
}

/// Widens 8 bytes, writing 8 units; returns how many of them lead as ASCII.
inline unsigned Widen8(const char* p, WCHAR* pDest)
{
    const __m128i v = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    Store16(pDest, _mm_unpacklo_epi8(v, _mm_setzero_si128()));
    return BitsBefore(static_cast<unsigned>(_mm_movemask_epi8(v)), 8);
}

/// Narrows 8 units, writing 8 bytes; returns how many of them lead as ASCII.
inline unsigned Narrow8(const WCHAR* p, char* pDest)
{
    const __m128i v = Load16(p);
    const __m128i isAscii = _mm_cmpeq_epi16(_mm_and_si128(v, _mm_set1_epi16(-0x80)), _mm_setzero_si128());
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pDest), _mm_packus_epi16(v, v));
    return BitsBefore(~static_cast<unsigned>(_mm_movemask_epi8(isAscii)) & 0xFFFF, 16) / 2;
}

/// The ASCII units at the beginning of \p n units.
inline std::size_t AsciiLength(const char* p, std::size_t n)
{
    std::size_t i = 0;
    for (; n - i >= 16; i += 16)
        if (const int nMask = _mm_movemask_epi8(Load16(p + i)))
            return i + BitsBefore(static_cast<unsigned>(nMask), 16);
    while (i < n && static_cast<signed char>(p[i]) >= 0)
        ++i;
    return i;
}

/// Copies the ASCII units at the beginning of \p n units and returns their number; writes these only.
inline std::size_t WidenAscii(const char* p, std::size_t n, WCHAR* pDest)
{
    std::size_t i = 0;
    for (; n - i >= 16; i += 16)
    {
        const __m128i v = Load16(p + i);
        if (_mm_movemask_epi8(v))
            break;
        Store16(pDest + i, _mm_unpacklo_epi8(v, _mm_setzero_si128()));
        Store16(pDest + i + 8, _mm_unpackhi_epi8(v, _mm_setzero_si128()));
    }
    for (; i < n && static_cast<signed char>(p[i]) >= 0; ++i)
        pDest[i] = static_cast<WCHAR>(p[i]);
    return i;
}

inline std::size_t NarrowAscii(const WCHAR* p, std::size_t n, char* pDest)
{
    std::size_t i = 0;
    for (; n - i >= 16; i += 16)
    {
        const __m128i a = Load16(p + i);
        const __m128i b = Load16(p + i + 8);
        const __m128i high = _mm_and_si128(_mm_or_si128(a, b), _mm_set1_epi16(-0x80));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())) != 0xFFFF)
            break;
        Store16(pDest + i, _mm_packus_epi16(a, b));
    }
    for (; i < n && p[i] < 0x80; ++i)
        pDest[i] = static_cast<char>(p[i]);
    return i;
}

inline std::size_t CopyAscii(const char* p, std::size_t n, char* pDest)
{
    std::size_t i = 0;
    for (; n - i >= 16; i += 16)
    {
        const __m128i v = Load16(p + i);
        if (_mm_movemask_epi8(v))
            break;
        Store16(pDest + i, v);
    }
    for (; i < n && static_cast<signed char>(p[i]) >= 0; ++i)
        pDest[i] = p[i];
    return i;
}

} // namespace OCT
