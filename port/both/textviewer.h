// What has no Win32 name of its own: both port/src and port/windows supply it.
#pragma once

#include <windows.h>

/// The program that shows a text file to the user: its own text editor.
const WCHAR* PortTextViewer() noexcept;
