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
