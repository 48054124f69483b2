// Environment variables, and what the processor can do.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

constexpr DWORD PF_SSSE3_INSTRUCTIONS_AVAILABLE = 36;

DWORD GetEnvironmentVariableW(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize) noexcept;
BOOL IsProcessorFeaturePresent(DWORD ProcessorFeature) noexcept;
