// The hive files while processes are killed, the disk is full and access is denied.
#include "orvcomtypes/lqsettings.h"

#include "support/child_process.h"
#include "support/debug_capture.h"
#include "support/random.h"
#include "support/registry_values.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <csignal>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

// ---- Killed writers ----

constexpr int g_nWriters = 4;
constexpr int g_nWrites = 2500; // by each writer
constexpr int g_nNames = 10;
constexpr int g_nKills = 40;

/// Stores the numbers from args[1] on below the key args[0], each under the name that its turn has, and says
/// so when it is done. The lines are long: the pipe then keeps the writer at most 70 numbers ahead of its
/// reader, so that the writers outlast the kills.
ORV_CHILD(Write)
{
    for (int i = std::stoi(args.at(1)); i < g_nWrites; ++i)
    {
        const std::string sName = std::to_string(i % g_nNames);
        if (!SetLQDWORDSettingA(args.at(0).c_str(), sName.c_str(), static_cast<DWORD>(i), 0xFFFFFFFF))
            return 1;
        std::printf("%-1000d\n", i);
        std::fflush(stdout);
    }
    return 0;
}

/// One process that writes, and what is known to be written.
class CWriter
{
public:
    explicit CWriter(int iWriter) : m_sKey(std::to_string(iWriter))
    {
        m_written.fill(-1);
        Start();
    }

    /// Reads some of what it says; false when it is done.
    bool Follow(unsigned nLines)
    {
        for (; nLines > 0; --nLines)
        {
            const std::string sLine = m_pProcess->ReadLine();
            if (sLine.empty())
                return false;
            Note(std::stoi(sLine));
        }
        return true;
    }
    void KillAndRestart()
    {
        m_pProcess->Kill();
        std::istringstream output(m_pProcess->Wait().m_sOutput);
        for (int i = 0; output >> i;)
            Note(i);
        Start();
    }
    int Done() const { return m_nDone; }
    /// What was said to be written is there; at most the number in work when the process was killed may be.
    void ExpectAllWritten() const
    {
        for (int iName = 0; iName < g_nNames; ++iName)
        {
            const std::string sName = std::to_string(iName);
            const DWORD dwFound = GetLQDWORDSettingA(m_sKey.c_str(), sName.c_str(), 0xFFFFFFFF);
            const int iFound = static_cast<int>(dwFound);
            EXPECT_GE(iFound, m_written[static_cast<std::size_t>(iName)]) << "lost";
            EXPECT_TRUE(iFound == -1 || iFound % g_nNames == iName) << iFound;
        }
    }

private:
    void Start()
    {
        m_pProcess =
            std::make_unique<CChildProcess>("Write", ChildArguments{m_sKey, std::to_string(m_nDone)});
    }
    void Note(int i)
    {
        m_written[static_cast<std::size_t>(i % g_nNames)] = i;
        m_nDone = i + 1;
    }

    std::string m_sKey;
    int m_nDone = 0;
    std::array<int, g_nNames> m_written; // the last number under each name
    std::unique_ptr<CChildProcess> m_pProcess;
};

TEST(HiveFaults, KilledWritersLoseNothing)
{
    CTestRandom random;
    const CTestRegistry registry;
    CDebugCapture debug;
    std::vector<std::unique_ptr<CWriter>> writers;
    std::vector<CWriter*> running;
    for (int i = 0; i < g_nWriters; ++i)
        running.push_back(writers.emplace_back(std::make_unique<CWriter>(i)).get());
    int nKills = 0;
    while (!running.empty())
    {
        const std::size_t i = random.UpTo(static_cast<unsigned>(running.size() - 1));
        if (!running[i]->Follow(1 + random.UpTo(9)))
            running.erase(running.begin() + static_cast<std::ptrdiff_t>(i));
        else if (nKills < g_nKills)
        {
            running[i]->KillAndRestart();
            if (++nKills % 8 == 0)
                for (const auto& pWriter : writers)
                    pWriter->ExpectAllWritten();
        }
    }
    EXPECT_EQ(g_nKills, nKills);
    for (const auto& pWriter : writers)
    {
        EXPECT_EQ(g_nWrites, pWriter->Done());
        pWriter->ExpectAllWritten();
    }
    EXPECT_EQ("", debug.Take()) << "every line can be read at any time";
}

