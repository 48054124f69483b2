// UTF-8 for statements and messages. The library's own conversions take code units one by one, as its files
// want them; here every character must survive.
#pragma once

#include <orvcomtypes/orvstr.h>

#include <cstddef>
#include <filesystem>
#include <string>

/// Replaces what \p sBytes holds, and keeps its room.
void ToUTF8(const WCHAR* sText, std::size_t nLength, std::string& sBytes);
std::string ToUTF8(const WCHAR* sText);

/// File names are UTF-8 in every text here, on Windows too, where std::filesystem takes narrow text for the
/// code page's. Elsewhere their bytes stay what they are.
std::string ToUTF8(const std::filesystem::path& path);
std::filesystem::path ToPath(const std::string& sUTF8);
