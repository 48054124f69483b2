// Reads of the registry that belong together.
#pragma once

#include <memory>

/// While one lives, what its thread reads of a hive is what the hive's file said at the first look: further
/// calls need not look again. For the few calls that read one value. What the thread writes meanwhile it does
/// not see. Within another one it does nothing.
class CRegistryReading
{
public:
    CRegistryReading() noexcept
    {
        if (t_pCurrent == nullptr)
            t_pCurrent = this;
    }
    CRegistryReading(const CRegistryReading&) = delete;
    CRegistryReading& operator=(const CRegistryReading&) = delete;
    ~CRegistryReading()
    {
        if (t_pCurrent == this)
            t_pCurrent = nullptr;
    }

    /// The calling thread's, or null.
    static CRegistryReading* Current() noexcept { return t_pCurrent; }
    /// What was seen of a hive, for its own use.
    std::shared_ptr<const void>& Seen(int nHive) noexcept { return m_apSeen[nHive]; }

private:
    static __thread CRegistryReading* t_pCurrent __attribute__((tls_model("initial-exec")));

    std::shared_ptr<const void> m_apSeen[2];
};
