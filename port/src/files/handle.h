// What stands behind a HANDLE: a counted object, so that a thread and its creator, or two waits, can share
// it.
#pragma once

#include <windows.h>

#include <atomic>

class CPortObject
{
public:
    enum class EKind
    {
        File,
        Find,
        Event,
        Thread,
        Process
    };

    explicit CPortObject(EKind eKind) noexcept : m_eKind(eKind) {}
    CPortObject(const CPortObject&) = delete;
    CPortObject& operator=(const CPortObject&) = delete;

    EKind Kind() const noexcept { return m_eKind; }
    void AddRef() noexcept { m_nRefs.fetch_add(1, std::memory_order_relaxed); }
    void Release() noexcept
    {
        if (m_nRefs.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

    /// The object of a handle, or null (last error ERROR_INVALID_HANDLE) when the handle is none of a kind T.
    template <class T>
    static T* Of(HANDLE hObject) noexcept
    {
        auto* pObject = static_cast<CPortObject*>(hObject);
        if (hObject && hObject != INVALID_HANDLE_VALUE && T::IsKind(pObject->Kind()))
            return static_cast<T*>(pObject);
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    static bool IsKind(EKind) noexcept { return true; }

protected:
    virtual ~CPortObject() = default;

private:
    const EKind m_eKind;
    std::atomic<int> m_nRefs{1};
};
