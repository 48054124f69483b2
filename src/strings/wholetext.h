/// Texts that must not be cut short where memory is missing.
#pragma once

#include "orvcomtypes/lqthrow.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

namespace OCT
{

/// \p s itself, unless it is null, as `COrvStr` leaves a long text that found no memory: that throws
/// `CLQMemoryExcept`.
inline const COrvStr& Whole(const COrvStr& s)
{
    if (static_cast<const WCHAR*>(s) == nullptr)
        LQThrowMemory(LQ_SRC_LOCATION);
    return s;
}

/// Appends \p sMore, and throws where otherwise the text so far would be lost.
inline void AppendWhole(COrvStr& s, const WCHAR* sMore)
{
    s.Append(sMore);
    Whole(s);
}

} // namespace OCT
