// Objects that threads wait for. One lock guards the state of all: waits are rare here, and it makes waiting
// for several objects a plain look at each.
#pragma once

#include "files/handle.h"

struct CWaitNode;

class CWaitable : public CPortObject
{
public:
    static bool IsKind(EKind eKind) noexcept
    {
        return eKind == EKind::Event || eKind == EKind::Thread || eKind == EKind::Process;
    }

    void Signal() noexcept;

    /// Called after a wait was satisfied, without the lock.
    virtual void OnWaited() noexcept {}

protected:
    CWaitable(EKind eKind, bool bManualReset, bool bSignaled) noexcept
        : CPortObject(eKind), m_bManualReset(bManualReset), m_bSignaled(bSignaled)
    {
    }

private:
    friend class CWait;
    const bool m_bManualReset;
    bool m_bSignaled;
    CWaitNode* m_pWaiting = nullptr;
};
