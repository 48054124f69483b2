#include "orvcomtypes/smartcls.h"

#include "orvcomtypes/octassert.h"

namespace OCT
{

CCritSect::CCritSect() noexcept : m_bInitialized(FALSE)
{
    Init();
}

CCritSect::~CCritSect()
{
    if (!m_bInitialized)
        return;
    DeleteCriticalSection(&m_section);
    m_bInitialized = FALSE;
}

bool CCritSect::Init() noexcept
{
    if (m_bInitialized)
    {
        ORV_REPORT("OCT::CCritSect::Init", "! m_bInitialized");
        return false;
    }
    InitializeCriticalSection(&m_section);
    m_bInitialized = TRUE;
    return true;
}

void CCritSect::Lock() noexcept
{
    if (m_bInitialized) [[likely]]
        EnterCriticalSection(&m_section);
    else
        ORV_REPORT("OCT::CCritSect::Lock", "m_bInitialized");
}

void CCritSect::Unlock() noexcept
{
    if (m_bInitialized) [[likely]]
        LeaveCriticalSection(&m_section);
    else
        ORV_REPORT("OCT::CCritSect::Unlock", "m_bInitialized");
}

} // namespace OCT
