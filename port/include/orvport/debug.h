// Debugger output. Where a program has no debugger listening, ORVCOMTYPES_DEBUG_OUTPUT names where it goes:
// "stderr" or a file.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

void OutputDebugStringA(LPCSTR lpOutputString) noexcept;
void OutputDebugStringW(LPCWSTR lpOutputString) noexcept;
