// Regular expressions (ECMAScript's), compiled in one place: the standard library's headers for them take
// longer than most tests.
#pragma once

#include <string>
#include <vector>

/// Whether the whole text fits.
bool Fits(const std::string& sText, const char* sPattern);
/// Whether a part of the text fits.
bool Contains(const std::string& sText, const char* sPattern);
/// The text with all parts that fit replaced; "$1" is a group of the part.
std::string Replaced(const std::string& sText, const char* sPattern, const char* sWith);
/// Each part that fits, followed by its groups.
std::vector<std::vector<std::string>> PartsThatFit(const std::string& sText, const char* sPattern);
