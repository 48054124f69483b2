// The hive files while processes are killed, the disk is full and access is denied.
#include "orvcomtypes/lqsettings.h"

#include "support/child_process.h"
#include "support/random.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <csignal>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr int g_nWriters = 4;
constexpr int g_nWrites = 2500; // by each writer
constexpr int g_nNames = 10;
constexpr int g_nKills = 40;

std::string Name(int iWriter, int iWrite)
{
    return "w" + std::to_string(iWriter) + "-" + std::to_string(iWrite % g_nNames);
}

/// A folder in memory where there is one, because every write waits for the disk.
class CFastFolder
{
public:
    CFastFolder()
    {
        char sFolder[] = "/dev/shm/orvcomtypes test XXXXXX";
        if (mkdtemp(sFolder) != nullptr)
            m_path = sFolder;
    }
    ~CFastFolder()
    {
        if (!m_path.empty())
            std::filesystem::remove_all(m_path);
    }
    std::string File(const char* sName) const
    {
        return (m_path.empty() ? m_fallback.Path() : m_path) / sName;
    }

private:
    CTempDir m_fallback;
    std::filesystem::path m_path;
};

/// Writes the numbers from args[1] on, each under the name that its turn has, and says so when it is done.
ORV_CHILD(Write)
{
    const int iWriter = std::stoi(args.at(0));
    for (int i = std::stoi(args.at(1)); i < g_nWrites; ++i)
    {
        if (!SetLQDWORDSettingA("Numbers", Name(iWriter, i).c_str(), static_cast<DWORD>(i), 0xFFFFFFFF))
            return 1;
        std::printf("%d\n", i);
        std::fflush(stdout);
    }
    return 0;
}

/// Prints the numbers as another process reads them.
ORV_CHILD(Dump)
{
    for (int iWriter = 0; iWriter < g_nWriters; ++iWriter)
        for (int iName = 0; iName < g_nNames; ++iName)
            std::printf("%d\n", static_cast<int>(
                                    GetLQDWORDSettingA("Numbers", Name(iWriter, iName).c_str(), 0xFFFFFFFF)));
    return 0;
}

/// One process that writes, and what is known to be written.
class CWriter
{
public:
    explicit CWriter(int iWriter) : m_iWriter(iWriter) { Start(); }

    /// Reads some of what it says; false when it is done.
    bool Follow(unsigned nLines)
    {
        for (unsigned i = 0; i < nLines; ++i)
        {
            const std::string sLine = m_pProcess->ReadLine();
            if (sLine.empty())
                return false;
            m_nDone = std::stoi(sLine) + 1;
        }
        return true;
    }
    void KillAndRestart()
    {
        m_pProcess->Kill();
        std::istringstream output(m_pProcess->Wait().m_sOutput);
        for (int i = 0; output >> i;)
            m_nDone = i + 1;
        Start();
    }
    int Done() const { return m_nDone; }

    /// The last number under a name, when so many were written; -1 for none.
    static int Last(int iName, int nWritten)
    {
        const int i = nWritten - 1 - ((nWritten - 1 - iName) % g_nNames + g_nNames) % g_nNames;
        return nWritten > iName ? i : -1;
    }

private:
    void Start()
    {
        m_pProcess = std::make_unique<CChildProcess>(
            "Write", ChildArguments{std::to_string(m_iWriter), std::to_string(m_nDone)});
    }

    int m_iWriter;
    int m_nDone = 0;
    std::unique_ptr<CChildProcess> m_pProcess;
};

/// Every number that was said to be written is there; at most the one in work when the process was killed may
/// be.
void ExpectAllWritten(const std::vector<std::unique_ptr<CWriter>>& writers)
{
    const ChildResult result = CChildProcess("Dump").Wait();
    ASSERT_EQ(std::string::npos, result.m_sOutput.find("ignored")) << result.m_sOutput;
    std::istringstream output(result.m_sOutput);
    for (int iWriter = 0; iWriter < g_nWriters; ++iWriter)
        for (int iName = 0; iName < g_nNames; ++iName)
        {
            int iFound = -2;
            output >> iFound;
            const int nDone = writers[static_cast<std::size_t>(iWriter)]->Done();
            EXPECT_GE(iFound, CWriter::Last(iName, nDone)) << "lost";
            EXPECT_TRUE(iFound == -1 || iFound % g_nNames == iName) << iFound;
        }
}

TEST(HiveFaults, KilledWritersLoseNothing)
{
    CTestRandom random;
    const CFastFolder folder;
    const CVariableGuard hive("ORVCOMTYPES_USER_HIVE", folder.File("user.reg").c_str());
    const CVariableGuard debug("ORVCOMTYPES_DEBUG_OUTPUT", "stderr");
    std::vector<std::unique_ptr<CWriter>> writers;
    for (int i = 0; i < g_nWriters; ++i)
        writers.push_back(std::make_unique<CWriter>(i));
    int nKills = 0;
    for (std::vector<CWriter*> running{writers[0].get(), writers[1].get(), writers[2].get(),
                                       writers[3].get()};
         !running.empty();)
    {
        const std::size_t i = random.UpTo(static_cast<unsigned>(running.size() - 1));
        if (!running[i]->Follow(1 + random.UpTo(nKills < g_nKills ? 10 : 1000)))
            running.erase(running.begin() + static_cast<std::ptrdiff_t>(i));
        else if (nKills < g_nKills)
        {
            running[i]->KillAndRestart();
            if (++nKills % 8 == 0)
                ExpectAllWritten(writers);
        }
    }
    EXPECT_GE(nKills, g_nKills / 2) << "the others have finished in the meantime";
    for (const auto& pWriter : writers)
        EXPECT_EQ(g_nWrites, pWriter->Done());
    ExpectAllWritten(writers);
}

