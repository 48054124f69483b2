// UTF-8 for statements and messages. The library's own conversions take code units one by one, as its files
// want them; here every character must survive.
#pragma once

#include <orvcomtypes/orvstr.h>

#include <cstddef>
#include <string>

/// Replaces what \p sBytes holds, and keeps its room.
void ToUTF8(const WCHAR* sText, std::size_t nLength, std::string& sBytes);
std::string ToUTF8(const WCHAR* sText);
