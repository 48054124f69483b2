#include "utf8.h"

void ToUTF8(const WCHAR* sText, std::size_t nLength, std::string& sBytes)
{
    sBytes.resize(3 * nLength); // at most, for each unit
    const int nBytes = nLength == 0
                           ? 0
                           : WideCharToMultiByte(CP_UTF8, 0, sText, static_cast<int>(nLength), sBytes.data(),
                                                 static_cast<int>(sBytes.size()), nullptr, nullptr);
    sBytes.resize(static_cast<std::size_t>(nBytes));
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
