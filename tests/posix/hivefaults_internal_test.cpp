// The hive files while others hold them, the disk is full and access is denied.
#include "orvcomtypes/lqsettings.h"

#include "registry/hivefile.h"

#include "support/child_process.h"
#include "support/faults.h"
#include "support/registry_values.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include <grp.h>
#include <unistd.h>

namespace
{

// ---- Another process that keeps its turn ----

TEST(HiveFaults, AStoppedWriterStopsWritersForAWhileAndNoReaders)
{
    const CTestRegistry registry;
    ASSERT_TRUE(SetLQDWORDSettingA(nullptr, "n", 5, 0));
    auto pLock = std::make_unique<CHeldLock>(TestRoot() / "user.reg.lock");
    OrvPort::g_nHivePatience = 50;
    EXPECT_EQ(ERROR_LOCK_VIOLATION, StoreValue(HKEY_CURRENT_USER, ORVTEXT("New"), nullptr, NumberValue(1)));
    EXPECT_FALSE(SetLQDWORDSettingA(nullptr, "n", 6, 0));
    EXPECT_EQ(5u, GetLQDWORDSettingA(nullptr, "n", 0));

    // A writer that waits keeps nobody in this process from reading either.
    OrvPort::g_nHivePatience = 60'000;
    const std::jthread writer([] { EXPECT_TRUE(SetLQDWORDSettingA(nullptr, "n", 6, 0)); });
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(5u, GetLQDWORDSettingA(nullptr, "n", 0));
    pLock.reset();
}

// ---- Full disk ----

constexpr int kCannotMount = 99;

/// Fills args[0], which is a small disk or, without args[1], a folder with small files.
ORV_CHILD(FillTheDisk)
{
    const auto pLimit = args.size() == 1 ? std::make_unique<CFileLimit>(6000) : nullptr;
    const auto pDisk = args.size() > 1 ? std::make_unique<CSmallDisk>(args[0], 16) : nullptr;
    if (pDisk != nullptr && !pDisk->IsMounted())
        return kCannotMount;
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
    EXPECT_TRUE(result.m_iExitCode == 0 || result.m_iExitCode == kCannotMount) << result.m_sOutput;
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
    if (FillInChild(folder, {folder.Path().string(), "disk"}) == kCannotMount)
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
    EXPECT_EQ(std::stol(args.at(2)), StoreValue(HKEY_CURRENT_USER, ORVTEXT("New"), nullptr, NumberValue(1)));
    HKEY hKey;
    EXPECT_EQ(std::stol(args.at(1)),
              RegOpenKeyExW(HKEY_CURRENT_USER, ORVTEXT("Software"), 0, KEY_READ, &hKey));
    EXPECT_TRUE(ReadValue(HKEY_LOCAL_MACHINE,
                          ORVTEXT("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\UTC"),
                          ORVTEXT("TZI")))
        << "zones need no file";
    return testing::Test::HasFailure();
}

TEST(HiveFaults, DeniedHivesCountAsMissingAndStay)
{
    const CTempDir folder;
    const auto user = folder / "user.reg", machine = folder / "machine.reg";
    const auto allow = [](const std::filesystem::path& path, unsigned nMode) {
        std::filesystem::permissions(path, std::filesystem::perms(nMode));
    };
    const auto expect = [&](int iRead, LSTATUS lOpen, LSTATUS lStore = ERROR_ACCESS_DENIED) {
        const CVariableGuard userHive("ORVCOMTYPES_USER_HIVE", user.c_str());
        const CVariableGuard machineHive("ORVCOMTYPES_MACHINE_HIVE", machine.c_str());
        const ChildResult result =
            CChildProcess("UseDeniedHives",
                          {std::to_string(iRead), std::to_string(lOpen), std::to_string(lStore)})
                .Wait();
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
    if (geteuid() == 0)
    {
        allow(folder.Path(), 0777);
        allow(user, 0666);
        expect(4, ERROR_SUCCESS, ERROR_INVALID_OWNER); // it would become nobody's
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

ORV_CHILD(ReadAtTheVeryEnd)
{
    // Runs after what the library registers in the first access.
    std::atexit([] {
        std::printf("%u\n", static_cast<unsigned>(GetLQDWORDSettingA(nullptr, "n", 0)));
        std::fflush(stdout);
    });
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
