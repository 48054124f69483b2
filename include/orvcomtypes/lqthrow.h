/// The two ways in which templates and low layers throw, without knowing the exception classes.
#pragma once

#include "orvcomtypes/octassert.h" // IWYU pragma: keep (LQ_SRC_LOCATION)
#include "orvcomtypes/orvexport.h"

#include <windows.h>

/// A source position carried by an exception: the file's stem and the line.
struct LQSrcLocation
{
    const WCHAR* m_sFile; ///< static text
    unsigned m_nLine;     ///< from 1
};

/// The current position.
#define LQ_SRC_LOCATION \
    (::LQSrcLocation{::OCT::kSourceNameW<::OCT::CSourceStem<WCHAR>(__FILE__)>, \
                     static_cast<unsigned>(__LINE__)})

/// Throws `CLQMemoryExcept` (E_OUTOFMEMORY, the generic message of `lqeMemory`) through the library's throw
/// path.
[[noreturn]] ORV_API void ORVCALL LQThrowMemory(const LQSrcLocation& location);

/// Throws `CLQInvalidargExcept` (E_INVALIDARG, the generic message of `lqeInvalidarg`) through the library's
/// throw path.
[[noreturn]] ORV_API void ORVCALL LQThrowInvalidArg(const LQSrcLocation& location);
