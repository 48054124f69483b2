// Where a function was called from.
#pragma once

/// The return address of the function in which this stands; that one must not be inlined.
#if defined(_MSC_VER)
#include <intrin.h>
#define PortReturnAddress() (static_cast<const void*>(_ReturnAddress()))
#else
#define PortReturnAddress() (static_cast<const void*>(__builtin_return_address(0)))
#endif
