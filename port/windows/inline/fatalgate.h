// What threads wait for while the process comes to a bad end.
#pragma once

#include <windows.h>

/// A gate that is opened once and stays open. Opening it and waiting at it are calls of the kernel, which
/// take no lock of the process.
class CFatalGate
{
public:
    bool Shut() noexcept
    {
        Remove();
        m_hOpen = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        return m_hOpen != nullptr;
    }
    void Open() noexcept { SetEvent(m_hOpen); }
    /// Also until the thread has ended that is to open it: the end of the process ends threads first.
    void Wait(DWORD dwMilliseconds, HANDLE hOpener = nullptr) noexcept
    {
        const HANDLE handles[] = {m_hOpen, hOpener};
        WaitForMultipleObjects(hOpener != nullptr ? 2 : 1, handles, FALSE, dwMilliseconds);
    }
    void Remove() noexcept
    {
        if (m_hOpen != nullptr)
            CloseHandle(m_hOpen);
        m_hOpen = nullptr;
    }

private:
    HANDLE m_hOpen = nullptr;
};
