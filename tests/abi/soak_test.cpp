// All families on all cores for a time: logs that rotate and are read back, settings that another process
// changes, languages, statements, texts and arrays, modules that come and go, forks. Nothing may be lost or
// reported, and memory must not grow. A few seconds here; scripts/soak.sh runs it longer and shows the
// figures.
#include "abi/loaded_library.h"
#include "abi/plugin.h"
#include "orvcomtypes/orvcomtypes.h"
#include "support/child_process.h"
#include "support/forked.h"
#include "support/heap.h"
#include "support/random.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;
constexpr unsigned kLinesOfRound = 2000; ///< of each writer
constexpr std::size_t kGrowth = 1 << 20; ///< what the parties hold at a moment differs by less

unsigned Seconds()
{
    const char* const s = std::getenv("ORV_SOAK_SECONDS");
    return s != nullptr ? static_cast<unsigned>(std::atoi(s)) : 6;
}

unsigned Cores()
{
    return std::max(2u, std::thread::hardware_concurrency());
}

/// What one party does again and again until the time is over; true when it went well.
struct CParty
{
    const char* m_sName;
    bool (*m_work)(CTestRandom& random);
    std::atomic<std::uint64_t> m_nDone = 0, m_nFailed = 0;

    void RunUntil(const std::atomic<bool>& bEnd, unsigned nSeed)
    {
        for (CTestRandom random(nSeed); !bEnd; ++m_nDone)
            m_nFailed += !m_work(random);
    }
};

/// A number and its complement in one value, so that half a change would be seen.
std::uint64_t Pair(std::uint32_t n)
{
    return std::uint64_t{n} << 32 | static_cast<std::uint32_t>(~n);
}

bool ReadSettings(CTestRandom& random)
{
    static std::atomic<std::uint32_t> s_nLast = 0;
    const std::uint32_t nBefore = s_nLast;
    const std::uint64_t nValue = GetLQQWORDSettingW(ORVTEXT("Soak"), ORVTEXT("Theirs"), Pair(0));
    const auto n = static_cast<std::uint32_t>(nValue >> 32);
    for (std::uint32_t nLast = s_nLast; nLast < n && !s_nLast.compare_exchange_weak(nLast, n);)
    {
    }
    const std::uint32_t nOwn = random();
    return nValue == Pair(n) && n >= nBefore &&
           (nOwn % 16 != 0 || SetLQQWORDSettingW(ORVTEXT("Soak"), ORVTEXT("Ours"), Pair(nOwn), 0));
}

constexpr const WCHAR* kLanguages[] = {ORVTEXT("en"), ORVTEXT("hu"), ORVTEXT("ja")};

/// One of the library's own, in the thread's language.
Text LoadedText()
{
    COrvStr sText;
    sText.Load(26007, nullptr);
    return TextOf(sText);
}

/// The libraries lie beside the one that the program loaded.
void OwnLanguages()
{
    HMODULE hLibrary = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(ORVS_GetDefaultEmptyString()), &hLibrary);
    CResourceHandler::SetOwner(hLibrary, ORVTEXT("OrvComTypes"), 3, 8);
    EXPECT_TRUE(CResourceHandler::SetLanguage(kLanguages[0]));
}

bool SwitchLanguages(CTestRandom& random)
{
    static std::map<std::size_t, Text> s_texts; // of this party's one thread
    const std::size_t i = random() % 3;
    if (random() % 8 == 0)
        CResourceHandler::SetLanguage(kLanguages[random() % 3]);
    const CThreadLanguage language(kLanguages[i]);
    const Text sText = LoadedText();
    return s_texts.try_emplace(i, sText).first->second == sText && sText.size() > 5;
}

bool BuildStatements(CTestRandom& random)
{
    Text name;
    for (unsigned n = random() % 300; n > 0; --n)
        name += static_cast<WCHAR>("ab'\\c d"[random() % 7]);
    const auto n = static_cast<int>(random());
    COrvSQLStr sql(ORVTEXT("INSERT INTO t VALUES ("));
    sql& n& ORVTEXT(",") & NVARCHAR{name.c_str(), 0, 4000} & ORVTEXT(")");
    const std::string sNumber = std::to_string(n);
    Text expected = ORVTEXT("INSERT INTO t VALUES (") + Text(sNumber.begin(), sNumber.end()) + ORVTEXT(",N'");
    for (const WCHAR c : name)
        expected += c == '\'' ? Text(2, c) : Text(1, c);
    return TextOf(sql) == expected + ORVTEXT("')");
}

