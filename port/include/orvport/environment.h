// Environment variables.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

DWORD GetEnvironmentVariableW(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize) noexcept;
