// Debugger output. Where a program has no debugger listening, ORVCOMTYPES_DEBUG_OUTPUT names where it goes:
// "stderr" or a file.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

void OutputDebugStringA(LPCSTR lpOutputString) noexcept;
void OutputDebugStringW(LPCWSTR lpOutputString) noexcept;

/// Return addresses of the running thread, without those of the first \p FramesToSkip functions, the caller
/// being the first of them. How many were stored; none where the stack cannot be walked. There is no hash.
WORD CaptureStackBackTrace(DWORD FramesToSkip, DWORD FramesToCapture, PVOID* BackTrace,
                           std::nullptr_t BackTraceHash) noexcept;
