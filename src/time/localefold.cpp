#include "time/localefold.h"

#include "core/charclass.h"

#include <windows.h>

#include <algorithm> // IWYU pragma: keep (ranges)
#include <cstddef>

namespace
{

/// The zeros of the scripts; the other digits follow.
constexpr WCHAR kZeros[] = {0x0660, 0x06F0, 0x07C0, 0x0966, 0x09E6, 0x0A66, 0x0AE6, 0x0B66, 0x0BE6,
                            0x0C66, 0x0CE6, 0x0D66, 0x0DE6, 0x0E50, 0x0ED0, 0x0F20, 0x1040, 0x1090,
                            0x17E0, 0x1810, 0x1946, 0x19D0, 0x1A80, 0x1A90, 0x1B50, 0x1BB0, 0x1C40,
                            0x1C50, 0xA620, 0xA8D0, 0xA900, 0xA9D0, 0xA9F0, 0xAA50, 0xABF0, 0xFF10};

WCHAR FoldDigit(WCHAR c)
{
    const WCHAR* const pNext = std::ranges::upper_bound(kZeros, c);
    return pNext != kZeros && c - pNext[-1] < 10 ? static_cast<WCHAR>('0' + (c - pNext[-1])) : c;
}

bool IsInvisible(WCHAR c)
{
    return c == 0x00AD || c == 0x061C || (c >= 0x200B && c <= 0x200F) || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF;
}

bool IsLoose(WCHAR c)
{
    return c == ' ' || c == '.';
}

} // namespace

OCT::FoldedText OCT::FoldText(FoldedView sText)
{
    FoldedText sFolded;
    sFolded.reserve(sText.size());
    bool bAscii = true;
    for (const WCHAR c : sText)
    {
        bAscii = bAscii && c < 0x80;
        if (c < 0x80)
            sFolded += IsSpace(c) ? WCHAR(' ') : ToUpperAscii(c);
        else if (!IsInvisible(c))
            sFolded += IsSpace(c) ? WCHAR(' ') : FoldDigit(c);
    }
    if (!bAscii)
        CharUpperBuffW(sFolded.data(), static_cast<DWORD>(sFolded.size()));
    return sFolded;
}

bool OCT::IsWordUnit(WCHAR c) noexcept
{
    if (c < 0x80)
        return c >= 'A' && c <= 'Z';
    const bool bLatin1Sign = c < 0x00C0 && c != 0x00AA && c != 0x00B5 && c != 0x00BA;
    const bool bPunctuation = (c >= 0x2010 && c <= 0x205E) || (c >= 0x3001 && c <= 0x3003) ||
                              (c >= 0xFF01 && c <= 0xFF0F) || c == 0xFF1A || c == 0x060C || c == 0x06D4 ||
                              c == 0x055D || c == 0x0589;
    return !bLatin1Sign && !bPunctuation;
}

std::size_t OCT::MatchName(FoldedView sText, FoldedView sName) noexcept
{
    std::size_t i = 0;
    for (std::size_t iName = 0; iName < sName.size();)
    {
        if (!IsLoose(sName[iName]))
        {
            if (i == sText.size() || sText[i++] != sName[iName++])
                return 0;
            continue;
        }
        while (iName < sName.size() && IsLoose(sName[iName]))
            ++iName;
        while (iName < sName.size() && i < sText.size() && IsLoose(sText[i]))
            ++i;
    }
    const bool bInNumber =
        i != 0 && i < sText.size() && IsDigit(sText[i - 1]) && IsDigit(sText[i]); // "month 1" of "month 12"
    return bInNumber ? 0 : i;
}
