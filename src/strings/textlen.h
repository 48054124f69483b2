/// Lengths of terminated text and the copy that stops at its end.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string_view>

namespace OCT
{

using TextView = std::basic_string_view<WCHAR>;

/// Code units before the terminator.
std::size_t TextLength(const WCHAR* s) noexcept;

/// The same, at most \p nMax; nothing from \p nMax on matters.
std::size_t TextLength(const WCHAR* s, std::size_t nMax) noexcept;

} // namespace OCT

/// Copies at most \p nCch - 1 code units, always terminates, and returns the number copied. Null or empty
/// text gives an empty text; a null target is reported ("sTrg == nullptr").
unsigned OrvStringCchCopy(WCHAR* sTrg, unsigned nCch, const WCHAR* sSrc);
