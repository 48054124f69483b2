// The hive files as people and other programs meet them.
#include "support/debug_capture.h"
#include "support/random.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using Value = std::optional<std::pair<DWORD, std::string>>;

std::filesystem::path HiveFile()
{
    return TestRoot() / "user.reg";
}

Value Get(const WCHAR* sPath, const WCHAR* sName)
{
    HKEY hKey;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, sPath, 0, KEY_READ, &hKey) != ERROR_SUCCESS)
        return std::nullopt;
    DWORD dwType = 0;
    std::string sBytes(100'000, '\0');
    DWORD cb = static_cast<DWORD>(sBytes.size());
    const LSTATUS lStatus =
        RegQueryValueExW(hKey, sName, nullptr, &dwType, reinterpret_cast<LPBYTE>(sBytes.data()), &cb);
    RegCloseKey(hKey);
    if (lStatus != ERROR_SUCCESS)
        return std::nullopt;
    sBytes.resize(cb);
    return std::pair{dwType, sBytes};
}

LSTATUS Set(const WCHAR* sPath, const WCHAR* sName, DWORD dwType, const std::string& sBytes)
{
    HKEY hKey;
    LSTATUS lStatus =
        RegCreateKeyExW(HKEY_CURRENT_USER, sPath, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &hKey, nullptr);
    if (lStatus != ERROR_SUCCESS)
        return lStatus;
    lStatus = RegSetValueExW(hKey, sName, 0, dwType, reinterpret_cast<const BYTE*>(sBytes.data()),
                             static_cast<DWORD>(sBytes.size()));
    RegCloseKey(hKey);
    return lStatus;
}

std::string Units(const Text& s)
{
    return std::string(reinterpret_cast<const char*>(s.c_str()), (s.size() + 1) * sizeof(WCHAR));
}

Value TextValue(const Text& s)
{
    return std::pair{REG_SZ, Units(s)};
}

/// Makes the next access read the file again.
void Touch()
{
    static time_t s_nTime = 1'000'000'000;
    const timespec times[] = {{++s_nTime, 0}, {s_nTime, 0}};
    utimensat(AT_FDCWD, HiveFile().c_str(), times, 0);
}

class Hive : public testing::Test
{
protected:
    CTestRegistry m_registry;
    CDebugCapture m_debug;
};

constexpr const WCHAR* kKey = ORVTEXT("Software\\K");

std::string Utf16(const std::string& sAscii)
{
    std::string s = "\xFF\xFE";
    for (char c : sAscii)
        s.append(1, c).push_back('\0');
    return s;
}

