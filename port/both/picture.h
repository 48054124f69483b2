// Pictures of dates and times, as Windows writes them: "dddd, d MMMM yyyy", "h:mm:ss tt", "H 'h' mm".
#pragma once

#include <windows.h>

#include <cstddef>
#include <string_view>

/// Goes through a picture: \p onField gets each run of one letter and its length, \p onText each unit that
/// stands for itself, which all do between quotes. Two quotes are one that stands for itself.
template <class OnField, class OnText>
void WalkPicture(std::basic_string_view<WCHAR> sPicture, OnField onField, OnText onText)
{
    const auto isLetter = [](WCHAR c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    bool bQuoted = false;
    for (std::size_t i = 0; i < sPicture.size();)
    {
        const WCHAR c = sPicture[i];
        if (c == '\'')
        {
            const bool bDouble = i + 1 < sPicture.size() && sPicture[i + 1] == c;
            if (bDouble)
                onText(c);
            else
                bQuoted = !bQuoted;
            i += bDouble ? 2 : 1;
        }
        else if (bQuoted || !isLetter(c))
        {
            onText(c);
            ++i;
        }
        else
        {
            std::size_t nEnd = i;
            while (nEnd < sPicture.size() && sPicture[nEnd] == c)
                ++nEnd;
            onField(c, nEnd - i);
            i = nEnd;
        }
    }
}
