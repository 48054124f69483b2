/// Runs of characters that take three bytes in UTF-8, as East Asian text has them.
///
/// SSE2 moves bytes within a register only in a roundabout way; the instruction for it came with SSSE3. So
/// there are two sets of functions, of which the library takes what the processor has when it is loaded.
#pragma once

#include <windows.h>

#include <cstddef>

namespace OCT
{

struct CThreeByteRuns
{
    /// Decodes the characters of three bytes at the beginning of \p n bytes into at most \p nRoom units and
    /// returns their number, by blocks: few bytes, or little room, give 0. What is written beyond the result
    /// lies where the units of the following bytes go.
    std::size_t (*m_pfnDecode)(const char* p, std::size_t n, WCHAR* pDest, std::size_t nRoom);
    /// The same the other way; returns the units that were encoded. Surrogates are U+FFFD each.
    std::size_t (*m_pfnEncode)(const WCHAR* p, std::size_t n, char* pDest, std::size_t nRoom);
};

extern const CThreeByteRuns kSse2Runs;
extern const CThreeByteRuns kSsse3Runs;
extern const CThreeByteRuns* g_pThreeByteRuns;

} // namespace OCT
