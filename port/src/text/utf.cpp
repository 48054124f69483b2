#include "text/utf.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace
{

constexpr char32_t kReplacementChar = 0xFFFD;

bool IsHighSurrogate(char16_t c)
{
    return (c & 0xFC00) == 0xD800;
}

bool IsLowSurrogate(char16_t c)
{
    return (c & 0xFC00) == 0xDC00;
}

void AppendUtf8(std::string& sOut, char32_t c)
{
    if (c < 0x80)
        sOut += static_cast<char>(c);
    else
    {
        const int nTrail = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        sOut += static_cast<char>((0xF00u >> (nTrail + 1)) | (c >> (6 * nTrail)));
        for (int nShift = 6 * (nTrail - 1); nShift >= 0; nShift -= 6)
            sOut += static_cast<char>(0x80 | ((c >> nShift) & 0x3F));
    }
}

// The character at the front of the text, which is shortened by it (or by one byte when it is malformed).
char32_t TakeUtf8(std::string_view& sText)
{
    const auto cLead = static_cast<unsigned char>(sText.front());
    sText.remove_prefix(1);
    if (cLead < 0x80)
        return cLead;
    const std::size_t nTrail = cLead >= 0xF0 && cLead < 0xF5 ? 3 : cLead >= 0xE0 ? 2 : 1;
    if (cLead < 0xC2 || cLead > 0xF4 || sText.size() < nTrail)
        return kReplacementChar;
    char32_t c = cLead & (0x3Fu >> nTrail);
    for (std::size_t i = 0; i < nTrail; ++i)
    {
        if ((sText[i] & 0xC0) != 0x80)
            return kReplacementChar;
        c = (c << 6) | (sText[i] & 0x3Fu);
    }
    if ((nTrail == 2 && c < 0x800) || (nTrail == 3 && c < 0x10000) || c > 0x10FFFF ||
        (c & 0x1FF800) == 0xD800)
        return kReplacementChar;
    sText.remove_prefix(nTrail);
    return c;
}

} // namespace

std::string PortToUtf8(std::u16string_view sText)
{
    std::string sOut;
    sOut.reserve(sText.size());
    for (std::size_t i = 0; i < sText.size(); ++i)
    {
        char32_t c = sText[i];
        if (IsHighSurrogate(sText[i]) && i + 1 < sText.size() && IsLowSurrogate(sText[i + 1]))
            c = 0x10000 + ((c & 0x3FF) << 10) + (sText[++i] & 0x3FFu);
        else if ((c & 0xF800) == 0xD800)
            c = kReplacementChar;
        AppendUtf8(sOut, c);
    }
    return sOut;
}

std::u16string PortToUtf16(std::string_view sText)
{
    std::u16string sOut;
    sOut.reserve(sText.size());
    while (!sText.empty())
    {
        const char32_t c = TakeUtf8(sText);
        if (c < 0x10000)
            sOut += static_cast<char16_t>(c);
        else
        {
            sOut += static_cast<char16_t>(0xD7C0 + (c >> 10));
            sOut += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        }
    }
    return sOut;
}

std::string PortPath(LPCWSTR sPath)
{
    std::string sOut = PortToUtf8(sPath ? sPath : u"");
    std::replace(sOut.begin(), sOut.end(), '\\', '/');
    return sOut;
}

DWORD PortCopyOut(std::u16string_view sText, LPWSTR pBuffer, DWORD nSize) noexcept
{
    const auto nLength = static_cast<DWORD>(sText.size());
    if (nLength >= nSize)
        return nLength + 1;
    *std::copy(sText.begin(), sText.end(), pBuffer) = 0;
    return nLength;
}