// ---- Full disk ----

constexpr int g_nCannotMount = 99;

/// Files may become so large only.
bool LimitFiles()
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{6000, 6000};
    return setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

/// A file system of four pages, for this process only.
bool MountSmallDisk(const char* sFolder)
{
    return unshare(CLONE_NEWNS | (geteuid() == 0 ? 0 : CLONE_NEWUSER)) == 0 &&
           mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", sFolder, "tmpfs", 0, "size=16k") == 0;
}

/// Fills args[0], which is a small disk or, without args[1], a folder with small files.
ORV_CHILD(FillTheDisk)
{
    if (args.size() == 1 ? !LimitFiles() : !MountSmallDisk(args[0].c_str()))
        return g_nCannotMount;
    const std::string sData(100, 'x');
    int nStored = 0;
    while (SetLQBinarySettingA(nullptr, std::to_string(nStored).c_str(), sData.data(), 100))
        ++nStored;
    // Nothing of what was stored before is gone, and what still fits is stored.
    for (int i = 0; i < nStored; ++i)
    {
        DWORD cb = 0;
        EXPECT_TRUE(GetLQBinarySettingA(nullptr, std::to_string(i).c_str(), nullptr, &cb) && cb == 100) << i;
    }
    DWORD cb = 0;
    EXPECT_FALSE(GetLQBinarySettingA(nullptr, std::to_string(nStored).c_str(), nullptr, &cb));
    EXPECT_TRUE(SetLQBinarySettingA(nullptr, "0", "", 0));
    const RegistryValue much(REG_BINARY, std::string(10000, 'y'));
    EXPECT_EQ(ERROR_DISK_FULL, StoreValue(HKEY_CURRENT_USER, ORVTEXT("Software"), ORVTEXT("v"), much));
    EXPECT_GT(nStored, 5);
    const std::filesystem::path hive = std::filesystem::path(args[0]) / "user.reg";
    EXPECT_FALSE(std::filesystem::exists(hive.string() + ".tmp"));
    EXPECT_LT(std::filesystem::file_size(hive), args.size() == 1 ? 6000u : 16384u);
    return testing::Test::HasFailure();
}

int FillInChild(const CTempDir& folder, ChildArguments args)
{
    const CVariableGuard hive("ORVCOMTYPES_USER_HIVE", (folder / "user.reg").c_str());
    const ChildResult result = CChildProcess("FillTheDisk", std::move(args)).Wait();
    EXPECT_TRUE(result.m_iExitCode == 0 || result.m_iExitCode == g_nCannotMount) << result.m_sOutput;
    return result.m_iExitCode;
}

TEST(HiveFaults, AFileThatMayNotGrowKeepsItsText)
{
    const CTempDir folder;
    EXPECT_EQ(0, FillInChild(folder, {folder.Path().string()}));
}

TEST(HiveFaults, AFullDiskKeepsTheOldFile)
{
    const CTempDir folder;
    if (FillInChild(folder, {folder.Path().string(), "disk"}) == g_nCannotMount)
        GTEST_SKIP() << "this process may not mount a file system";
}

// ---- Denied access ----

/// What settings do with hives that cannot be used: the user's counts as missing, nothing can be stored.
ORV_CHILD(UseDeniedHives)
{
    // Root may do everything; then become nobody.
    const uid_t nNobody = 65534;
    if (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(nNobody) != 0 || setuid(nNobody) != 0))
        return 99;
    EXPECT_EQ(static_cast<DWORD>(std::stoul(args.at(0))), GetLQDWORDSettingA(nullptr, "n", 7));
    EXPECT_FALSE(SetLQDWORDSettingA(nullptr, "n", 1, 2));
    EXPECT_FALSE(SetLQStringSettingA(nullptr, "s", "x", nullptr));
    EXPECT_FALSE(SetLQBinarySettingA(nullptr, "b", "x", 1));
    EXPECT_EQ(ERROR_ACCESS_DENIED, StoreValue(HKEY_CURRENT_USER, ORVTEXT("New"), nullptr, NumberValue(1)));
    HKEY hKey;
    EXPECT_EQ(static_cast<LSTATUS>(std::stol(args.at(1))),
              RegOpenKeyExW(HKEY_CURRENT_USER, ORVTEXT("Software"), 0, KEY_READ, &hKey));
    return testing::Test::HasFailure();
}

