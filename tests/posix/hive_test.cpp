// The hive files as people and other programs meet them.
#include "support/debug_capture.h"
#include "support/forked.h"
#include "support/random.h"
#include "support/registry_values.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <stop_token>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace
{

constexpr const char* kHeader = "Windows Registry Editor Version 5.00\n";
constexpr const WCHAR* kKey = ORVTEXT("Software\\K");

class Hive : public testing::Test
{
protected:
    static std::filesystem::path File() { return TestRoot() / "user.reg"; }
    /// Makes the next access read the file again.
    static void Touch()
    {
        static time_t s_nTime = 1'000'000'000;
        const timespec times[] = {{++s_nTime, 0}, {s_nTime, 0}};
        utimensat(AT_FDCWD, File().c_str(), times, 0);
    }
    static void Write(const std::string& sBytes)
    {
        WriteBytes(File(), sBytes);
        Touch();
    }
    static std::optional<RegistryValue> Get(const WCHAR* sKey, const WCHAR* sName)
    {
        return ReadValue(HKEY_CURRENT_USER, sKey, sName);
    }
    static LSTATUS Set(const WCHAR* sKey, const WCHAR* sName, const std::optional<RegistryValue>& value)
    {
        return StoreValue(HKEY_CURRENT_USER, sKey, sName, value);
    }

    CTestRegistry m_registry;
    CDebugCapture m_debug;
};

std::string Utf16(const std::string& sAscii)
{
    std::string s = "\xFF\xFE";
    for (char c : sAscii)
        s.append(1, c).push_back('\0');
    return s;
}

TEST_F(Hive, ReadsWhatIsExportedElsewhere)
{
    const std::string s5 = kHeader + std::string("\n[HKEY_CURRENT_USER\\Software\\K]\n");
    const std::string s4 = "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\K]\r\n";
    const auto bytes = [](const char* s) { return RegistryValue(REG_BINARY, s); };
    const RegistryValue x = TextValue(ORVTEXT("x"));
    const std::tuple<const char*, std::string, std::optional<RegistryValue>> rows[] = {
        {"text", s5 + "\"v\"=\"a\\\\b \\\"c\\\"\"\n", TextValue(ORVTEXT("a\\b \"c\""))},
        {"UTF-8", s5 + "\"v\"=\"\xC5\x91\xF0\x9F\x98\x80\"\n", TextValue(ORVTEXT("\x0151\xD83D\xDE00"))},
        {"UTF-8 with mark", "\xEF\xBB\xBF" + s5 + "\"v\"=\"x\"\n", x},
        {"bytes that are not UTF-8", s5 + "\"v\"=\"\xE9\"\n", TextValue(ORVTEXT("\x00E9"))},
        {"UTF-16", Utf16(s5 + "\"v\"=\"x\"\r\n"), x},
        {"UTF-16 without mark", Utf16(s5 + "\"v\"=\"x\"\n").substr(2), x},
        {"UTF-16, big-endian", "\xFE" + Utf16("\xFF" + s5 + "\"v\"=\"x\"").substr(2), x},
        {"UTF-16 cut inside a unit", Utf16(s5 + "\"v\"=\"x\"\r\n") + "\"", x},
        {"version 4", s4 + "\"v\"=\"\xE9\"\r\n", TextValue(ORVTEXT("\x00E9"))},
        {"version 4, narrow data", s4 + "\"v\"=hex(2):25,41,e9,00\r\n",
         TextValue(ORVTEXT("%A\x00E9"), REG_EXPAND_SZ)},
        {"version 4, bytes", s4 + "\"v\"=hex:25,41\r\n", bytes("%A")},
        {"number", s5 + "\"v\"=dword:0000ABcd\n", NumberValue(0xABCD)},
        {"short number", s5 + "\"v\"=dword:7\n", NumberValue(7)},
        {"own type", s5 + "\"v\"=hex(ABC):ff\n", RegistryValue(0xABC, "\xFF")},
        {"continued lines", s5 + "\"v\"=hex:01,\\\r\n  02,\\\n  03\n", bytes("\1\2\3")},
        {"blanks where they may be", s5 + "  \"v\"\t= hex:01 , 02 ; c\n", bytes("\1\2")},
        {"comment behind text", s5 + "\"v\"=\"x\" ; why\n", x},
        {"comment behind a bracket", s5 + "[HKCU\\Software\\K] ; not [y]\n\"v\"=\"x\"\n", x},
        {"single backslashes", s5 + "\"v\"=\"C:\\new\\temp \\\"t\\\"\"\n",
         TextValue(ORVTEXT("C:\\new\\temp \"t\""))},
        {"text of two lines", s5 + "\"v\"=\"a \nb\"\n", TextValue(ORVTEXT("a \nb"))},
        {"text of two lines with CR LF", s4 + "\"v\"=\"a\r\nb\" ; c\r\n", TextValue(ORVTEXT("a\r\nb"))},
        {"text of two lines in UTF-16", Utf16(s5 + "\"v\"=\"a\nb\"\r\n"), TextValue(ORVTEXT("a\nb"))},
        {"values behind a broken key", s5 + "\"v\"=\"x\"\n[HKCU\\L\n\"v\"=\"y\"\n", x},
        {"later line wins", s5 + "\"v\"=\"y\"\n\"V\"=\"x\"\n", x},
        {"deleted value", s5 + "\"v\"=\"x\"\n\"v\"=-\n", std::nullopt},
        {"deleted key", s5 + "\"v\"=\"x\"\n[-HKEY_CURRENT_USER\\SOFTWARE]\n", std::nullopt},
        {"key deleted and made again", "[HKCU\\Software\\K\\X]\n[-HKCU\\Software]\n" + s5 + "\"v\"=\"x\"\n",
         x},
        {"key in two places", s5 + "\"v\"=\"y\"\n[hkcu\\Other]\n[HKCU\\software\\k]\n\"V\"=\"x\"\n", x},
        {"bracket in the name", s5 + "[HKCU\\a]b]\n\"v\"=\"1\"\n[HKCU\\Software\\K]\n\"v\"=\"x\"\n", x},
        {"another hive's key", s5 + "\"v\"=\"x\"\n[HKEY_LOCAL_MACHINE\\Software\\K]\n\"v\"=\"y\"\n", x},
        {"another hive's key between", s5 + "[HKLM\\X]\n\"v\"=\"y\"\n[HKCU\\Software\\K]\n\"v\"=\"x\"\n", x},
        {"value behind a deletion", s5 + "[-HKCU\\X]\n\"v\"=\"y\"\n", std::nullopt},
        {"empty file", "", std::nullopt},
    };
    for (const auto& [sCase, sFile, expected] : rows)
    {
        Write(sFile);
        EXPECT_EQ(expected, Get(kKey, ORVTEXT("v"))) << sCase;
        // Another change keeps it, in whatever form the file is.
        EXPECT_EQ(ERROR_SUCCESS, Set(ORVTEXT("Another"), ORVTEXT("w"), NumberValue(1)));
        Touch();
        EXPECT_EQ(expected, Get(kKey, ORVTEXT("v"))) << sCase << ", written anew";
        EXPECT_EQ(NumberValue(1), Get(ORVTEXT("Another"), ORVTEXT("w"))) << sCase;
    }
}

TEST_F(Hive, TellsOfBadLinesAndUsesTheRest)
{
    // One in each line.
    std::istringstream badLines(R"("v="x"
v="x"
"v"
"v"=
"v"="x
"v"="x" y
"v"="\\server\share"
"v"=dword:
"v"=dword:123456789
"v"=dword:g
"v"=hex :01
"v"=hex:1,2,xyz
"v"=hex(:01
"v"=hex:123
"v"=hex:01,\
"v"=hex:01,
[HKCU\Software\K
[HKCU]x
[]
[HKCU\\a]
[-HKCU]
[HKEY_USERS\x])");
    for (std::string sLine; std::getline(badLines, sLine);)
    {
        Write(kHeader + ("[HKCU\\Software\\K]\n\"a\"=\"1\"\n" + sLine) +
              "\n[HKCU\\Software\\L]\n\"b\"=\"2\"\n");
        m_debug.Take();
        EXPECT_EQ(TextValue(ORVTEXT("1")), Get(kKey, ORVTEXT("a"))) << sLine;
        EXPECT_EQ(TextValue(ORVTEXT("2")), Get(ORVTEXT("Software\\L"), ORVTEXT("b"))) << sLine;
        const std::string sReport = m_debug.Take();
        EXPECT_NE(std::string::npos, sReport.find(File().string() + "(4): ")) << sLine << ": " << sReport;
        EXPECT_NE(std::string::npos, sReport.find(sLine)) << sReport;

        Set(ORVTEXT("Software\\L"), ORVTEXT("c"), NumberValue(1));
        EXPECT_NE(std::string::npos, ReadBytes(File()).find("\n" + sLine + "\n")) << "the line is kept";
    }
}

TEST_F(Hive, ChangesOnlyTheLinesOfWhatChanges)
{
    const std::string sBefore = "Windows Registry Editor Version 5.00\n\n"
                                "; of the whole file\n"
                                "[HKEY_CURRENT_USER\\Software\\B]\n"
                                "; of x\n"
                                "\"x\" = DWORD:1 ; why\n";
    const std::string sBehind = "\n; of A\n"
                                "[HKEY_CURRENT_USER\\Software\\A]\n"
                                "\"z\"=\"1\"\r\n"
                                "; the end\n";
    Write(sBefore + "\"y\"=hex:01,02\n" + sBehind);
    Set(ORVTEXT("software\\b"), ORVTEXT("Y"), TextValue(ORVTEXT("new")));
    Set(ORVTEXT("software\\b"), ORVTEXT("n"), NumberValue(1));
    Set(ORVTEXT("Software\\C\\D"), ORVTEXT(""), RegistryValue(REG_BINARY, "\x01"));
    EXPECT_EQ(sBefore + "\"y\"=\"new\"\n\"n\"=dword:00000001\n" + sBehind +
                  "\n[HKEY_CURRENT_USER\\Software\\C\\D]\n@=hex:01\n",
              ReadBytes(File()));

    const std::string sWide = "Windows Registry Editor Version 5.00\r\n\r\n[HKCU\\K]\r\n\"a\"=\"1\"\r\n";
    Write(Utf16(sWide));
    Set(ORVTEXT("K"), ORVTEXT("b"), TextValue(ORVTEXT("2")));
    EXPECT_EQ(Utf16(sWide + "\"b\"=\"2\"\r\n"), ReadBytes(File()));
}

TEST_F(Hive, AFileCutAnywhereGivesWhatIsWhole)
{
    std::string sWhole = kHeader + std::string("[HKCU\\Software\\K]\n");
    std::map<char, std::size_t> ends;
    for (char c = 'a'; c <= 'e'; ++c)
    {
        sWhole += std::string("\"") + c + "\"=\"value\"";
        ends[c] = sWhole.size();
        sWhole += "\n\"bytes\"=hex:01,02,\\\n  03,04\n"
                  "[HKCU\\Software\\L]\n\"\\\\\"=dword:12345678\n[HKCU\\Software\\K]\n";
    }
    for (std::size_t n = 0; n <= sWhole.size(); ++n)
    {
        Write(sWhole.substr(0, n));
        for (const auto& [cName, nEnd] : ends)
        {
            const WCHAR sName[] = {static_cast<WCHAR>(cName), 0};
            const auto expected = nEnd <= n ? std::optional(TextValue(ORVTEXT("value"))) : std::nullopt;
            ASSERT_EQ(expected, Get(kKey, sName)) << "cut at " << n;
        }
    }
}

TEST_F(Hive, FollowsAModelThroughRandomChanges)
{
    CTestRandom random;
    // The third path is below the second in another spelling.
    const WCHAR* paths[] = {ORVTEXT("K"), ORVTEXT("K\\\x00C1 b"), ORVTEXT("K\\\x00E1 B\\c]"),
                            ORVTEXT("L;\"=")};
    const WCHAR* names[] = {ORVTEXT(""),       ORVTEXT("a\"b\\c"), ORVTEXT("\r\n"), ORVTEXT("\xD83D\xDE00"),
                            ORVTEXT("\xD83D"), ORVTEXT("=;@-[]")};
    std::optional<RegistryValue> model[std::size(paths)][std::size(names)];
    for (int i = 0; i < 150; ++i)
    {
        const unsigned iPath = random.UpTo(3);
        const unsigned iName = random.UpTo(5);
        auto& value = model[iPath][iName];
        LSTATUS lExpected = ERROR_SUCCESS;
        if (random.UpTo(3) != 0)
        {
            value =
                RegistryValue(random.UpTo(12) << (4 * random.UpTo(6)), std::string(random.UpTo(40), '\0'));
            for (char& c : value->second)
                c = static_cast<char>(random.UpTo(1) == 0 ? random.UpTo(255) : random.UpTo(3) * 30);
            if (random.UpTo(2) == 0)
                value = TextValue(names[random.UpTo(5)]);
        }
        else
        {
            lExpected = value ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
            value.reset();
        }
        ASSERT_EQ(lExpected, Set(paths[iPath], names[iName], value)) << "step " << i;
        if (random.UpTo(9) == 0)
            Touch();
        const unsigned iOther = random.UpTo(5);
        ASSERT_EQ(model[iPath][iOther], Get(paths[iPath], names[iOther])) << "step " << i;
    }
    EXPECT_EQ("", m_debug.Take()) << "every line that is written can be read";
}

TEST_F(Hive, SeesEveryChangeOfTheFile)
{
    // All contents have one length, and many fall into one tick of the clock that stamps files.
    for (unsigned i = 0; i < 300; ++i)
    {
        const std::string sDigits = std::to_string(10'000'000 + i);
        const std::string sFile = kHeader + ("[HKCU\\K]\n\"v\"=dword:" + sDigits) + "\n";
        WriteBytes(i % 2 == 0 ? File() : TestRoot() / "beside", sFile);
        if (i % 2 != 0)
            std::filesystem::rename(TestRoot() / "beside", File());
        const DWORD dwValue = static_cast<DWORD>(std::stoul(sDigits, nullptr, 16));
        ASSERT_EQ(NumberValue(dwValue), Get(ORVTEXT("K"), ORVTEXT("v"))) << i;
    }
    std::filesystem::remove(File());
    EXPECT_EQ(std::nullopt, Get(ORVTEXT("K"), ORVTEXT("v")));
}

TEST_F(Hive, KeepsALinkAndWhatTheFileHas)
{
    const CTempDir folder;
    const std::filesystem::path real = folder / "real.reg";
    WriteBytes(real, kHeader);
    std::filesystem::create_symlink(real, File());
    std::filesystem::create_symlink("left behind", folder / "real.reg.tmp");
    if (geteuid() == 0)
    {
        ASSERT_EQ(0, chown(real.c_str(), 12345, 23456));
    }
    std::filesystem::permissions(real, std::filesystem::perms(0640));
    // An access list: the owner, user 4711, the group, the mask, others. Not every file system keeps one.
    const std::string sList("\2\0\0\0\1\0\6\0\xFF\xFF\xFF\xFF\2\0\4\0\x67\x12\0\0\4\0\4\0\xFF\xFF\xFF\xFF"
                            "\x10\0\4\0\xFF\xFF\xFF\xFF\x20\0\0\0\xFF\xFF\xFF\xFF",
                            44);
    const char* sListName = "system.posix_acl_access";
    const bool bList = setxattr(real.c_str(), sListName, sList.data(), sList.size(), 0) == 0;
    const bool bNote = setxattr(real.c_str(), "user.note", "kept", 4, 0) == 0;
    EXPECT_EQ(ERROR_SUCCESS, Set(kKey, ORVTEXT("v"), RegistryValue(REG_BINARY, "x")));
    EXPECT_TRUE(std::filesystem::is_symlink(File()));
    EXPECT_EQ(std::filesystem::perms(0640), std::filesystem::status(real).permissions());
    EXPECT_NE(std::string::npos, ReadBytes(real).find("\"v\"=hex:78"));
    struct stat status;
    ASSERT_EQ(0, stat(real.c_str(), &status));
    EXPECT_EQ(geteuid() == 0 ? 12345u : geteuid(), status.st_uid);
    EXPECT_EQ(geteuid() == 0 ? 23456u : getegid(), status.st_gid);
    char sRead[100];
    EXPECT_EQ(bList ? 44 : -1, getxattr(real.c_str(), sListName, sRead, sizeof sRead));
    EXPECT_TRUE(!bList || sList == std::string(sRead, 44));
    EXPECT_EQ(bNote ? 4 : -1, getxattr(real.c_str(), "user.note", sRead, sizeof sRead));

    std::filesystem::remove(real);
    EXPECT_EQ(ERROR_SUCCESS, Set(kKey, ORVTEXT("v"), RegistryValue(REG_BINARY, "y")));
    EXPECT_NE(std::string::npos, ReadBytes(real).find("\"v\"=hex:79")) << "made anew";
}

TEST_F(Hive, ThreadsShareIt)
{
    std::vector<std::jthread> threads;
    for (char c : {'a', 'b', 'c', 'd'})
        threads.emplace_back([c] {
            const WCHAR sName[] = {static_cast<WCHAR>(c), 0};
            for (DWORD dwRound = 0; dwRound < 10; ++dwRound)
            {
                EXPECT_EQ(ERROR_SUCCESS, Set(kKey, sName, NumberValue(dwRound)));
                EXPECT_EQ(NumberValue(dwRound), Get(kKey, sName));
            }
        });
}

TEST_F(Hive, AForkedProcessGoesOn)
{
    ORV_SKIP_SANITIZED("the sanitizers' own locks are not made whole in a forked child");
    const HANDLE hWrites = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    const std::jthread writer([hWrites](const std::stop_token& stop) {
        for (DWORD dwWrites = 0; !stop.stop_requested(); ++dwWrites)
        {
            SetEvent(hWrites);
            Set(kKey, ORVTEXT("w"), NumberValue(dwWrites));
        }
        CloseHandle(hWrites);
    });
    for (DWORD dwRound = 0; dwRound < 10; ++dwRound)
    {
        WaitForSingleObject(hWrites, INFINITE); // most forks then fall into a write
        ASSERT_EQ(0, ForkedResult([dwRound] {
                      Set(kKey, ORVTEXT("child"), NumberValue(dwRound));
                      return Get(kKey, ORVTEXT("child")) == NumberValue(dwRound) ? 0 : 1;
                  }));
        EXPECT_EQ(NumberValue(dwRound), Get(kKey, ORVTEXT("child")));
    }
}

TEST_F(Hive, AKeyOfAHandleMayGo)
{
    const auto open = [](HKEY hParent, const WCHAR* sKey, HKEY& hKey) {
        return RegOpenKeyExW(hParent, sKey, 0, KEY_READ | KEY_WRITE, &hKey);
    };
    HKEY hKey = nullptr, hBelow = nullptr;
    Set(kKey, ORVTEXT("v"), NumberValue(1));
    ASSERT_EQ(ERROR_SUCCESS, open(HKEY_CURRENT_USER, kKey, hKey));
    Write(kHeader);
    EXPECT_EQ(ERROR_KEY_DELETED, RegQueryValueExW(hKey, ORVTEXT("v"), nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_KEY_DELETED, RegSetValueExW(hKey, ORVTEXT("v"), 0, REG_BINARY, nullptr, 0));
    EXPECT_EQ(ERROR_KEY_DELETED, RegDeleteValueW(hKey, ORVTEXT("v")));
    EXPECT_EQ(ERROR_KEY_DELETED, open(hKey, ORVTEXT("x"), hBelow));
    Set(kKey, ORVTEXT("v"), NumberValue(2));
    EXPECT_EQ(ERROR_SUCCESS, RegDeleteValueW(hKey, ORVTEXT("v"))) << "made again";
    RegCloseKey(hKey);
}

TEST_F(Hive, ServesTimeZonesThatNoFileHas)
{
    const Text sZone =
        ORVTEXT("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\Central Europe Standard Time");
    const auto get = [](const Text& sKey, const WCHAR* sName) {
        return ReadValue(HKEY_LOCAL_MACHINE, sKey, sName);
    };
    const auto rules = get(sZone, ORVTEXT("tzi"));
    ASSERT_TRUE(rules);
    EXPECT_EQ(44u, rules->second.size());
    EXPECT_EQ(0, rules->second.compare(0, 4, NumberValue(-60).second));
    EXPECT_EQ(std::nullopt, get(sZone, ORVTEXT("x")));
    EXPECT_EQ(std::nullopt, get(sZone + ORVTEXT("x"), ORVTEXT("TZI")));

    WriteBytes(TestRoot() / "machine.reg",
               kHeader + ("[HKLM\\" + std::string(sZone.begin(), sZone.end())) + "]\n\"x\"=\"\"\n");
    EXPECT_EQ(TextValue(ORVTEXT("")), get(sZone, ORVTEXT("x")));
    EXPECT_EQ(std::nullopt, get(sZone, ORVTEXT("TZI"))) << "the file's zone hides the built-in one";
}

} // namespace
