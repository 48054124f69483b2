// What both sets of functions for characters of three bytes share. Their files are compiled for different
// processors, so everything here is internal to each: the linker must not take one's for the other.
#pragma once

#include <emmintrin.h>

namespace OCT
{
namespace
{

inline __m128i Set16(unsigned n)
{
    return _mm_set1_epi16(static_cast<short>(n));
}

/// The sequences of eight units: of each the first two bytes, the first one low, and the last one.
struct CEightSequences
{
    __m128i m_firstTwo;
    __m128i m_last;

    /// False when a unit takes fewer than three bytes. Surrogates are U+FFFD each.
    bool Make(__m128i v)
    {
        const __m128i high = _mm_and_si128(v, Set16(0xF800));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())))
            return false;
        const __m128i isSurrogate = _mm_cmpeq_epi16(high, Set16(0xD800));
        v = _mm_or_si128(_mm_and_si128(isSurrogate, Set16(0xFFFD)), _mm_andnot_si128(isSurrogate, v));
        m_firstTwo = _mm_or_si128(_mm_or_si128(_mm_srli_epi16(v, 12), Set16(0x80E0)),
                                  _mm_and_si128(_mm_slli_epi16(v, 2), Set16(0x3F00)));
        m_last = _mm_or_si128(_mm_and_si128(v, Set16(0x3F)), Set16(0x80));
        return true;
    }
};

} // namespace
} // namespace OCT
