// The system's texts of error codes.
#pragma once

#include <windows.h>

/// The text of a Win32 error code or of the HRESULT that stands for one, without a line end; null when there
/// is none.
const char16_t* PortSystemText(DWORD dwCode) noexcept;
