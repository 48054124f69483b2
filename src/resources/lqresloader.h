// Finds the language library of a module.
#pragma once

#include <windows.h>

/// Created at process attach, destroyed at process detach.
class CLQResLoader
{
public:
    /// Remembers the module whose texts the language library holds.
    void Init(HMODULE hModule) { m_hModule = hModule; }

private:
    HMODULE m_hModule = nullptr;
};
