#include "log/loginbox.h"

#include "log/logmessage.h"

#include <windows.h>

#include <atomic>

CLogMessage CLogInbox::s_closed;

void CLogInbox::Open()
{
    if (IsOpen())
        return;
    m_dwProcessId.store(GetCurrentProcessId(), std::memory_order_release);
    m_pNewest.store(nullptr, std::memory_order_relaxed);
}

CLogMessage* CLogInbox::TakeAll(bool bClose)
{
    // Only who has the lock closes it, so what is closed stays so.
    const bool bStaysClosed = bClose || m_pNewest.load(std::memory_order_relaxed) == &s_closed;
    CLogMessage* const pNewest =
        m_pNewest.exchange(bStaysClosed ? &s_closed : nullptr, std::memory_order_acquire);
    return pNewest != &s_closed ? pNewest : nullptr;
}
