// An empty registry for a test.
#pragma once

/// While it lives both hives of this process (HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER) are empty and its own;
/// what is written to them disappears. On Windows this hides all of the machine's keys too, and children see
/// the real ones.
class CTestRegistry
{
public:
    CTestRegistry();
    CTestRegistry(CTestRegistry&&) = delete;
    ~CTestRegistry();
};
