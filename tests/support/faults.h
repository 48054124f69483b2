// What the library asks of the system, made to fail: allocations, threads that cannot start, a disk that does
// not answer. The calls of the whole process are counted, the library's as those of what it is built on.
#pragma once

enum class FaultyCall
{
    Allocation,
    Sync,
    ThreadStart,
    Count
};

/// For its lifetime the n-th call (1: the next) fails, and where it is to last every one after it. One of a
/// kind at a time; nothing that is not under test should run meanwhile.
class CFault
{
public:
    explicit CFault(FaultyCall call, unsigned nFirst = 1, bool bLasts = true);
    CFault(const CFault&) = delete;
    CFault& operator=(const CFault&) = delete;
    ~CFault();

    /// Whether a call has failed yet.
    bool Happened() const;

private:
    FaultyCall m_call;
};

/// For its lifetime nobody sleeps: Sleep returns at once.
class CNoSleep
{
public:
    CNoSleep();
    CNoSleep(const CNoSleep&) = delete;
    CNoSleep& operator=(const CNoSleep&) = delete;
    ~CNoSleep();
};

/// Blocks of the heap that are in use.
long long BlocksInUse();

// ---- What the functions that stand in for the system's build on ----

/// Counts a call; true when it must fail.
bool FailsNow(FaultyCall call);
/// Whether such calls have begun to fail and go on.
bool FailsForGood(FaultyCall call);
bool SleepsNow();
void CountBlock(int nDifference);