TEST_F(Hive, ReadsWhatIsExportedElsewhere)
{
    const std::string s5 = "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\K]\n";
    const std::string s4 = "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\K]\r\n";
    const struct
    {
        const char* m_sCase;
        std::string m_sFile;
        Value m_expected;
    } rows[] = {
        {"text", s5 + "\"v\"=\"a\\\\b \\\"c\\\"\"\n", TextValue(ORVTEXT("a\\b \"c\""))},
        {"no line end at the end of the file", s5 + "\"v\"=\"x\"", TextValue(ORVTEXT("x"))},
        {"UTF-8", s5 + "\"v\"=\"\xC5\x91\xF0\x9F\x98\x80\"\n", TextValue(ORVTEXT("\x0151\xD83D\xDE00"))},
        {"UTF-8 with mark", "\xEF\xBB\xBF" + s5 + "\"v\"=\"x\"\n", TextValue(ORVTEXT("x"))},
        {"bytes that are not UTF-8", s5 + "\"v\"=\"\xE9\"\n", TextValue(ORVTEXT("\x00E9"))},
        {"UTF-16", Utf16(s5 + "\"v\"=\"x\"\r\n"), TextValue(ORVTEXT("x"))},
        {"UTF-16 cut inside a unit", Utf16(s5 + "\"v\"=\"x\"\r\n") + "\"", TextValue(ORVTEXT("x"))},
        {"version 4", s4 + "\"v\"=\"\xE9\"\r\n", TextValue(ORVTEXT("\x00E9"))},
        {"version 4, narrow data", s4 + "\"v\"=hex(2):25,41,e9,00\r\n",
         std::pair{REG_EXPAND_SZ, Units(ORVTEXT("%A\x00E9"))}},
        {"version 4, bytes", s4 + "\"v\"=hex:25,41\r\n", std::pair{REG_BINARY, std::string("%A")}},
        {"number", s5 + "\"v\"=dword:0000ABcd\n", std::pair{REG_DWORD, std::string("\xCD\xAB\0\0", 4)}},
        {"short number", s5 + "\"v\"=dword:7\n", std::pair{REG_DWORD, std::string("\7\0\0\0", 4)}},
        {"no bytes", s5 + "\"v\"=hex:\n", std::pair{REG_BINARY, std::string()}},
        {"long number", s5 + "\"v\"=hex(b):01,02,03,04,05,06,07,08\n",
         std::pair{REG_QWORD, std::string("\1\2\3\4\5\6\7\x8")}},
        {"own type", s5 + "\"v\"=hex(ABC):ff\n", std::pair{0xABCu, std::string("\xFF")}},
        {"continued lines", s5 + "\"v\"=hex:01,\\\r\n  02,\\\n  03\n",
         std::pair{REG_BINARY, std::string("\1\2\3")}},
        {"blanks everywhere", s5 + "  \"v\"\t= hex : 01 , 02 ; c\n", std::nullopt},
        {"blanks where they may be", s5 + "  \"v\"\t= hex:01 , 02 ; c\n",
         std::pair{REG_BINARY, std::string("\1\2")}},
        {"comment behind", s5 + "\"v\"=\"x\" ; why\n", TextValue(ORVTEXT("x"))},
        {"later line wins", s5 + "\"v\"=\"x\"\n\"V\"=\"y\"\n", TextValue(ORVTEXT("y"))},
        {"deleted value", s5 + "\"v\"=\"x\"\n\"v\"=-\n", std::nullopt},
        {"deleted key", s5 + "\"v\"=\"x\"\n[-HKEY_CURRENT_USER\\SOFTWARE]\n", std::nullopt},
        {"key deleted and made again", "[HKCU\\Software\\K\\X]\n[-HKCU\\Software]\n" + s5 + "\"v\"=\"y\"\n",
         TextValue(ORVTEXT("y"))},
        {"key in two places", s5 + "\"v\"=\"x\"\n[hkcu\\Other]\n[HKCU\\software\\k]\n\"V\"=\"z\"\n",
         TextValue(ORVTEXT("z"))},
        {"bracket in the name", s5 + "[HKCU\\a]b]\n\"v\"=\"1\"\n[HKCU\\Software\\K]\n\"v\"=\"2\"\n",
         TextValue(ORVTEXT("2"))},
        {"another hive's key", s5 + "\"v\"=\"x\"\n[HKEY_LOCAL_MACHINE\\Software\\K]\n\"v\"=\"y\"\n",
         TextValue(ORVTEXT("x"))},
        {"empty file", "", std::nullopt},
    };
    for (const auto& row : rows)
    {
        WriteBytes(HiveFile(), row.m_sFile);
        Touch();
        EXPECT_EQ(row.m_expected, Get(kKey, ORVTEXT("v"))) << row.m_sCase;
        if (!row.m_expected)
            continue;
        // Another change keeps it, in whatever form the file is.
        EXPECT_EQ(ERROR_SUCCESS, Set(ORVTEXT("Another"), ORVTEXT("w"), REG_DWORD, "1234"));
        Touch();
        EXPECT_EQ(row.m_expected, Get(kKey, ORVTEXT("v"))) << row.m_sCase << ", written anew";
        EXPECT_EQ((std::pair{REG_DWORD, std::string("1234")}), Get(ORVTEXT("Another"), ORVTEXT("w")))
            << row.m_sCase;
    }
}

