/// Text in the form in which a locale's words are compared.
#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace OCT
{

using FoldedText = std::basic_string<WCHAR>;
using FoldedView = std::basic_string_view<WCHAR>;

/// Capitals, ASCII digits in place of those of other scripts, every white space as a blank, and no marks that
/// cannot be seen (directions, joiners).
FoldedText FoldText(FoldedView sText);

/// Letters of any script and what belongs to them; of folded text.
bool IsWordUnit(WCHAR c) noexcept;

/// The units at the beginning of \p sText that \p sName stands for, 0 for none. Blanks and full stops of the
/// name may be missing, or be others, in the text.
std::size_t MatchName(FoldedView sText, FoldedView sName) noexcept;

} // namespace OCT
