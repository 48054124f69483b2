// What logs keep when their process ends, well or badly.
#include "orvcomtypes/logcrash.h"
#include "orvcomtypes/lqexcept.h"
#include "support/child_process.h"
#include "support/test_log.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace
{

constexpr int kLines = 2000;

/// Cannot even say what it is.
class CUntold : public CLQExcept
{
public:
    using CLQExcept::CLQExcept;
    COrvStr FormatToLog() const override { throw 7; }
};

void InThread(void (*pfn)())
{
    std::thread(pfn).join();
}

volatile int g_nZero = 0;

/// Takes stack until there is none.
int Overflow(int n)
{
    volatile char sRoom[1000];
    sRoom[0] = static_cast<char>(n);
    return g_nZero == 0 ? Overflow(n + 1) + sRoom[0] : n;
}

const struct CEnd
{
    const char* m_sName;
    const char* m_sTold;
    const char* m_sFormer; ///< what the handler says that was there before
    void (*m_pfn)();
} g_ends[] = {
    {"abort", "abort|SIGABRT", "former abort", [] { std::abort(); }},
    {"throw", "Uncaught exception: no way", "former terminate", [] { throw std::runtime_error("no way"); }},
    {"throw of ours", "Uncaught exception: Category: lqeMemory", "former terminate",
     [] { throw CLQMemoryExcept(0, LQ_SRC_LOCATION); }},
    {"throw of a host", "Uncaught exception of an unknown type", "former terminate",
     [] { throw CUntold(E_FAIL, 0, LQ_SRC_LOCATION); }},
    {"throw in a thread", "Uncaught exception of an unknown type", "former terminate",
     [] { InThread([] { throw 7; }); }},
    {"terminate", "terminate was called", "former terminate", [] { std::terminate(); }},
    {"fault", "SIGSEGV|Exception C0000005", "former fault|crashed with",
     [] {
         static int* volatile s_pNowhere = nullptr;
         *s_pNowhere = 1;
     }},
    {"division", "SIGFPE|Exception C0000094", "", [] { g_nZero = 100 / g_nZero; }},
    {"no instruction", "SIGILL|Exception C000001D", "", [] { __builtin_trap(); }},
    {"stack", "SIGSEGV|Exception C00000FD", "", [] { Overflow(0); }},
    {"stack of a thread", "SIGSEGV|Exception C00000FD", "",
     [] {
         InThread([] {
             EXPECT_TRUE(ReserveLogCrashStack());
             Overflow(0);
         });
     }},
};

void Say(const char* s)
{
    std::fputs(s, stdout);
    std::fflush(stdout);
}

bool IsFault(const CEnd& end)
{
    return std::string_view(end.m_sTold).find("Exception C0") != std::string_view::npos;
}

/// The sanitizers take faults for themselves. 64-bit Wine 8 leaves a thread whose stack overflows the rest of
/// one page, whatever was guaranteed to it: too little for the exception's own record, so it ends the thread
/// without asking any filter (a program of SetThreadStackGuarantee, a filter and a recursion shows it), and
/// when that was the main one, the others keep the process alive.
bool IsTakenBySystem(const CEnd& end)
{
#ifdef ORV_TEST_SANITIZED
    return IsFault(end);
#elif defined(_WIN64)
    return std::string_view(end.m_sName).starts_with("stack");
#else
    static_cast<void>(end);
    return false;
#endif
}

Text WideText(const std::string& sPath)
{
    return std::filesystem::path(sPath).string<WCHAR>();
}

} // namespace

ORV_CHILD(EndBadly)
{
    std::set_terminate([] {
        Say("former terminate\n");
        std::abort();
    });
    std::signal(SIGABRT, [](int) { Say("former abort\n"); });
#ifndef _WIN64 // there the C runtime calls it before any filter is asked
    std::signal(SIGSEGV, [](int) {
        Say("former fault\n");
        std::_Exit(3);
    });
#endif
    static COrvLog s_log;
    if (!s_log.InitFileLog(WideText(args.at(1)).c_str(), lqlErrors | lqlInformation, nullptr) ||
        !InstallLogCrashHandler(&s_log, 60000))
        return 1;
    for (int i = 0; i < kLines; ++i)
        s_log.LogOpt(lqlInformation, "w %d", i);
    g_ends[std::stoi(args.at(0))].m_pfn();
    return 1;
}

