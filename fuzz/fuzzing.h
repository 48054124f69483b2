// What fuzzers share.
#pragma once

#include "orvcomtypes/orvexport.h"

#include <windows.h>

#include <cstdlib>
#include <string>
#include <string_view>

using Text = std::basic_string<WCHAR>;
using TextView = std::basic_string_view<WCHAR>;

/// Ends the program, which is how a fuzzer tells of a fault.
inline void Require(bool bHolds)
{
    if (!bHolds)
        std::abort();
}

/// White space, spelled out so that a fault of the library's own list is seen.
inline bool IsSpace(WCHAR c)
{
    constexpr TextView sSpaces(
        ORVTEXT("\t\n\v\f\r \x00A0\x1680\x2000\x2001\x2002\x2003\x2004\x2005\x2006\x2007\x2008\x2009\x200A")
            ORVTEXT("\x2028\x2029\x202F\x205F\x3000"));
    return sSpaces.find(c) != TextView::npos;
}
