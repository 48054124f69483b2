#include "log/loglocation.h"

#include "core/lifecycle.h"

#include <new>

std::atomic<CThreadLogFileLineHandler*> CThreadLogFileLineHandler::s_pTable = nullptr;

CThreadLogFileLineHandler::~CThreadLogFileLineHandler()
{
    m_locations.ForEach([](CThreadLocation* p) { delete p; });
}

CThreadLogFileLineHandler& CThreadLogFileLineHandler::Make()
{
    auto* pTable = s_pTable.load(std::memory_order_acquire);
    if (pTable != nullptr)
        return *pTable;
    auto* pNew = new CThreadLogFileLineHandler;
    if (s_pTable.compare_exchange_strong(pTable, pNew, std::memory_order_acq_rel))
    {
        g_TeardownHooks.m_fnDestroySourceLocations.store(Destroy, std::memory_order_release);
        return *pNew;
    }
    delete pNew;
    return *pTable;
}

void CThreadLogFileLineHandler::Destroy()
{
    delete s_pTable.exchange(nullptr, std::memory_order_acq_rel);
}

void CThreadLogFileLineHandler::Set(const char* sFile, int iLine) noexcept
{
    const bool bForget = sFile == nullptr && iLine == 0;
    if (bForget && s_pTable.load(std::memory_order_acquire) == nullptr)
        return;
    try
    {
        Make().SetOf(GetCurrentThreadId(), sFile, iLine);
    }
    catch (...)
    {
        // Without memory the lines do without their position.
    }
}

void CThreadLogFileLineHandler::SetOf(DWORD dwThreadId, const char* sFile, int iLine)
{
    const OCT::CCritSectGuard guard(&m_lock);
    CThreadLocation* pOld = m_locations.GetItemByKey(dwThreadId, nullptr);
    if (sFile == nullptr && iLine == 0)
        delete m_locations.RemoveItemByKey(dwThreadId, nullptr);
    else if (pOld != nullptr)
        *pOld = {dwThreadId, sFile, iLine};
    else
        m_locations.SetItem(new CThreadLocation{dwThreadId, sFile, iLine});
    m_nCount.store(m_locations.GetCount(), std::memory_order_relaxed);
}

bool CThreadLogFileLineHandler::Get(const char*& sFile, int& iLine) noexcept
{
    sFile = nullptr;
    iLine = 0;
    const auto* pTable = s_pTable.load(std::memory_order_acquire);
    // Most lines are written while nobody has set a position.
    if (pTable == nullptr || pTable->m_nCount.load(std::memory_order_relaxed) == 0)
        return false;
    const OCT::CCritSectGuard guard(&pTable->m_lock);
    const CThreadLocation* pFound = pTable->m_locations.GetItemByKey(GetCurrentThreadId(), nullptr);
    if (pFound == nullptr)
        return false;
    sFile = pFound->m_sFile;
    iLine = pFound->m_iLine;
    return true;
}