TEST_F(Hive, TellsOfBadLinesAndUsesTheRest)
{
    const char* badLines[] = {"\"v=\"x\"",
                              "v=\"x\"",
                              "\"v\"",
                              "\"v\"=",
                              "\"v\"=\"x",
                              "\"v\"=\"x\" y",
                              "\"v\"=dword:",
                              "\"v\"=dword:123456789",
                              "\"v\"=dword:g",
                              "\"v\"=hex:1,2,xyz",
                              "\"v\"=hex(:01",
                              "\"v\"=hex:123",
                              "\"v\"=hex:01,\\",
                              "\"v\"=hex:01,",
                              "[HKCU\\Software\\K",
                              "[HKCU]x",
                              "[]",
                              "[HKCU\\\\a]",
                              "[HKEY_USERS\\x]"};
    for (const char* sBad : badLines)
    {
        const std::string sLine = sBad;
        const std::string sFile = "Windows Registry Editor Version 5.00\n[HKCU\\Software\\K]\n\"a\"=\"1\"\n" +
                                  sLine + "\n[HKCU\\Software\\L]\n\"b\"=\"2\"\n";
        WriteBytes(HiveFile(), sFile);
        Touch();
        m_debug.Take();
        EXPECT_EQ(TextValue(ORVTEXT("1")), Get(kKey, ORVTEXT("a"))) << sLine;
        EXPECT_EQ(TextValue(ORVTEXT("2")), Get(ORVTEXT("Software\\L"), ORVTEXT("b"))) << sLine;
        const std::string sReport = m_debug.Take();
        EXPECT_NE(std::string::npos, sReport.find(HiveFile().string() + "(4): ")) << sLine << ": " << sReport;
        EXPECT_NE(std::string::npos, sReport.find(sLine)) << sReport;

        Set(ORVTEXT("Software\\L"), ORVTEXT("c"), REG_DWORD, "1234");
        EXPECT_NE(std::string::npos, ReadBytes(HiveFile()).find("\n" + sLine + "\n")) << "the line is kept";
    }
}

TEST_F(Hive, ChangesOnlyTheLinesOfWhatChanges)
{
    const std::string sBefore = "Windows Registry Editor Version 5.00\n"
                                "\n"
                                "; of the whole file\n"
                                "[HKEY_CURRENT_USER\\Software\\B]\n"
                                "; of x\n"
                                "\"x\" = DWORD:1 ; why\n"
                                "\"y\"=hex:01,02\n"
                                "\n"
                                "; of A\n"
                                "[HKEY_CURRENT_USER\\Software\\A]\n"
                                "\"z\"=\"1\"\n"
                                "; the end\n";
    WriteBytes(HiveFile(), sBefore);
    Touch();
    Set(ORVTEXT("software\\b"), ORVTEXT("Y"), REG_SZ, Units(ORVTEXT("new")));
    Set(ORVTEXT("software\\b"), ORVTEXT("n"), REG_DWORD, std::string("\1\0\0\0", 4));
    Set(ORVTEXT("Software\\C\\D"), ORVTEXT(""), REG_BINARY, "\x01");
    EXPECT_EQ("Windows Registry Editor Version 5.00\n"
              "\n"
              "; of the whole file\n"
              "[HKEY_CURRENT_USER\\Software\\B]\n"
              "; of x\n"
              "\"x\" = DWORD:1 ; why\n"
              "\"y\"=\"new\"\n"
              "\"n\"=dword:00000001\n"
              "\n"
              "; of A\n"
              "[HKEY_CURRENT_USER\\Software\\A]\n"
              "\"z\"=\"1\"\n"
              "; the end\n"
              "\n"
              "[HKEY_CURRENT_USER\\Software\\C\\D]\n"
              "@=hex:01\n",
              ReadBytes(HiveFile()));
}

TEST_F(Hive, KeepsTheFormOfTheFile)
{
    WriteBytes(HiveFile(), Utf16("Windows Registry Editor Version 5.00\r\n\r\n[HKCU\\K]\r\n\"a\"=\"1\"\r\n"));
    Touch();
    Set(ORVTEXT("K"), ORVTEXT("b"), REG_SZ, Units(ORVTEXT("2")));
    EXPECT_EQ(
        Utf16("Windows Registry Editor Version 5.00\r\n\r\n[HKCU\\K]\r\n\"a\"=\"1\"\r\n\"b\"=\"2\"\r\n"),
        ReadBytes(HiveFile()));
}

