// Log lines of one, two, four and eight threads into one file: in a burst, as fast as they come, or paced, a
// line of each thread every 100 us. Measured are the median and the 99th percentile of what a call costs its
// caller, and how many lines a second come to the disk. The file is read afterwards: each line once, whole,
// and in its thread's order.
//
// Peers: another library's queue with a writer thread, whose callers wait when the queue is full (with the
// number of places that it comes with, and with places for all lines), and two that also bring what they
// have to the disk all the time, as ours does: that library with a file that is synced, and a mutex around
// fwrite with a thread that syncs.
#include "orvcomtypes/orvlog.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#ifdef ORV_HAS_SPDLOG
#include <spdlog/async.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

#include <fcntl.h>
#include <unistd.h>
#include <x86intrin.h>

namespace
{

using CClock = std::chrono::steady_clock;

constexpr int kBurstLines = 200'000; ///< of all threads together
constexpr int kPacedLines = 2'000;   ///< of each thread
constexpr std::chrono::microseconds kPace{100};
constexpr std::chrono::milliseconds kSyncPause{2}; ///< our writer's, when it has written what there was

void SyncFile(const std::string& sFile)
{
    const int nFile = open(sFile.c_str(), O_WRONLY);
    fdatasync(nFile);
    close(nFile);
}

/// Calls a function again and again until it is destroyed.
template <class Fn>
std::jthread Repeat(Fn fn)
{
    return std::jthread([fn](const std::stop_token& stop) {
        while (!stop.stop_requested())
        {
            fn();
            std::this_thread::sleep_for(kSyncPause);
        }
    });
}

// ---- Who is measured: opened by the constructor; Finish returns when all lines are on the disk ----

class COurs
{
public:
    explicit COurs(const std::string& sFile)
    {
        m_log.InitFileLog(std::filesystem::path(sFile).u16string().c_str(), lqlInformation | lqlThreadId,
                          ORVTEXT("Bench"));
    }
    void Line(int iRequest, const char* sUser)
    {
        m_log.LogOpt(lqlInformation, "request %d of user %s took %d ms", iRequest, sUser, 42);
    }
    void Finish() { m_log.Flush(INFINITE); }

private:
    COrvLog m_log;
};

class CSyncedFwrite
{
public:
    explicit CSyncedFwrite(const std::string& sFile) : m_pFile(std::fopen(sFile.c_str(), "ab"))
    {
        m_syncer = Repeat([this] { Sync(); });
    }
    ~CSyncedFwrite()
    {
        m_syncer = {};
        std::fclose(m_pFile);
    }
    void Line(int iRequest, const char* sUser)
    {
        char sLine[256];
        const std::time_t tNow = std::time(nullptr);
        std::tm tm;
        localtime_r(&tNow, &tm);
        std::size_t n = std::strftime(sLine, sizeof(sLine), "=I> Bench %y%m%d_%H%M%S ", &tm);
        n += static_cast<std::size_t>(
            std::snprintf(sLine + n, sizeof(sLine) - n, "[%04X] request %d of user %s took %d ms\r\n",
                          static_cast<unsigned>(gettid()) & 0xFFFF, iRequest, sUser, 42));
        const std::lock_guard guard(m_lock);
        std::fwrite(sLine, 1, n, m_pFile);
        m_bUnsynced = true;
    }
    void Finish() { Sync(); }

private:
    void Sync()
    {
        {
            const std::lock_guard guard(m_lock);
            if (!std::exchange(m_bUnsynced, false))
                return;
            std::fflush(m_pFile);
        }
        fdatasync(fileno(m_pFile));
    }

    std::FILE* const m_pFile;
    std::mutex m_lock;
    bool m_bUnsynced = false;
    std::jthread m_syncer;
};

#ifdef ORV_HAS_SPDLOG

/// A file that is on the disk after each flush.
class CSyncedSink : public spdlog::sinks::base_sink<std::mutex>
{
public:
    explicit CSyncedSink(const std::string& sFile) : m_pFile(std::fopen(sFile.c_str(), "ab")) {}
    ~CSyncedSink() override { std::fclose(m_pFile); }

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t text;
        formatter_->format(message, text);
        std::fwrite(text.data(), 1, text.size(), m_pFile);
        m_bUnsynced = true;
    }
    void flush_() override
    {
        if (!std::exchange(m_bUnsynced, false))
            return;
        std::fflush(m_pFile);
        fdatasync(fileno(m_pFile));
    }

private:
    std::FILE* const m_pFile;
    bool m_bUnsynced = false;
};

constexpr std::size_t kUsualPlaces = 8192;

template <class Sink, std::size_t Places>
class CSpdlog
{
public:
    explicit CSpdlog(const std::string& sFile)
        : m_sFile(sFile),
          m_pThread(std::make_shared<spdlog::details::thread_pool>(Places, 1)),
          m_pLogger(std::make_shared<spdlog::async_logger>("Bench", std::make_shared<Sink>(sFile), m_pThread,
                                                           spdlog::async_overflow_policy::block))
    {
        m_pLogger->set_pattern("=I> %n %y%m%d_%H%M%S [%t] %v");
        if constexpr (std::is_same_v<Sink, CSyncedSink>)
            m_syncer = Repeat([this] { m_pLogger->flush(); });
    }
    void Line(int iRequest, const char* sUser)
    {
        m_pLogger->info("request {} of user {} took {} ms", iRequest, sUser, 42);
    }
    void Finish()
    {
        m_syncer = {};
        m_pLogger.reset();
        m_pThread.reset(); // ends when the queue is empty
        SyncFile(m_sFile);
    }

private:
    const std::string m_sFile;
    std::shared_ptr<spdlog::details::thread_pool> m_pThread;
    std::shared_ptr<spdlog::async_logger> m_pLogger;
    std::jthread m_syncer;
};

