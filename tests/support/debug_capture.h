// What this process sends to the debugger.
#pragma once

#include <string>

/// Collects debugger output from construction to destruction; one at a time.
class CDebugCapture
{
public:
    CDebugCapture();
    CDebugCapture(CDebugCapture&&) = delete;
    ~CDebugCapture();

    /// The text since construction or the last Take(), in UTF-8 where the system keeps it.
    std::string Take();
};
