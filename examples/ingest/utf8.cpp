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
