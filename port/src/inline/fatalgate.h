// What threads wait for while the process comes to a bad end.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

/// A gate that is opened once and stays open. It may be opened, and waited at, in a signal handler, whatever
/// that interrupted: it takes no lock and no memory, and makes no call but to the kernel.
class CFatalGate
{
public:
    bool Shut() noexcept
    {
        m_nOpen = 0;
        return true;
    }
    void Open() noexcept;
    /// The thread that is to open it does not end before the process.
    void Wait(DWORD dwMilliseconds, HANDLE hOpener = nullptr) noexcept;
    void Remove() noexcept {}

private:
    std::atomic<std::uint32_t> m_nOpen{0};
};