TEST(HiveFaults, DeniedHivesCountAsMissingAndStay)
{
    const CTempDir folder;
    const auto user = folder / "user.reg", machine = folder / "machine.reg";
    const auto allow = [](const std::filesystem::path& path, unsigned nMode) {
        std::filesystem::permissions(path, std::filesystem::perms(nMode));
    };
    const auto expect = [&](int iRead, LSTATUS lOpen) {
        const CVariableGuard userHive("ORVCOMTYPES_USER_HIVE", user.c_str());
        const CVariableGuard machineHive("ORVCOMTYPES_MACHINE_HIVE", machine.c_str());
        const ChildResult result =
            CChildProcess("UseDeniedHives", {std::to_string(iRead), std::to_string(lOpen)}).Wait();
        EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
    };
    // Others may pass, so that nobody gets as far as the hive itself.
    allow(TestRoot(), 0755);
    const std::string sHeader = "Windows Registry Editor Version 5.00\n";
    const std::string sUser = sHeader + "[HKCU\\Software\\Orvanex\\Lumatrek]\n\"n\"=dword:4\n";
    WriteBytes(user, sUser);
    WriteBytes(machine, sHeader + "[HKLM\\Software\\Orvanex\\Lumatrek]\n\"n\"=dword:3\n");

    allow(user, 0444);
    for (const unsigned nFolder : {0777, 0555}) // a file that may be replaced is not to be written either
    {
        allow(folder.Path(), nFolder);
        expect(4, ERROR_SUCCESS);
        EXPECT_EQ(sUser, ReadBytes(user));
    }
    allow(folder.Path(), 0755);
    allow(user, 0);
    expect(3, ERROR_ACCESS_DENIED);
    std::filesystem::remove(user);
    std::filesystem::create_directory(user);
    expect(3, ERROR_ACCESS_DENIED);
    allow(machine, 0);
    expect(7, ERROR_ACCESS_DENIED);
}

// ---- The first write and the last read ----

ORV_CHILD(StoreOne)
{
    return SetLQDWORDSettingA(nullptr, "n", 5, 0) && GetLQDWORDSettingA(nullptr, "n", 0) == 5 ? 0 : 1;
}

TEST(HiveFiles, AreMadeInTheUsersConfigurationFolder)
{
    const CTempDir folder;
    const CVariableGuard hive("ORVCOMTYPES_USER_HIVE", nullptr);
    const CVariableGuard config("XDG_CONFIG_HOME", (folder / "c" / "d").c_str());
    EXPECT_EQ(0, CChildProcess("StoreOne").Wait().m_iExitCode);
    EXPECT_EQ(std::filesystem::perms(0600),
              std::filesystem::status(folder / "c" / "d" / "orvcomtypes" / "user.reg").permissions());

    const CVariableGuard none("XDG_CONFIG_HOME", "relative");
    const CVariableGuard home("HOME", (folder / "home").c_str());
    EXPECT_EQ(0, CChildProcess("StoreOne").Wait().m_iExitCode);
    EXPECT_TRUE(std::filesystem::exists(folder / "home" / ".config" / "orvcomtypes" / "user.reg"));
}

void ReadAtExit()
{
    std::printf("%u\n", static_cast<unsigned>(GetLQDWORDSettingA(nullptr, "n", 0)));
    std::fflush(stdout);
}

ORV_CHILD(ReadAtTheVeryEnd)
{
    // Runs after what the library registers in the first access.
    std::atexit(ReadAtExit);
    return SetLQDWORDSettingA(nullptr, "n", 5, 0) ? 0 : 1;
}

TEST(HiveFiles, AreReadToTheVeryEndOfTheProcess)
{
    const CTestRegistry registry;
    const ChildResult result = CChildProcess("ReadAtTheVeryEnd").Wait();
    EXPECT_EQ(0, result.m_iExitCode);
    EXPECT_EQ("5\n", result.m_sOutput);
}

} // namespace
