// One log line, on the caller's side: what the call costs the thread that makes it. Beside it a mutex around
// fwrite, which writes itself, and another library's queue with a writer thread.
#include "orvcomtypes/orvlog.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <mutex>

#ifdef ORV_HAS_SPDLOG
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

#include <unistd.h>

namespace
{

std::filesystem::path LogFile(const char* sName)
{
    return std::filesystem::temp_directory_path() /
           (std::string("orvcomtypes_bench_") + std::to_string(getpid()) + "_" + sName + ".txt");
}

// ---- Ours ----

std::unique_ptr<COrvLog> g_pOurs;

void OpenOurs(const benchmark::State&)
{
    const auto sFile = LogFile("ours").u16string();
    g_pOurs = std::make_unique<COrvLog>();
    g_pOurs->InitFileLog(sFile.c_str(), lqlInformation | lqlThreadId, ORVTEXT("Bench"));
}

void CloseOurs(const benchmark::State&)
{
    g_pOurs.reset();
    std::filesystem::remove(LogFile("ours"));
}

void OursLine(benchmark::State& state)
{
    int i = 0;
    for (auto _ : state)
        g_pOurs->LogOpt(lqlInformation, "request %d of user %s took %d ms", ++i, "someone", 42);
}
BENCHMARK(OursLine)->Setup(OpenOurs)->Teardown(CloseOurs)->Iterations(200000)->ThreadRange(1, 4);

void OursLineOff(benchmark::State& state)
{
    for (auto _ : state)
        g_pOurs->LogOpt(lqlErrors, "request %d of user %s took %d ms", 1, "someone", 42);
}
BENCHMARK(OursLineOff)->Setup(OpenOurs)->Teardown(CloseOurs);

// ---- A mutex and fwrite ----

std::FILE* g_pFile;
std::mutex g_fileLock;

void OpenPlain(const benchmark::State&)
{
    g_pFile = std::fopen(LogFile("plain").c_str(), "ab");
}

void ClosePlain(const benchmark::State&)
{
    std::fclose(g_pFile);
    std::filesystem::remove(LogFile("plain"));
}

void MutexFwriteLine(benchmark::State& state)
{
    int i = 0;
    for (auto _ : state)
    {
        char sLine[1024];
        const std::time_t tNow = std::time(nullptr);
        std::tm tm;
        localtime_r(&tNow, &tm);
        std::size_t n = std::strftime(sLine, sizeof(sLine), "=I> Bench %y%m%d_%H%M%S ", &tm);
        n += static_cast<std::size_t>(
            std::snprintf(sLine + n, sizeof(sLine) - n, "[%04X] request %d of user %s took %d ms\r\n",
                          static_cast<unsigned>(gettid()) & 0xFFFF, ++i, "someone", 42));
        const std::lock_guard guard(g_fileLock);
        std::fwrite(sLine, 1, n, g_pFile);
        std::fflush(g_pFile);
    }
}
BENCHMARK(MutexFwriteLine)->Setup(OpenPlain)->Teardown(ClosePlain)->Iterations(200000)->ThreadRange(1, 4);

#ifdef ORV_HAS_SPDLOG
std::shared_ptr<spdlog::logger> g_pSpdlog;

void OpenSpdlog(const benchmark::State&)
{
    spdlog::init_thread_pool(1 << 20, 1);
    g_pSpdlog = spdlog::basic_logger_mt<spdlog::async_factory>("bench", LogFile("spdlog").string());
    g_pSpdlog->set_pattern("=I> %n %y%m%d_%H%M%S [%t] %v");
}

void CloseSpdlog(const benchmark::State&)
{
    g_pSpdlog.reset();
    spdlog::shutdown();
    std::filesystem::remove(LogFile("spdlog"));
}

void SpdlogAsyncLine(benchmark::State& state)
{
    int i = 0;
    for (auto _ : state)
        g_pSpdlog->info("request {} of user {} took {} ms", ++i, "someone", 42);
}
BENCHMARK(SpdlogAsyncLine)->Setup(OpenSpdlog)->Teardown(CloseSpdlog)->Iterations(200000)->ThreadRange(1, 4);
#endif

} // namespace

BENCHMARK_MAIN();
