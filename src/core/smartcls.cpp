#include "orvcomtypes/smartcls.h"

#include "orvcomtypes/octassert.h"

#include <windows.h>

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
    // Volatile, or the compiler drops a store into an object that ends; static destructors that run later
    // look at it.
    const_cast<volatile BOOL&>(m_bInitialized) = FALSE;
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

} // namespace OCT