using CSpdlogUsual = CSpdlog<spdlog::sinks::basic_file_sink_mt, kUsualPlaces>;
using CSpdlogRoomy = CSpdlog<spdlog::sinks::basic_file_sink_mt, 2 * kBurstLines>;
using CSpdlogSynced = CSpdlog<CSyncedSink, kUsualPlaces>;

#endif

// ---- The measurement ----

/// Empty when the file holds each thread's lines from the first to the last.
std::string Fault(const std::string& sFile, int nThreads, int nLines)
{
    std::vector<int> last(static_cast<std::size_t>(nThreads), 0);
    std::ifstream file(sFile);
    for (std::string sLine; std::getline(file, sLine);)
    {
        const auto nText = sLine.find("request ");
        int iRequest = 0;
        int iUser = 0;
        int nEnd = 0;
        if (nText == sLine.npos ||
            std::sscanf(sLine.c_str() + nText, "request %d of user u%d took 42 ms%n", &iRequest, &iUser,
                        &nEnd) != 2 ||
            nEnd == 0 || iUser < 0 || iUser >= nThreads ||
            ++last[static_cast<std::size_t>(iUser)] != iRequest)
            return "lost, doubled or broken: " + sLine;
    }
    return std::count(last.begin(), last.end(), nLines) == nThreads ? "" : "lines are missing";
}

double NanosecondsPerTick()
{
    const auto start = CClock::now();
    const std::uint64_t nStart = __rdtsc();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const std::chrono::duration<double, std::nano> passed = CClock::now() - start;
    return passed.count() / static_cast<double>(__rdtsc() - nStart);
}

template <class Log>
void Produce(Log& log, int iUser, bool bPaced, std::vector<std::uint32_t>& ticks)
{
    const std::string sUser{'u', static_cast<char>('0' + iUser)};
    auto next = CClock::now();
    for (std::size_t i = 0; i < ticks.size(); ++i)
    {
        if (bPaced)
            std::this_thread::sleep_until(next += kPace);
        const std::uint64_t nStart = __rdtsc();
        log.Line(static_cast<int>(i + 1), sUser.c_str());
        ticks[i] = static_cast<std::uint32_t>(std::min<std::uint64_t>(__rdtsc() - nStart, ~0u));
    }
}

template <class Log>
void Lines(benchmark::State& state)
{
    static const double dNanoseconds = NanosecondsPerTick();
    const auto nThreads = static_cast<int>(state.range(0));
    const bool bPaced = state.range(1) != 0;
    const int nLines = bPaced ? kPacedLines : kBurstLines / nThreads;
    const std::string sFile =
        std::filesystem::temp_directory_path() / ("orvcomtypes_bench_" + std::to_string(getpid()) + ".txt");
    std::vector<std::vector<std::uint32_t>> ticks(
        static_cast<std::size_t>(nThreads), std::vector<std::uint32_t>(static_cast<std::size_t>(nLines)));
    for (auto _ : state)
    {
        {
            Log log(sFile);
            std::atomic<bool> bBegin = false;
            std::vector<std::jthread> threads;
            for (int i = 0; i < nThreads; ++i)
                threads.emplace_back([&, i] {
                    while (!bBegin)
                        std::this_thread::yield();
                    Produce(log, i, bPaced, ticks[static_cast<std::size_t>(i)]);
                });
            const auto begin = CClock::now();
            bBegin = true;
            threads.clear();
            log.Finish();
            state.SetIterationTime(std::chrono::duration<double>(CClock::now() - begin).count());
        }
        const std::string sFault = Fault(sFile, nThreads, nLines);
        std::filesystem::remove(sFile);
        if (!sFault.empty())
            return state.SkipWithError(sFault.c_str());
    }
    std::vector<std::uint32_t> all;
    for (const auto& some : ticks)
        all.insert(all.end(), some.begin(), some.end());
    std::sort(all.begin(), all.end());
    state.counters["median_ns"] = dNanoseconds * all[all.size() / 2];
    state.counters["p99_ns"] = dNanoseconds * all[all.size() * 99 / 100];
    state.SetItemsProcessed(state.iterations() * nThreads * nLines);
}

void Cases(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->ArgNames({"threads", "paced"})->ArgsProduct({{1, 2, 4, 8}, {0, 1}});
    pBenchmark->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK_TEMPLATE(Lines, COurs)->Apply(Cases);
#ifdef ORV_HAS_SPDLOG
BENCHMARK_TEMPLATE(Lines, CSpdlogUsual)->Apply(Cases);
BENCHMARK_TEMPLATE(Lines, CSpdlogRoomy)->Apply(Cases);
BENCHMARK_TEMPLATE(Lines, CSpdlogSynced)->Apply(Cases);
#endif
BENCHMARK_TEMPLATE(Lines, CSyncedFwrite)->Apply(Cases);

/// A line of a level that is off.
void LineOff(benchmark::State& state)
{
    COrvLog log;
    log.SetLogOpt(lqlErrors);
    for (auto _ : state)
        log.LogOpt(lqlInformation, "request %d of user %s took %d ms", 1, "someone", 42);
}
BENCHMARK(LineOff);

} // namespace

BENCHMARK_MAIN();
