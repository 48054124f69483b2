/// Blocks of ASCII, 8 and 16 units at a time.
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

/// Whether every byte lies between 1 and 0x7F.
inline bool IsPlain(__m128i v)
{
    return _mm_movemask_epi8(_mm_cmpgt_epi8(v, _mm_setzero_si128())) == 0xFFFF;
}

/// Sixteen units as bytes; one beyond ASCII becomes a byte that is not plain, as does zero.
inline __m128i Pack16(const WCHAR* p)
{
    return _mm_packus_epi16(Load16(p), Load16(p + 8));
}

inline void Widen16(const char* p, WCHAR* pDest)
{
    const __m128i v = Load16(p);
    Store16(pDest, _mm_unpacklo_epi8(v, _mm_setzero_si128()));
    Store16(pDest + 8, _mm_unpackhi_epi8(v, _mm_setzero_si128()));
}

/// A bit for each of 16 bytes that is not plain.
inline unsigned ForeignOf16(__m128i v)
{
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpgt_epi8(v, _mm_setzero_si128()))) ^ 0xFFFFu;
}

/// A bit for each of 16 bytes that is not ASCII.
inline unsigned ForeignBytes16(const char* p)
{
    return static_cast<unsigned>(_mm_movemask_epi8(Load16(p)));
}

/// Copies the ASCII units at the beginning of \p n units, up to the first zero unit, and returns their
/// number. Nothing else is written.
inline std::size_t CopyAscii(const char* p, std::size_t n, WCHAR* pDest)
{
    std::size_t i = 0;
    for (; n - i >= 16 && IsPlain(Load16(p + i)); i += 16)
        Widen16(p + i, pDest + i);
    for (; i<n&& static_cast<signed char>(p[i])> 0; ++i)
        pDest[i] = static_cast<WCHAR>(p[i]);
    return i;
}

inline std::size_t CopyAscii(const WCHAR* p, std::size_t n, char* pDest)
{
    std::size_t i = 0;
    for (; n - i >= 16; i += 16)
    {
        const __m128i packed = Pack16(p + i);
        if (!IsPlain(packed))
            break;
        Store16(pDest + i, packed);
    }
    for (; i < n && p[i] != 0 && p[i] < 0x80; ++i)
        pDest[i] = static_cast<char>(p[i]);
    return i;
}

inline std::size_t CopyAscii(const char* p, std::size_t n, char* pDest)
{
    std::size_t i = 0;
    for (; n - i >= 16; i += 16)
    {
        const __m128i v = Load16(p + i);
        if (!IsPlain(v))
            break;
        Store16(pDest + i, v);
    }
    for (; i<n&& static_cast<signed char>(p[i])> 0; ++i)
        pDest[i] = p[i];
    return i;
}

} // namespace OCT
