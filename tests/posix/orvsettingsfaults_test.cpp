// The tool on hive files: killed, beside others, where it may not write, and on what people left in them.
#include "commands.h"
#include "registry/hivefile.h"

#include "support/child_process.h"
#include "support/faults.h"
#include "support/random.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{

const std::string kHeader = "Windows Registry Editor Version 5.00\n";

/// What the tool prints, behind its result.
std::string Tool(const std::vector<std::string>& args)
{
    std::vector<CText> words;
    for (const std::string& s : args)
        words.emplace_back(s.begin(), s.end());
    std::string sOutput, sErrors;
    const ToolResult result = RunTool(words, sOutput, sErrors);
    return std::to_string(result) + "|" + sOutput + "|" + sErrors;
}

class OrvSettingsFaults : public testing::Test
{
protected:
    static std::string File() { return (TestRoot() / "user.reg").string(); }
    /// A file with a thousand values that say the same below a key, and one below another hive's.
    std::string MakeFile(const std::string& sKey, const std::string& sValue)
    {
        std::string sText = kHeader + "[HKCU\\" + sKey + "]\n";
        for (int i = 0; i < 1000; ++i)
            sText += "\"" + std::to_string(i) + "\"=\"" + sValue + "\"\n";
        const std::string sFile = (m_folder / (sKey + sValue + ".reg")).string();
        WriteBytes(sFile, sText + "[HKLM\\" + sKey + "]\n\"0\"=\"" + sValue + "\"\n");
        return sFile;
    }

    CTestRegistry m_registry;
    CTempDir m_folder;
};

/// Imports the files in turn until it is killed.
ORV_CHILD(ImportForEver)
{
    for (std::size_t i = 0;; ++i)
    {
        std::printf("%-4000s\n", Tool({"import", args.at(i % args.size())}).c_str());
        std::fflush(stdout);
    }
}

ORV_CHILD(ImportTenTimes)
{
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ("0||", Tool({"import", args.at(0)}));
    return testing::Test::HasFailure();
}

TEST_F(OrvSettingsFaults, AKilledImportStoresAllOrNothingAndWhatItToldOf)
{
    CTestRandom random;
    const ChildArguments files{MakeFile("K", "a"), MakeFile("K", "b"), MakeFile("K", "c")};
    ASSERT_EQ("0||", Tool({"import", files[0]}));
    for (int i = 0; i < 12; ++i)
    {
        CChildProcess process("ImportForEver", files);
        unsigned nTold = 0;
        for (const unsigned nLines = random.UpTo(3); nTold < nLines; ++nTold)
            EXPECT_EQ("0||", process.ReadLine().substr(0, 3));
        process.Kill();
        nTold += static_cast<unsigned>(std::ranges::count(process.Wait().m_sOutput, '\n'));
        const std::string sText = ReadBytes(File());
        const char cValue = sText.at(sText.size() - 3);
        std::string sExpected = kHeader + "\n[HKEY_CURRENT_USER\\K]\n";
        for (int iName = 0; iName < 1000; ++iName)
            sExpected += "\"" + std::to_string(iName) + "\"=\"" + cValue + "\"\n";
        ASSERT_EQ(sExpected, sText);
        EXPECT_TRUE(nTold == 0 || cValue == "abc"[(nTold - 1) % 3] || cValue == "abc"[nTold % 3])
            << cValue << " after " << nTold;
    }
    EXPECT_EQ("0||", Tool({"import", files[1]})) << "a dead process holds no lock";
}

TEST_F(OrvSettingsFaults, ImportsTakeTurns)
{
    const std::string a = MakeFile("A", "1"), b = MakeFile("B", "2");
    {
        CChildProcess first("ImportTenTimes", {a}), second("ImportTenTimes", {b});
        EXPECT_EQ(0, first.Wait().m_iExitCode);
        EXPECT_EQ(0, second.Wait().m_iExitCode);
    }
    EXPECT_EQ("0|1\n|user, sz\n", Tool({"get", "\\A", "999"}));
    EXPECT_EQ("0|2\n|user, sz\n", Tool({"get", "\\B", "999"}));
    EXPECT_EQ("0|2\n|machine, sz\n", Tool({"get", "--machine", "\\B", "0"}));
}

