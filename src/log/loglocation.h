// The source positions that threads have set for their next log lines.
#pragma once

#include "core/ownlock.h"
#include "orvcomtypes/orvhashmap.h"
#include "orvcomtypes/smartcls.h"

#include <atomic>

struct CThreadLocation
{
    DWORD m_dwThreadId;
    const char* m_sFile; ///< not copied
    int m_iLine;
};

struct CThreadLocationCompare
{
    static unsigned GetHash(DWORD dwThreadId) noexcept { return dwThreadId; }
    static DWORD GetKey(const CThreadLocation* p) noexcept { return p->m_dwThreadId; }
    static bool IsEqual(const CThreadLocation* p, DWORD dwThreadId, void*) noexcept
    {
        return p != nullptr && p->m_dwThreadId == dwThreadId;
    }
};

/// One table for the process, made by the first Set and destroyed by the library's teardown; a later Set
/// makes it anew.
class CThreadLogFileLineHandler
{
public:
    /// A null file with line 0 forgets the calling thread's position.
    static void Set(const char* sFile, int iLine) noexcept;
    /// False, with null and 0, when the calling thread has none.
    static bool Get(const char*& sFile, int& iLine) noexcept;

private:
    CThreadLogFileLineHandler() = default;
    ~CThreadLogFileLineHandler();
    static CThreadLogFileLineHandler& Make();
    static void Destroy();
    void SetOf(DWORD dwThreadId, const char* sFile, int iLine);

    static std::atomic<CThreadLogFileLineHandler*> s_pTable;

    mutable OCT::COwnLock m_lock;
    OCT::CPrtvHashMap<CThreadLocation*, DWORD, CThreadLocationCompare> m_locations;
    std::atomic<unsigned> m_nCount = 0;
};
