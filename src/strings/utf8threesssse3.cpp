// Compiled for SSSE3, so nothing of other headers' inline functions is used here, but those that are internal
// to each file: the linker could take others from this file for all. SSSE3 has the instruction that SSE2
// lacks; AVX2 has it for registers of 32 bytes, for which gcc does not align the stack on 64-bit Windows.
#include "strings/utf8threes.h"
#include "strings/utf8threeunits.h"

#include <windows.h>

#include <cstddef>

#include <tmmintrin.h>

namespace OCT
{
namespace
{

__m128i Load(const void* p)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

void Store(void* p, __m128i v)
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

std::size_t Fewer(std::size_t a, std::size_t b)
{
    return a < b ? a : b;
}

// How many of eight lanes are set before the first one that is not.
std::size_t CountFirst(__m128i isSet)
{
    unsigned nBits = static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(isSet, _mm_setzero_si128())));
    std::size_t n = 0;
    for (; nBits & 1; nBits >>= 1)
        ++n;
    return n;
}

// Decodes the characters of three bytes at the beginning of 24 bytes, writing eight units; returns their
// number.
std::size_t DecodeEight(const char* p, WCHAR* pDest)
{
    const __m128i low = Load(p);
    const __m128i high = Load(p + 8);
    // The last two bytes of each character, the last one low, and the first one.
    const __m128i lastTwo = _mm_or_si128(
        _mm_shuffle_epi8(low, _mm_setr_epi8(2, 1, 5, 4, 8, 7, 11, 10, -1, -1, -1, -1, -1, -1, -1, -1)),
        _mm_shuffle_epi8(high, _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 6, 5, 9, 8, 12, 11, 15, 14)));
    const __m128i first = _mm_or_si128(
        _mm_shuffle_epi8(low, _mm_setr_epi8(0, -1, 3, -1, 6, -1, 9, -1, -1, -1, -1, -1, -1, -1, -1, -1)),
        _mm_shuffle_epi8(high, _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 4, -1, 7, -1, 10, -1, 13, -1)));
    const __m128i units = _mm_or_si128(
        _mm_maddubs_epi16(_mm_and_si128(lastTwo, Set16(0x3F3F)), Set16(0x4001)), _mm_slli_epi16(first, 12));
    Store(pDest, units);
    const __m128i malformed =
        _mm_or_si128(_mm_xor_si128(_mm_and_si128(lastTwo, Set16(0xC0C0)), Set16(0x8080)),
                     _mm_xor_si128(_mm_and_si128(first, Set16(0xF0)), Set16(0xE0)));
    const __m128i highBits = _mm_and_si128(units, Set16(0xF800));
    const __m128i forbidden = _mm_or_si128(_mm_cmpeq_epi16(highBits, _mm_setzero_si128()),
                                           _mm_cmpeq_epi16(highBits, Set16(0xD800)));
    const __m128i isGood = _mm_andnot_si128(forbidden, _mm_cmpeq_epi16(malformed, _mm_setzero_si128()));
    return _mm_movemask_epi8(isGood) == 0xFFFF ? 8 : CountFirst(isGood);
}

std::size_t Decode(const char* p, std::size_t n, WCHAR* pDest, std::size_t nRoom)
{
    std::size_t nDone = 0;
    for (std::size_t nBlocks = Fewer(n / 24, nRoom / 8); nBlocks != 0; --nBlocks)
    {
        const std::size_t nUnits = DecodeEight(p + 3 * nDone, pDest + nDone);
        nDone += nUnits;
        if (nUnits < 8)
            break;
    }
    return nDone;
}

// Encodes eight units if all take three bytes.
bool EncodeEight(const WCHAR* p, char* pDest)
{
    CEightSequences eight;
    if (!eight.Make(Load(p)))
        return false;
    // Twelve bytes at the upper end of a register, and twelve at the lower end of another one.
    const __m128i lower =
        _mm_shuffle_epi8(_mm_unpacklo_epi16(eight.m_firstTwo, eight.m_last),
                         _mm_setr_epi8(-1, -1, -1, -1, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14));
    const __m128i upper =
        _mm_shuffle_epi8(_mm_unpackhi_epi16(eight.m_firstTwo, eight.m_last),
                         _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    Store(pDest, _mm_srli_si128(lower, 4));
    Store(pDest + 8, _mm_alignr_epi8(upper, lower, 12));
    return true;
}

std::size_t Encode(const WCHAR* p, std::size_t n, char* pDest, std::size_t nRoom)
{
    const WCHAR* const pFrom = p;
    for (std::size_t nBlocks = Fewer(n / 8, nRoom / 24); nBlocks != 0 && EncodeEight(p, pDest); --nBlocks)
    {
        p += 8;
        pDest += 24;
    }
    return static_cast<std::size_t>(p - pFrom);
}

} // namespace

const CThreeByteRuns kSsse3Runs = {Decode, Encode};

} // namespace OCT