TEST_F(OrvSettingsFaults, NamesTheFileThatCannotBeWritten)
{
    const std::string sFile = MakeFile("A", "1");
    ASSERT_EQ("0||", Tool({"set", "\\A", "0", "old"}));
    OrvPort::g_nHivePatience = 50;
    auto pLock = std::make_unique<CHeldLock>(File() + ".lock");
    const std::string sLocked = "3||orvsettings: " + File() + ": another process has locked it (33)\n";
    EXPECT_EQ(sLocked, Tool({"import", sFile}));
    EXPECT_EQ(sLocked, Tool({"delete", "\\A", "0"}));
    EXPECT_EQ("0|old\n|user, sz\n", Tool({"get", "\\A", "0"})) << "readers do not wait";
    pLock.reset();

    // Nothing is stored in one hive when the other one fails.
    std::filesystem::create_directory(TestRoot() / "machine.reg");
    EXPECT_EQ("3||orvsettings: " + (TestRoot() / "machine.reg").string() + ": access denied (5)\n",
              Tool({"import", sFile}));
    std::filesystem::remove(TestRoot() / "machine.reg");
    EXPECT_EQ("0|old\n|user, sz\n", Tool({"get", "\\A", "0"}));
    EXPECT_EQ("0||", Tool({"import", "--user", sFile}));
}

TEST_F(OrvSettingsFaults, TellsWhatIsNotUnderstood)
{
    const std::string sMachine = (TestRoot() / "machine.reg").string();
    WriteBytes(File(), kHeader + "[HKCU\\A]\n\"s\"=\"\\\\server\\share\"\n\"p\"=\"C:\\new\"\n\"q\"=\"open\n");
    const std::string s3 =
        File() + "(3): single and double backslashes in one text: \"s\"=\"\\\\server\\share\"\n";
    const std::string s5 = File() + "(5): not understood: \"q\"=\"open\n";
    const std::string sWarning = "orvsettings: warning: ";
    EXPECT_EQ("4|user\t" + File() + "\nmachine\t" + sMachine + "\tno file\n" + s3 + s5 + "|",
              Tool({"check"}));
    EXPECT_EQ("0|C:\\new\n|user, sz\n" + sWarning + s3 + sWarning + s5, Tool({"get", "\\A", "p"}));
    EXPECT_EQ("0|user\tsz\tp\tC:\\new\n|" + sWarning + s3 + sWarning + s5, Tool({"list", "\\A"}));

    std::filesystem::create_directory(sMachine);
    const std::string sDenied = sMachine + ": access denied (5)\n";
    EXPECT_EQ("3|machine\t" + sMachine + "\n|orvsettings: " + sDenied, Tool({"check", "--machine"}));
    WriteBytes(File(), "");
    EXPECT_EQ("1||" + sWarning + sDenied + "orvsettings: not found: A, value 'p'\n",
              Tool({"get", "\\A", "p"}));
}

TEST_F(OrvSettingsFaults, DeletesKeysAndKeepsTheirSurroundings)
{
    WriteBytes(File(),
               kHeader + "; of the file\n[HKCU\\A]\n\n[HKLM\\X]\n\n[HKCU\\B\\C]\n; of C\n\"v\"=\"1\"\n");
    EXPECT_EQ("0||", Tool({"delete", "--tree", "\\a"}));
    EXPECT_EQ("0||", Tool({"delete", "--tree", "\\B"}));
    EXPECT_EQ(kHeader + "; of the file\n\n[HKLM\\X]\n\n", ReadBytes(File()));
}

} // namespace
