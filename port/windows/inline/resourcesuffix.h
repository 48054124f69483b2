// How the file name of a resource library ends.
#pragma once

#include <windows.h>

inline constexpr const WCHAR* kPortResourceSuffix = L".dll";
