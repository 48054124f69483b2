#include "utf8.h"

namespace
{

void Append(unsigned c, std::string& sBytes)
{
    const int nFollowing = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    const unsigned nMark = nFollowing == 0 ? 0 : 0xF00 >> (nFollowing + 1);
    sBytes += static_cast<char>((nMark & 0xFF) | (c >> (6 * nFollowing)));
    for (int n = nFollowing - 1; n >= 0; --n)
        sBytes += static_cast<char>(0x80 | ((c >> (6 * n)) & 0x3F));
}

} // namespace

void ToUTF8(const WCHAR* sText, std::size_t nLength, std::string& sBytes)
{
    sBytes.clear();
    for (std::size_t i = 0; i < nLength; ++i)
    {
        const auto IsHalf = [&](std::size_t n, unsigned nFirst) {
            return n < nLength && (static_cast<unsigned>(sText[n]) & 0xFC00) == nFirst;
        };
        unsigned c = sText[i];
        if (IsHalf(i, 0xD800) && IsHalf(i + 1, 0xDC00))
            c = 0x10000 + ((c & 0x3FF) << 10) + (static_cast<unsigned>(sText[++i]) & 0x3FF);
        else if ((c & 0xF800) == 0xD800) // half a character
            c = 0xFFFD;
        Append(c, sBytes);
    }
}

std::string ToUTF8(const WCHAR* sText)
{
    std::string sBytes;
    ToUTF8(sText, std::char_traits<WCHAR>::length(sText), sBytes);
    return sBytes;
}

std::string ToUTF8(const std::filesystem::path& path)
{
    const std::u8string sBytes = path.u8string();
    return std::string(sBytes.begin(), sBytes.end());
}

std::filesystem::path ToPath(const std::string& sUTF8)
{
    return std::filesystem::path(std::u8string(sUTF8.begin(), sUTF8.end()));
}
