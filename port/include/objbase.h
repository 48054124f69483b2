// COM memory. Declared with the rest in windows.h; the name is here because Windows keeps them apart.
#pragma once

#include <windows.h> // IWYU pragma: export
