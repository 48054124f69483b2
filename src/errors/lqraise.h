// What the ways to throw share.
#pragma once

#include "orvcomtypes/lqexcept.h"

namespace OCT
{

/// This thread makes the message of an exception. When memory is missing for that, a `CLQMemoryExcept` would
/// need a message itself: the simplest exception says it then.
extern constinit thread_local bool t_bMakesMessage;

/// Tells the process logger, then the exception logger or the debugger, what is about to be thrown on behalf
/// of who called from \p pAddress.
void AnnounceThrow(const CLQExcept& e, const char* sTypeName, const void* pAddress) noexcept;

} // namespace OCT
