// The one way in which the library throws.
#pragma once

#include "orvcomtypes/lqexcept.h"

namespace OCT
{

/// Marks this thread as throwing. What goes wrong meanwhile must not begin the same again.
class CThrowScope
{
public:
    CThrowScope() noexcept;
    CThrowScope(const CThrowScope&) = delete;
    CThrowScope& operator=(const CThrowScope&) = delete;
    ~CThrowScope();

    /// True when the thread was throwing already.
    bool IsNested() const noexcept { return m_bNested; }

private:
    bool m_bNested;
};

/// Tells the process logger, then the exception logger or the debugger, what is about to be thrown.
void AnnounceThrow(const CLQExcept& e, const char* sTypeName, const void* pAddress) noexcept;

/// Makes, announces and throws an exception on behalf of who called from \p pAddress. Inside of another throw
/// it is thrown without an announcement.
template <class Except, class... Args>
[[noreturn]] void Raise(const char* sTypeName, const void* pAddress, const Args&... args)
{
    const CThrowScope scope;
    Except e(args...);
    if (!scope.IsNested())
        AnnounceThrow(e, sTypeName, pAddress);
    throw e; // moved: a copy would need memory, which may be what is missing
}

} // namespace OCT
