// Text as the tests build and print it.
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <string>
#include <string_view>

using Text = std::basic_string<WCHAR>;
using TextView = std::basic_string_view<WCHAR>;

/// The text at \p s, or a word for null.
inline Text TextOf(const WCHAR* s)
{
    return s != nullptr ? Text(s) : Text(ORVTEXT("(null)"));
}

/// Narrow text, which is of the ANSI code page: UTF-8 or another, as the process was told.
inline std::string Narrow(const Text& s)
{
    std::string sBytes(4 * s.size() + 1, 0);
    const int n = WideCharToMultiByte(CP_ACP, 0, s.data(), static_cast<int>(s.size()), sBytes.data(),
                                      static_cast<int>(sBytes.size()), nullptr, nullptr);
    return sBytes.substr(0, static_cast<std::size_t>(n));
}
inline Text Wide(const std::string& sBytes)
{
    Text s(sBytes.size() + 1, 0);
    const int n = MultiByteToWideChar(CP_ACP, 0, sBytes.data(), static_cast<int>(sBytes.size()), s.data(),
                                      static_cast<int>(s.size()));
    return s.substr(0, static_cast<std::size_t>(n));
}
inline bool IsNarrowUtf8()
{
    return GetACP() == CP_UTF8;
}