TEST(LogCrash, LosesNothingAndTellsWhyAndPassesOn)
{
    for (std::size_t i = 0; i < std::size(g_ends); ++i)
    {
        const CEnd& end = g_ends[i];
        if (IsTakenBySystem(end))
        {
            std::printf("left out here: %s\n", end.m_sName);
            continue;
        }
        SCOPED_TRACE(end.m_sName);
        const CTempDir dir;
        const auto file = dir / "log.txt";
        const ChildResult result = CChildProcess("EndBadly", {std::to_string(i), file.string()}).Wait();
        if (!IsFault(end)) // a stack that overflows under Wine may give 0
        {
            EXPECT_NE(0, result.m_iExitCode);
        }
        EXPECT_NE(1, result.m_iExitCode);
        EXPECT_TRUE(Contains(result.m_sOutput, end.m_sFormer)) << result.m_sOutput;
        const std::string sText = WithoutTimes(ReadBytes(file));
        const auto nTold = sText.find("=E> <t> The process ends. ");
        ASSERT_NE(std::string::npos, nTold);
        EXPECT_EQ((std::map<std::string, int>{{"w", kLines}}), CountLines(sText.substr(0, nTold)));
        EXPECT_TRUE(Contains(sText.substr(nTold), end.m_sTold)) << sText.substr(nTold);
    }
}

TEST(LogCrash, RemovedHandlerLeavesTheFormerOnes)
{
    const auto pfnFormer = std::get_terminate();
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_TRUE(InstallLogCrashHandler(nullptr, 100));
        EXPECT_TRUE(InstallLogCrashHandler(nullptr, 200));
        EXPECT_NE(pfnFormer, std::get_terminate());
        RemoveLogCrashHandler();
        EXPECT_EQ(pfnFormer, std::get_terminate());
        RemoveLogCrashHandler();
    }
}

/// Fails where the handler cannot tell of it, and would wait for ever for itself.
ORV_CHILD(FailUntold)
{
    const bool bRemoved = args.at(0) == "removed";
    static const auto s_pNoLog = reinterpret_cast<COrvLog*>(0x8000);
    InstallLogCrashHandler(bRemoved ? nullptr : s_pNoLog, INFINITE);
    const auto pfnOurs = std::get_terminate();
    if (bRemoved)
        RemoveLogCrashHandler();
    pfnOurs(); // as a later handler passes on
    return 1;
}

TEST(LogCrash, NobodyWaitsForALoggerThatIsGoneOrFails)
{
    for (const char* sHow : {"removed", "fails itself"})
    {
#ifdef ORV_TEST_SANITIZED
        if (*sHow == 'f')
            continue; // faults are theirs
#endif
        const int iExitCode = CChildProcess("FailUntold", {sHow}).Wait().m_iExitCode;
        EXPECT_TRUE(iExitCode != 0 && iExitCode != 1) << sHow;
    }
}

// ---- Ends without harm ----

namespace
{

const std::pair<const char*, void (*)()> g_goodEnds[] = {
    {"return", [] {}},
    {"exit", [] { std::exit(0); }},
    {"exit from another thread", [] { InThread([] { std::exit(0); }); }},
};

} // namespace

/// Ends while lines wait. The log's thread does nothing meanwhile: Wine kills it wherever it is, and may then
/// hang or break.
ORV_CHILD(EndWell)
{
    static struct CLateLogger
    {
        ~CLateLogger() { m_log.LogErr(ORVTEXT("from a static destructor")); }
        COrvLog m_log;
    } s_late;
    const Text sFile = WideText(args.at(1));
    if (!s_late.m_log.InitFileLog(sFile.c_str(), lqlErrors, nullptr) ||
        !InitFileProcessLogger(sFile.c_str(), lqlErrors))
        return 1;
    s_late.m_log.SetFlushLevel(lqlErrors); // the line has been tried in vain, and the thread sleeps
    s_late.m_log.LogErr(ORVTEXT("from main"));
    s_late.m_log.SetFlushLevel(0);
    std::filesystem::remove(std::filesystem::path(args.at(1)).parent_path());
    // Never released: its lines are written at the library's end.
    static COrvLog* const s_pLost = new COrvLog(&s_late.m_log, -1, nullptr);
    s_pLost->LogErr(ORVTEXT("from a lost log"));
    g_goodEnds[std::stoi(args.at(0))].second();
    return 0;
}

TEST(LogCrash, NothingIsLostAtTheEndOfTheProcess)
{
    for (std::size_t i = 0; i < std::size(g_goodEnds); ++i)
    {
        SCOPED_TRACE(g_goodEnds[i].first);
        const CTempDir dir;
        WriteBytes(dir / "sub", ""); // where the folder is to be
        const auto file = dir / "sub" / "log.txt";
        EXPECT_EQ(0, CChildProcess("EndWell", {std::to_string(i), file.string()}).Wait().m_iExitCode);
        EXPECT_EQ("=E> <t> from main\r\n=E> <t> from a lost log\r\n=E> <t> from a static destructor\r\n",
                  WithoutTimes(ReadBytes(file)));
    }
}