/// Texts go from thread to thread, and each of them to other threads' arrays.
bool ShareTexts(CTestRandom& random)
{
    static std::mutex s_mutex;
    static COrvStr s_sShared;
    COrvStr sOwn(ORVTEXT("text"));
    for (unsigned n = random() % 400; n > 0; n /= 2)
        sOwn += sOwn;
    const unsigned nLength = sOwn.GetLength();
    {
        const std::lock_guard lock(s_mutex);
        std::swap(s_sShared, sOwn);
    }
    CMIDINTSet set;
    for (unsigned i = 0; i < 50; ++i)
        set.Add(1 + random() % 1000);
    CMIDINTArray ids;
    set.CopyTo(ids);
    ids.SortIds();
    const COrvTime t(1 + static_cast<int>(random() % 2000000000));
    COrvTime tBack;
    WCHAR sTime[40];
    t.DebugFormat(COrvTime::dftISO, sTime, 40);
    CLQMessage message(0, 1, sTime);
    return nLength > 0 && ids.GetSize() <= 50 && tBack.SetFromString(sTime) && tBack == t &&
           TextOf(CLQMessage(message).Format(ORVTEXT("%1"))) == sTime;
}

bool LoadPlugin(CTestRandom&)
{
    const CLoadedLibrary plugin(ORV_PLUGIN_FILE);
    const bool bWorked = plugin.Find<PluginWork>("Work")();
    plugin.Find<PluginClose>("Close")();
    return bWorked;
}

bool Fork(CTestRandom&)
{
    return RunForked([] {
        COrvSQLStr sql;
        sql & 42;
        return sql.Length() == 2 &&
               !GetLQStrSetting(ORVTEXT("Soak"), ORVTEXT("none"), ORVTEXT("x")).IsEmpty();
    });
}

/// Changes a setting, as fast as it can, until its time is over.
ORV_CHILD(ChangeSettings)
{
    SetLQSettingsRootA(args.at(0).c_str());
    const auto end = Clock::now() + std::chrono::seconds(std::stoi(args.at(1)));
    std::uint32_t n = 0;
    while (Clock::now() < end)
        if (!SetLQQWORDSettingW(ORVTEXT("Soak"), ORVTEXT("Theirs"), Pair(++n), 0))
            return 1;
    std::printf("%u\n", n);
    return 0;
}

// ---- The log ----

/// A log that changes its file by size, and whose file is taken away now and then, where the system lets that
/// happen; files that it has done with are read and removed. One for the whole time, as a handler of a log is
/// never freed.
class CSoakedLog
{
public:
    explicit CSoakedLog(const std::filesystem::path& folder) : m_folder(folder), m_next(Cores())
    {
        EXPECT_TRUE(m_log.InitFileLog(File().string<WCHAR>().c_str(), lqlInformation, nullptr));
        EXPECT_TRUE(m_log.SetFileOption(lqfMaxFileBytes, 100000));
    }

    void RunRound()
    {
        std::vector<std::thread> writers;
        for (unsigned i = 0; i < Cores(); ++i)
            writers.emplace_back([this, i] { WriteLines(i); });
        for (int i = 0; i < 3; ++i)
        {
            std::error_code ignored;
            EXPECT_TRUE(m_log.Flush(60000));
            std::filesystem::rename(File(), m_folder / ("taken" + std::to_string(i)), ignored);
        }
        for (std::thread& writer : writers)
            writer.join();
        EXPECT_TRUE(m_log.Flush(60000));
        ++m_nRounds;
        COrvStr sCurrent = m_log.GetLogFileName();
        sCurrent.Replace('\\', '/');
        ReadFiles(std::filesystem::path(TextOf(sCurrent)).filename());
    }

    /// Every line must be there once.
    void Finish()
    {
        EXPECT_EQ(0u, m_log.GetLostLines());
        m_log.ReleaseLog();
        ReadFiles({});
        for (unsigned i = 0; i < Cores(); ++i)
            EXPECT_EQ(m_nRounds * kLinesOfRound, m_next[i]) << "writer " << i;
        EXPECT_TRUE(m_later.empty());
    }

    std::uint64_t Lines() const { return m_nLines; }
    unsigned Rounds() const { return m_nRounds; }

private:
    std::filesystem::path File() const { return m_folder / "soak.log"; }

    void WriteLines(unsigned nWriter)
    {
        for (unsigned i = 0; i < kLinesOfRound; ++i)
        {
            const unsigned n = m_nRounds * kLinesOfRound + i;
            m_log.LogOpt(lqlInformation, "writer %u line %u %s.", nWriter, n, Rest(n).c_str());
        }
    }
    static std::string Rest(unsigned n) { return std::string(n % 97, static_cast<char>('a' + n % 26)); }