// ---- Full disk ----

ORV_CHILD(FillTheDisk)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{6000, 6000};
    setrlimit(RLIMIT_FSIZE, &limit);
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
    HKEY hKey;
    EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, ORVTEXT("Software"), 0, KEY_WRITE, &hKey));
    const std::string sMuch(10000, 'y');
    EXPECT_EQ(ERROR_DISK_FULL,
              RegSetValueExA(hKey, "v", 0, REG_SZ, reinterpret_cast<const BYTE*>(sMuch.data()), 10000));
    std::printf("%d\n", nStored);
    return testing::Test::HasFailure();
}

TEST(HiveFaults, AFullDiskKeepsTheOldFile)
{
    const CTempDir folder;
    const CVariableGuard hive("ORVCOMTYPES_USER_HIVE", (folder / "user.reg").c_str());
    const ChildResult result = CChildProcess("FillTheDisk").Wait();
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
    EXPECT_GT(std::stoi(result.m_sOutput), 5) << result.m_sOutput;
    EXPECT_FALSE(std::filesystem::exists(folder / "user.reg.tmp"));
    EXPECT_LT(std::filesystem::file_size(folder / "user.reg"), 6000u);
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
    HKEY hKey;
    EXPECT_EQ(ERROR_ACCESS_DENIED, RegCreateKeyExW(HKEY_CURRENT_USER, ORVTEXT("New"), 0, nullptr, 0,
                                                   KEY_WRITE, nullptr, &hKey, nullptr));
    EXPECT_EQ(static_cast<LSTATUS>(std::stol(args.at(1))),
              RegOpenKeyExW(HKEY_CURRENT_USER, ORVTEXT("Software"), 0, KEY_READ, &hKey));
    return testing::Test::HasFailure();
}

class DeniedHive : public testing::Test
{
protected:
    DeniedHive()
    {
        // Others may pass, so that nobody gets as far as the hive itself.
        std::filesystem::permissions(TestRoot(), std::filesystem::perms(0755));
        std::filesystem::permissions(m_folder.Path(), std::filesystem::perms(0755));
        WriteBytes(m_folder / "machine.reg", Hive("HKLM", 3));
    }
    static std::string Hive(const char* sRoot, int n)
    {
        return std::string("Windows Registry Editor Version 5.00\n[") + sRoot +
               "\\Software\\Orvanex\\Lumatrek]\n\"n\"=dword:" + std::to_string(n) + "\n";
    }
    void Expect(DWORD dwRead, LSTATUS lOpen)
    {
        const CVariableGuard user("ORVCOMTYPES_USER_HIVE", (m_folder / "user.reg").c_str());
        const CVariableGuard machine("ORVCOMTYPES_MACHINE_HIVE", (m_folder / "machine.reg").c_str());
        const ChildResult result =
            CChildProcess("UseDeniedHives", {std::to_string(dwRead), std::to_string(lOpen)}).Wait();
        EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
    }

    CTempDir m_folder;
};

TEST_F(DeniedHive, ThatCannotBeReadGivesWayToTheMachine)
{
    WriteBytes(m_folder / "user.reg", Hive("HKCU", 4));
    std::filesystem::permissions(m_folder / "user.reg", std::filesystem::perms::none);
    Expect(3, ERROR_ACCESS_DENIED);
}

TEST_F(DeniedHive, ThatCannotBeWrittenIsRead)
{
    WriteBytes(m_folder / "user.reg", Hive("HKCU", 4));
    std::filesystem::permissions(m_folder / "user.reg", std::filesystem::perms(0444));
    std::filesystem::permissions(m_folder.Path(), std::filesystem::perms(0555));
    Expect(4, ERROR_SUCCESS);
    std::filesystem::permissions(m_folder.Path(), std::filesystem::perms(0755));
    EXPECT_EQ(Hive("HKCU", 4), ReadBytes(m_folder / "user.reg"));
}

TEST_F(DeniedHive, ThatIsAFolderGivesWayToTheMachine)
{
    std::filesystem::create_directory(m_folder / "user.reg");
    Expect(3, ERROR_ACCESS_DENIED);
    std::filesystem::permissions(m_folder / "machine.reg", std::filesystem::perms::none);
    Expect(7, ERROR_ACCESS_DENIED);
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
    struct stat status;
    ASSERT_EQ(0, stat((folder / "c" / "d" / "orvcomtypes" / "user.reg").c_str(), &status));
    EXPECT_EQ(0600u, status.st_mode & 0777u);

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
