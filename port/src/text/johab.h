// Page 1361 (Johab), which ICU lacks: syllables are composed of their letters, all else is page 949 in other
// places.
#pragma once

#include <windows.h>

/// The syllable or letter of two bytes from 8441 to D3FF, or 0.
WCHAR JohabSyllable(WORD nBytes) noexcept;

/// An old letter or a character of private use (D831 to D8FE), or 0.
WCHAR JohabOther(WORD nBytes) noexcept;

/// Where page 949 has the symbol or ideograph of two bytes from D931 on; 0 where there is none.
WORD JohabIn949(WORD nBytes) noexcept;
