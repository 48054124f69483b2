// The source positions that threads have set for their next log lines.
#pragma once

/// A position lies in its thread's own memory: neither setting nor reading it takes a lock or allocates. The
/// text is not copied.
class CThreadLogFileLineHandler
{
public:
    /// A null file with line 0 forgets the calling thread's position.
    static void Set(const char* sFile, int iLine) noexcept;
    /// False, with null and 0, when the calling thread has none.
    static bool Get(const char*& sFile, int& iLine) noexcept;

    /// Gives the threads' memory back.
    static void FreeAtUnload() noexcept;
};
