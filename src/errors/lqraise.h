// What the ways to throw share.
#pragma once

#include "orvcomtypes/lqexcept.h"

#include <utility>

namespace OCT
{

/// This thread announces no exception: it announces one already, or its throwing is nobody's business.
extern constinit thread_local bool t_bThrowsQuietly;
/// This thread makes the message of an exception. When memory is missing for that, a `CLQMemoryExcept` would
/// need a message itself: the simplest exception says it then.
extern constinit thread_local bool t_bMakesMessage;

/// Sets one of them for a scope.
class CFlagScope
{
public:
    explicit CFlagScope(bool& bFlag) noexcept : m_bFlag(bFlag), m_bFormer(std::exchange(bFlag, true)) {}
    CFlagScope(const CFlagScope&) = delete;
    CFlagScope& operator=(const CFlagScope&) = delete;
    ~CFlagScope() { m_bFlag = m_bFormer; }

private:
    bool& m_bFlag;
    bool m_bFormer;
};

/// Tells the process logger, then the exception logger or the debugger, what is about to be thrown on behalf
/// of who called from \p pAddress.
void AnnounceThrow(const CLQExcept& e, const char* sTypeName, const void* pAddress) noexcept;

} // namespace OCT
