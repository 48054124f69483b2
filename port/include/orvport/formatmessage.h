// Message texts: inserts put into a format, and the system's texts of error codes.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

#include <cstdarg>

#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100u
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200u
#define FORMAT_MESSAGE_FROM_STRING 0x00000400u
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000u
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x00002000u

/// Inserts come as an array (FORMAT_MESSAGE_ARGUMENT_ARRAY) or not at all (FORMAT_MESSAGE_IGNORE_INSERTS).
DWORD FormatMessageW(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId, DWORD dwLanguageId, LPWSTR lpBuffer,
                     DWORD nSize, va_list* Arguments) noexcept;
