// What the library asks of the system, made to fail, hang or stand still: the one place for it. Calls of the
// whole process are counted, the library's as those of what it is built on. A test that includes this is
// linked with it, also beside the sanitizers.
#pragma once

#include <chrono>
#include <csetjmp>
#include <cstdint>
#include <filesystem>

enum class FaultyCall
{
    Allocation,
    LargeAllocation, ///< POSIX only: by malloc, of 50,000 bytes and more
    Open,            ///< no handle is left
    Sync,            ///< the disk reports an error
    HangingSync,     ///< never comes back
    CutOffWrite,     ///< puts all at the end of a file and goes on behind RunUntilCutOff
    SlowWrite,       ///< POSIX only: what is put at the end of a file takes a fifth of a second
    ThreadStart,
    Sleep, ///< comes back at once
    Count
};

/// For its lifetime the n-th call (1: the next) fails, and where it is to last every one after it. One of a
/// kind at a time; nothing that is not under test should run meanwhile.
class CFault
{
public:
    explicit CFault(FaultyCall call, unsigned nFirst = 1, bool bLasts = true);
    CFault(CFault&&) = delete;
    ~CFault();

    /// Whether a call has failed yet.
    bool Happened() const;

private:
    FaultyCall m_call;
};

extern std::jmp_buf g_cutOff;

/// True when a call cut the function off, as if its thread had ended there: destructors are not called.
template <class Function>
bool RunUntilCutOff(Function fn)
{
    if (setjmp(g_cutOff) != 0)
        return true;
    fn();
    return false;
}

/// For its lifetime the clocks that count from the system's start stand still.
class CFrozenClock
{
public:
    explicit CFrozenClock(std::chrono::nanoseconds sinceStart) { Set(sinceStart); }
    CFrozenClock(CFrozenClock&&) = delete;
    ~CFrozenClock() { Set({}); }
    void Set(std::chrono::nanoseconds sinceStart);
};

/// While it lives nobody can open the file for writing.
class CDeniedFile
{
public:
    explicit CDeniedFile(const std::filesystem::path& file);
    CDeniedFile(CDeniedFile&&) = delete;
    ~CDeniedFile();

private:
    const std::filesystem::path m_file;
    std::intptr_t m_nFormer;
};

/// Blocks of the heap that are in use.
long long BlocksInUse();

// ---- POSIX only: what the kernel itself does ----

/// While it lives files may become so large only: what is beyond is not written.
class CFileLimit
{
public:
    explicit CFileLimit(std::size_t nBytes);
    CFileLimit(CFileLimit&&) = delete;
    ~CFileLimit();
};

/// A disk of so many KB, new and empty, in a folder that there is. Only this thread sees it and those that it
/// starts later.
class CSmallDisk
{
public:
    CSmallDisk(const std::filesystem::path& folder, unsigned nKB);
    CSmallDisk(CSmallDisk&&) = delete;
    ~CSmallDisk();
    /// Not everybody may mount one.
    bool IsMounted() const { return m_bMounted; }

private:
    const std::filesystem::path m_folder;
    const bool m_bMounted;
};

/// Somebody else's lock of a file.
class CHeldLock
{
public:
    explicit CHeldLock(const std::filesystem::path& file);
    CHeldLock(CHeldLock&&) = delete;
    ~CHeldLock();

private:
    const int m_nFile;
};

// ---- What the functions that stand in for the system's build on ----

/// Counts a call; true when it must fail.
bool FailsNow(FaultyCall call);
/// Where such calls have begun to fail and go on: a number that no other fault has; else 0.
unsigned FaultThatLasts(FaultyCall call);
/// A call that never comes back when it must hang.
void HangNow();
/// A call that goes on behind RunUntilCutOff when it must.
void CutOffNow();
/// What the clocks show in nanoseconds; 0: the time.
long long FrozenClock();
void CountBlock(int nDifference);