    void ReadFiles(const std::filesystem::path& current)
    {
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder))
            if (entry.path().filename() != current)
                files.push_back(entry.path());
        for (const auto& file : files)
        {
            ReadLines(file);
            std::filesystem::remove(file);
        }
        // Of each writer the runs follow each other, in whatever order the files were read.
        for (bool bMore = true; std::exchange(bMore, false);)
            for (unsigned i = 0; i < Cores(); ++i)
                if (const auto it = m_later.find({i, m_next[i]}); it != m_later.end())
                {
                    m_next[i] = it->second;
                    m_later.erase(it);
                    bMore = true;
                }
    }

    void ReadLines(const std::filesystem::path& file)
    {
        std::istringstream text(ReadBytes(file));
        std::map<unsigned, std::pair<unsigned, unsigned>>
            runs; // of each writer: the first and behind the last
        for (std::string sLine; std::getline(text, sLine); ++m_nLines)
        {
            unsigned nWriter = 0, n = 0;
            int nEnd = 0;
            const bool bRead =
                std::sscanf(sLine.c_str(), "=I> %*13s writer %u line %u %n", &nWriter, &n, &nEnd) == 2;
            if (!bRead || sLine.substr(static_cast<std::size_t>(nEnd)) != Rest(n) + ".\r")
                return ADD_FAILURE() << file << ": " << sLine, void();
            const auto [it, bNew] = runs.try_emplace(nWriter, n, n + 1);
            if (!bNew && it->second.second++ != n)
                return ADD_FAILURE() << file << ": not in order: " << sLine, void();
        }
        for (const auto& [nWriter, run] : runs)
            EXPECT_TRUE(m_later.try_emplace({nWriter, run.first}, run.second).second) << file;
    }

    const std::filesystem::path m_folder;
    COrvLog m_log;
    unsigned m_nRounds = 0;
    std::uint64_t m_nLines = 0;
    std::vector<unsigned> m_next; ///< of each writer: up to where all lines were read
    std::map<std::pair<unsigned, unsigned>, unsigned>
        m_later; ///< runs that were read, and what is behind them
};

/// Reports, but for those of a full table of thread names: each log's thread enters its name, and the table
/// is never emptied.
std::size_t CountReports(CReportCapture& capture)
{
    std::size_t n = 0;
    for (const CapturedReport& report : capture.Take())
        if (report.m_sFunction != "SetThreadName" && ++n <= 5)
            ADD_FAILURE() << report.m_sFunction << ": " << report.m_sCondition;
    return n;
}

} // namespace

TEST(Soak, AllFamiliesOnAllCores)
{
    CReportCapture capture;
    const CTempDir dir;
    const std::string sRoot = "Software\\OrvComTypesTest\\Soak" + std::to_string(std::random_device()());
    SetLQSettingsRootA(sRoot.c_str());
    OwnLanguages();
#ifdef ORV_TEST_SANITIZED
    constexpr bool kForks = false; // the sanitizers' own locks are not made whole in a forked child
#else
    constexpr bool kForks = true;
#endif
    CParty parties[] = {{"settings", ReadSettings},      {"languages", SwitchLanguages},
                        {"statements", BuildStatements}, {"texts", ShareTexts},
                        {"plug-ins", LoadPlugin},        {"forks", kForks ? Fork : nullptr}};
    const unsigned nSeed = std::random_device()();
    const auto start = Clock::now();
    const auto Elapsed = [start] { return std::chrono::duration<double>(Clock::now() - start).count(); };
    CChildProcess other("ChangeSettings", {sRoot, std::to_string(Seconds())});
    std::atomic<bool> bEnd = false;
    std::vector<std::thread> threads;
    for (CParty& party : parties)
        if (party.m_work != nullptr)
            threads.emplace_back([&] { party.RunUntil(bEnd, nSeed); });

    std::filesystem::create_directory(dir / "log");
    CSoakedLog log(dir / "log");
    // The most of the rounds of the first minute behind the start, and of the last one. (In a short run: of
    // the second and the last third.)
    const double dSpan = std::min(60.0, Seconds() / 3.0);
    std::size_t nFirst = 0, nLast = 0;
    while (Elapsed() < Seconds())
    {
        log.RunRound();
        const std::size_t nNow = HeapInUse().value_or(MemoryInUse());
        if (Elapsed() >= dSpan && Elapsed() < 2 * dSpan)
            nFirst = std::max(nFirst, nNow);
        else if (Elapsed() >= Seconds() - dSpan)
            nLast = std::max(nLast, nNow);
    }
    bEnd = true;
    for (std::thread& thread : threads)
        thread.join();
    log.Finish();
    const ChildResult changed = other.Wait();
    EXPECT_EQ(0, changed.m_iExitCode) << changed.m_sOutput;

    std::printf(
        "seconds              %.0f, seed %u\nlines written, read  %llu in %u rounds, each once and whole\n",
        Elapsed(), nSeed, static_cast<unsigned long long>(log.Lines()), log.Rounds());
    EXPECT_EQ(std::uint64_t{log.Rounds()} * Cores() * kLinesOfRound, log.Lines());
    for (const CParty& party : parties)
    {
        std::printf("%-20s %llu\n", party.m_sName, static_cast<unsigned long long>(party.m_nDone));
        EXPECT_EQ(0u, party.m_nFailed) << party.m_sName;
        EXPECT_TRUE(party.m_nDone > 0 || party.m_work == nullptr) << party.m_sName;
    }
    std::printf("changed by another   %smemory               %.2f MB at first, %.2f MB at last\nreports      "
                "        %zu\n",
                changed.m_sOutput.c_str(), static_cast<double>(nFirst) / 1e6,
                static_cast<double>(nLast) / 1e6, CountReports(capture));
    // The sanitizers keep what was freed, and elsewhere the system tells pages only.
    if (HeapInUse())
    {
        EXPECT_LE(nLast, nFirst + kGrowth);
    }
    CResourceHandler::DestroyGlobal();
    SetLQSettingsRootA("Software\\Orvanex\\Lumatrek");
}
