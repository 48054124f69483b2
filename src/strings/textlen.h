/// Lengths of terminated text and the copy that stops at its end.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace OCT
{

using TextView = std::basic_string_view<WCHAR>;

/// Code units before the terminator. The text may lie at an odd address.
std::size_t TextLength(const WCHAR* s) noexcept;

/// The same, at most \p nMax; nothing from \p nMax on matters.
std::size_t TextLength(const WCHAR* s, std::size_t nMax) noexcept;

/// Bytes before the terminator.
inline std::size_t TextLength(const char* s) noexcept
{
    return std::strlen(s);
}

/// The same, at most \p nMax, which are there to read.
inline std::size_t TextLength(const char* s, std::size_t nMax) noexcept
{
    const void* const pZero = std::memchr(s, 0, nMax);
    return pZero != nullptr ? static_cast<std::size_t>(static_cast<const char*>(pZero) - s) : nMax;
}

/// What a caller's \p s and \p nLen stand for: nothing for null, the whole text for 0, else at most \p nLen.
template <class Char>
std::size_t SourceLength(const Char* s, unsigned nLen) noexcept
{
    if (s == nullptr)
        return 0;
    return nLen != 0 ? TextLength(s, nLen) : TextLength(s);
}

} // namespace OCT

/// Copies at most \p nCch - 1 code units, always terminates, and returns the number copied. Null or empty
/// text gives an empty text; a null target is reported ("sTrg == nullptr").
unsigned OrvStringCchCopy(WCHAR* sTrg, unsigned nCch, const WCHAR* sSrc);