TEST_F(Hive, AFileCutAnywhereGivesWhatIsWhole)
{
    std::string sWhole = "Windows Registry Editor Version 5.00\n[HKCU\\Software\\K]\n";
    std::map<char, std::size_t> ends;
    for (char c = 'a'; c <= 'e'; ++c)
    {
        sWhole += std::string("\"") + c + "\"=\"value\"";
        ends[c] = sWhole.size();
        sWhole += "\n\"bytes\"=hex:01,02,\\\n  "
                  "03,04\n[HKCU\\Software\\L]\n\"\\\\\"=dword:12345678\n[HKCU\\Software\\K]\n";
    }
    for (std::size_t n = 0; n <= sWhole.size(); ++n)
    {
        WriteBytes(HiveFile(), sWhole.substr(0, n));
        Touch();
        for (const auto& [cName, nEnd] : ends)
        {
            const WCHAR sName[] = {static_cast<WCHAR>(cName), 0};
            ASSERT_EQ(nEnd <= n ? TextValue(ORVTEXT("value")) : std::nullopt, Get(kKey, sName))
                << "cut at " << n;
        }
    }
}

TEST_F(Hive, FollowsAModelThroughRandomChanges)
{
    CTestRandom random;
    const WCHAR* paths[] = {ORVTEXT("K"), ORVTEXT("K\\\x00C1 b"), ORVTEXT("K\\\x00E1 B\\c]"),
                            ORVTEXT("L;\"=")};
    const WCHAR* names[] = {ORVTEXT(""),       ORVTEXT("a\"b\\c"), ORVTEXT("\r\n"), ORVTEXT("\xD83D\xDE00"),
                            ORVTEXT("\xD83D"), ORVTEXT("=;@-[]")};
    std::map<std::pair<int, int>, Value> model;
    for (int i = 0; i < 400; ++i)
    {
        const int iPath = static_cast<int>(random.UpTo(3));
        const int iName = static_cast<int>(random.UpTo(5));
        // The third path is below the second in another spelling.
        if (random.UpTo(3) != 0)
        {
            std::string sBytes(random.UpTo(40), '\0');
            for (char& c : sBytes)
                c = static_cast<char>(random.UpTo(1) == 0 ? random.UpTo(255) : random.UpTo(3) * 30);
            const DWORD dwType = random.UpTo(12);
            ASSERT_EQ(ERROR_SUCCESS, Set(paths[iPath], names[iName], dwType, sBytes));
            model[{iPath, iName}] = std::pair{dwType, sBytes};
        }
        else
        {
            HKEY hKey;
            if (RegOpenKeyExW(HKEY_CURRENT_USER, paths[iPath], 0, KEY_SET_VALUE, &hKey) == ERROR_SUCCESS)
            {
                const LSTATUS lExpected = model[{iPath, iName}] ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
                ASSERT_EQ(lExpected, RegDeleteValueW(hKey, names[iName]));
                RegCloseKey(hKey);
            }
            model[{iPath, iName}].reset();
        }
        if (random.UpTo(9) == 0)
            Touch();
        const int iOther = static_cast<int>(random.UpTo(5));
        ASSERT_EQ((model[{iPath, iOther}]), Get(paths[iPath], names[iOther])) << "step " << i;
    }
    EXPECT_EQ("", m_debug.Take()) << "every line that is written can be read";
}

TEST_F(Hive, SeesEveryChangeOfTheFile)
{
    // All contents have one length, and many fall into one tick of the clock that stamps files.
    const auto content = [](int i) {
        return "Windows Registry Editor Version 5.00\n[HKCU\\K]\n\"v\"=dword:" +
               std::to_string(10'000'000 + i) + "\n";
    };
    const auto expected = [](int i) {
        const auto n = static_cast<DWORD>(std::stoul(std::to_string(10'000'000 + i), nullptr, 16));
        return Value(std::pair{REG_DWORD, std::string(reinterpret_cast<const char*>(&n), 4)});
    };
    for (int i = 0; i < 300; ++i)
    {
        if (i % 2 == 0)
            WriteBytes(HiveFile(), content(i));
        else
        {
            WriteBytes(TestRoot() / "beside", content(i));
            std::filesystem::rename(TestRoot() / "beside", HiveFile());
        }
        ASSERT_EQ(expected(i), Get(ORVTEXT("K"), ORVTEXT("v"))) << i;
    }
    std::filesystem::remove(HiveFile());
    EXPECT_EQ(std::nullopt, Get(ORVTEXT("K"), ORVTEXT("v")));
}

