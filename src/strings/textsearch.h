/// Searching text by blocks of 16 units.
#pragma once

#include "strings/textlen.h"

#include <windows.h>

#include <cstddef>

namespace OCT
{

/// The position of the first \p c, or npos.
std::size_t FindUnit(TextView text, WCHAR c) noexcept;

/// The position of the first \p find, by code units, or npos; an empty one is found at 0.
std::size_t FindText(TextView text, TextView find) noexcept;

} // namespace OCT
