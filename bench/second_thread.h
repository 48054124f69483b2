/// What the benches of strings and pools share.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <future>
#include <thread>

/// A second thread that exists all the time, as in every program that the library is made for, so that locks
/// take the instructions that they need there; with the environment variable ORV_BENCH_ALONE there is none.
class CSecondThread
{
public:
    CSecondThread()
    {
        if (std::getenv("ORV_BENCH_ALONE") == nullptr)
            m_thread = std::thread([this] { m_end.get_future().wait(); });
    }
    CSecondThread(const CSecondThread&) = delete;
    CSecondThread& operator=(const CSecondThread&) = delete;
    ~CSecondThread()
    {
        m_end.set_value();
        if (m_thread.joinable())
            m_thread.join();
    }

private:
    std::promise<void> m_end;
    std::thread m_thread;
};

/// Runs what is registered, beside the second thread.
inline int RunBenches(int argc, char** argv)
{
    const CSecondThread other;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
