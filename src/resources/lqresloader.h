// Finds the language library of a module.
#pragma once

#include "orvcomtypes/lqsettings.h"

/// Created at process attach, destroyed at process detach. Empty until `Init`.
class CLQResLoader
{
public:
    /// Remembers the module whose texts the language library holds, and reads the resource options: the
    /// setting "UseResourceDLL", which is 1 where nobody set it to 0.
    void Init(HMODULE hModule) noexcept
    {
        m_hModule = hModule;
        m_bUseResourceDLL = GetLQDWORDSettingW(nullptr, ORVTEXT("UseResourceDLL"), 1) != 0;
    }

    HMODULE GetModule() const noexcept { return m_hModule; }
    /// Whether the texts come from a library of the language.
    bool UsesResourceDLL() const noexcept { return m_bUseResourceDLL; }

private:
    HMODULE m_hModule = nullptr;
    bool m_bUseResourceDLL = false;
};