TEST_F(Hive, KeepsLinkAndModeOfTheFile)
{
    const CTempDir folder;
    WriteBytes(folder / "real.reg", "Windows Registry Editor Version 5.00\n");
    std::filesystem::permissions(folder / "real.reg", std::filesystem::perms(0640));
    std::filesystem::create_symlink(folder / "real.reg", HiveFile());
    EXPECT_EQ(ERROR_SUCCESS, Set(kKey, ORVTEXT("v"), REG_BINARY, "x"));
    EXPECT_TRUE(std::filesystem::is_symlink(HiveFile()));
    EXPECT_EQ(std::filesystem::perms(0640), std::filesystem::status(folder / "real.reg").permissions());
    EXPECT_NE(std::string::npos, ReadBytes(folder / "real.reg").find("\"v\"=hex:78"));
}

TEST_F(Hive, ThreadsShareIt)
{
    constexpr int nThreads = 4;
    constexpr int nRounds = 10;
    std::vector<std::thread> threads;
    for (int i = 0; i < nThreads; ++i)
        threads.emplace_back([i] {
            const WCHAR sName[] = {static_cast<WCHAR>('a' + i), 0};
            for (int iRound = 0; iRound < nRounds; ++iRound)
            {
                const std::string sBytes(static_cast<std::size_t>(iRound), 'x');
                EXPECT_EQ(ERROR_SUCCESS, Set(kKey, sName, REG_BINARY, sBytes));
                EXPECT_EQ((std::pair{REG_BINARY, sBytes}), Get(kKey, sName));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(Hive, AForkedProcessGoesOn)
{
    std::atomic<bool> bStop{false};
    std::thread writer([&] {
        for (int i = 0; !bStop; ++i)
            Set(kKey, ORVTEXT("w"), REG_BINARY, std::string(static_cast<std::size_t>(i % 50), 'x'));
    });
    for (int i = 0; i < 10; ++i)
    {
        const pid_t nProcess = fork();
        if (nProcess == 0)
        {
            alarm(20);
            const bool bStored =
                Set(kKey, ORVTEXT("child"), REG_BINARY, std::string(1, static_cast<char>(i))) == 0;
            _exit(bStored && Get(kKey, ORVTEXT("child")) ? 0 : 1);
        }
        int nStatus = -1;
        waitpid(nProcess, &nStatus, 0);
        ASSERT_EQ(0, nStatus);
        EXPECT_EQ((std::pair{REG_BINARY, std::string(1, static_cast<char>(i))}), Get(kKey, ORVTEXT("child")));
    }
    bStop = true;
    writer.join();
}

TEST_F(Hive, ServesTimeZonesThatNoFileHas)
{
    constexpr const WCHAR* sZone =
        ORVTEXT("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones\\Central Europe Standard Time");
    HKEY hKey;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_LOCAL_MACHINE, sZone, 0, KEY_READ, &hKey));
    LONG rules[11] = {};
    DWORD cb = sizeof rules;
    EXPECT_EQ(ERROR_SUCCESS,
              RegQueryValueExW(hKey, ORVTEXT("tzi"), nullptr, nullptr, reinterpret_cast<LPBYTE>(rules), &cb));
    EXPECT_EQ(44u, cb);
    EXPECT_EQ(-60, rules[0]);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExW(hKey, ORVTEXT("x"), nullptr, nullptr, nullptr, nullptr));
    RegCloseKey(hKey);
    WriteBytes(TestRoot() / "machine.reg",
               "Windows Registry Editor Version 5.00\n[HKLM\\SOFTWARE\\Microsoft\\Windows "
               "NT\\CurrentVersion\\Time Zones\\Central Europe Standard Time]\n\"x\"=\"\"\n");
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_LOCAL_MACHINE, sZone, 0, KEY_READ, &hKey));
    EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExW(hKey, ORVTEXT("x"), nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND,
              RegQueryValueExW(hKey, ORVTEXT("TZI"), nullptr, nullptr, nullptr, nullptr));
    RegCloseKey(hKey);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND,
              RegOpenKeyExW(HKEY_LOCAL_MACHINE, (Text(sZone) + ORVTEXT("x")).c_str(), 0, KEY_READ, &hKey));
}

} // namespace
