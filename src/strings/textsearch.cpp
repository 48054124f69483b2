#include "strings/textsearch.h"

#include "strings/textlen.h"

#include <bit>
#include <cstring>

#include <windows.h>
#include <emmintrin.h>

namespace OCT
{
namespace
{

constexpr std::size_t kUnitsPerBlock = 16;

/// Eight units of text, each compared with one.
__m128i Matches8(const WCHAR* p, __m128i unit)
{
    return _mm_cmpeq_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), unit);
}

/// A bit for each of 16 units that matches.
unsigned Bits(__m128i low, __m128i high)
{
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(low, high)));
}

__m128i Repeat(WCHAR c)
{
    return _mm_set1_epi16(static_cast<short>(c));
}

/// Calls \p bitsAt for blocks of 16 of \p nPositions, the last one moved back so that it ends with them; a
/// position whose bit it returns is tried. There is at least one whole block.
template <class BitsAt, class Try>
std::size_t SearchBlocks(std::size_t nPositions, BitsAt bitsAt, Try tryAt)
{
    for (std::size_t i = 0; i < nPositions; i += kUnitsPerBlock)
    {
        const std::size_t nBlock = i + kUnitsPerBlock <= nPositions ? i : nPositions - kUnitsPerBlock;
        for (unsigned nBits = bitsAt(nBlock); nBits != 0; nBits &= nBits - 1)
        {
            const std::size_t nAt = nBlock + static_cast<std::size_t>(std::countr_zero(nBits));
            if (tryAt(nAt))
                return nAt;
        }
    }
    return TextView::npos;
}

} // namespace

std::size_t FindUnit(TextView text, WCHAR c) noexcept
{
    if (text.size() < kUnitsPerBlock)
    {
        for (std::size_t i = 0; i < text.size(); ++i)
            if (text[i] == c)
                return i;
        return TextView::npos;
    }
    const WCHAR* const p = text.data();
    const __m128i unit = Repeat(c);
    return SearchBlocks(
        text.size(), [&](std::size_t i) { return Bits(Matches8(p + i, unit), Matches8(p + i + 8, unit)); },
        [](std::size_t) { return true; });
}

std::size_t FindText(TextView text, TextView find) noexcept
{
    if (find.size() < 2)
        return find.empty() ? 0 : FindUnit(text, find.front());
    if (text.size() < find.size() + kUnitsPerBlock)
        return text.find(find);
    // Where both the first and the last unit stand at their places, the rest is compared.
    const WCHAR* const pFirst = text.data();
    const WCHAR* const pLast = pFirst + find.size() - 1;
    const __m128i first = Repeat(find.front());
    const __m128i last = Repeat(find.back());
    return SearchBlocks(
        text.size() - find.size() + 1,
        [&](std::size_t i) {
            return Bits(_mm_and_si128(Matches8(pFirst + i, first), Matches8(pLast + i, last)),
                        _mm_and_si128(Matches8(pFirst + i + 8, first), Matches8(pLast + i + 8, last)));
        },
        [&](std::size_t i) {
            return std::memcmp(pFirst + i, find.data(), find.size() * sizeof(WCHAR)) == 0;
        });
}

} // namespace OCT
