#include "strings/utf8threes.h"

#include "strings/asciirun.h"
#include "strings/utf8threeunits.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace OCT
{
namespace
{

__m128i Set32(std::uint32_t n)
{
    return _mm_set1_epi32(static_cast<int>(n));
}

// Decodes four sequences of three bytes if there are such, reading 13 bytes.
bool DecodeFour(const char* p, WCHAR* pDest)
{
    const __m128i v = _mm_unpacklo_epi64(_mm_unpacklo_epi32(Load4(p), Load4(p + 3)),
                                         _mm_unpacklo_epi32(Load4(p + 6), Load4(p + 9)));
    const __m128i c = _mm_or_si128(_mm_or_si128(_mm_slli_epi32(_mm_and_si128(v, Set32(0xF)), 12),
                                                _mm_and_si128(_mm_srli_epi32(v, 2), Set32(0xFC0))),
                                   _mm_and_si128(_mm_srli_epi32(v, 16), Set32(0x3F)));
    const __m128i malformed = _mm_xor_si128(_mm_and_si128(v, Set32(0xC0C0F0)), Set32(0x8080E0));
    const __m128i high = _mm_and_si128(c, Set32(0xF800));
    const __m128i forbidden =
        _mm_or_si128(_mm_cmpeq_epi32(high, _mm_setzero_si128()), _mm_cmpeq_epi32(high, Set32(0xD800)));
    const __m128i isGood = _mm_andnot_si128(forbidden, _mm_cmpeq_epi32(malformed, _mm_setzero_si128()));
    if (_mm_movemask_epi8(isGood) != 0xFFFF)
        return false;
    // Signed, so that packing does not saturate.
    const __m128i units = _mm_srai_epi32(_mm_slli_epi32(c, 16), 16);
    Store8(pDest, _mm_packs_epi32(units, units));
    return true;
}

std::size_t Decode(const char* p, std::size_t n, WCHAR* pDest, std::size_t nRoom)
{
    std::size_t i = 0;
    while (n - 3 * i >= 13 && nRoom - i >= 4 && DecodeFour(p + 3 * i, pDest + i))
        i += 4;
    return i;
}

// Encodes eight units if all take three bytes.
bool EncodeEight(const WCHAR* p, char* pDest)
{
    CEightSequences eight;
    if (!eight.Make(Load16(p)))
        return false;
    std::uint32_t aSequences[8];
    Store16(aSequences, _mm_unpacklo_epi16(eight.m_firstTwo, eight.m_last));
    Store16(aSequences + 4, _mm_unpackhi_epi16(eight.m_firstTwo, eight.m_last));
    for (unsigned i = 0; i < 7; ++i)
        std::memcpy(pDest + 3 * i, aSequences + i, 4);
    std::memcpy(pDest + 21, aSequences + 7, 3);
    return true;
}

std::size_t Encode(const WCHAR* p, std::size_t n, char* pDest, std::size_t nRoom)
{
    std::size_t i = 0;
    while (n - i >= 8 && nRoom - 3 * i >= 24 && EncodeEight(p + i, pDest + 3 * i))
        i += 8;
    return i;
}

const CThreeByteRuns* RunsForProcessor()
{
    return IsProcessorFeaturePresent(PF_SSSE3_INSTRUCTIONS_AVAILABLE) ? &kSsse3Runs : &kSse2Runs;
}

} // namespace

const CThreeByteRuns kSse2Runs = {Decode, Encode};
constinit const CThreeByteRuns* g_pThreeByteRuns = &kSse2Runs;

namespace
{

[[maybe_unused]] const bool g_bChosen = (g_pThreeByteRuns = RunsForProcessor(), true);

} // namespace
} // namespace OCT
