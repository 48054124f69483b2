/// Texts put into the places of a format of the system's message syntax, where positions matter more than
/// types: "%2 of %1".
#pragma once

#include <windows.h>

#include <span>

namespace OCT
{

/// Writes \p sFormat to \p sBuffer, terminated, with text 1 in the place of "%1" and so on. Null texts, and
/// places that have none, are empty. Returns ERROR_SUCCESS, also for an empty result, or why there is none:
/// ERROR_INVALID_PARAMETER for a broken format, ERROR_INSUFFICIENT_BUFFER for too long a result.
DWORD PutInserts(const WCHAR* sFormat, std::span<const WCHAR* const> texts, WCHAR* sBuffer, DWORD nSize);

} // namespace OCT
