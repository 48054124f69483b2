#include <windows.h>

#include <unicode/uchar.h>

// Letters that are not the small letter of their capital (micro sign, dotless i, long s, final sigma, the
// digraphs in title case) stay as they are, as in Windows' own table.
static WCHAR ToUpperUnit(WCHAR c)
{
    if (c < 0x80)
        return c >= 'a' && c <= 'z' ? static_cast<WCHAR>(c - 32) : c;
    const UChar32 cUpper = u_toupper(c);
    return cUpper <= 0xFFFF && u_tolower(cUpper) == c ? static_cast<WCHAR>(cUpper) : c;
}

DWORD CharUpperBuffW(LPWSTR lpsz, DWORD cchLength) noexcept
{
    if (!lpsz)
        return 0;
    for (DWORD i = 0; i < cchLength; ++i)
        lpsz[i] = ToUpperUnit(lpsz[i]);
    return cchLength;
}
