// Values as people write and read them.
#pragma once

#include "commands.h"
#include "store.h"

#include <windows.h>

#include <string>
#include <vector>

/// Short name of a type ("sz", "dword"), or its number.
std::string TypeName(DWORD dwType);

/// The value that the words stand for: one word, for "multi" any number. Fails with eBadUsage.
CStoredValue ParseValue(const CText& sName, const std::string& sType, const std::vector<CText>& words);

/// The value on one line: text as it is, numbers in decimal, everything else as hexadecimal bytes.
std::string ShowValue(const CStoredValue& value);
