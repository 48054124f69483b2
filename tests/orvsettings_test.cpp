#include "commands.h"

#include "orvcomtypes/orvexport.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace
{

class OrvSettings : public testing::Test
{
protected:
    /// Runs the tool with arguments in ASCII.
    ToolResult Run(const std::vector<std::string>& args)
    {
        std::vector<CText> words;
        for (const std::string& s : args)
            words.emplace_back(s.begin(), s.end());
        m_sOutput.clear();
        m_sErrors.clear();
        return RunTool(words, m_sOutput, m_sErrors);
    }
    /// What it prints, or its error when it fails.
    std::string Print(const std::vector<std::string>& args)
    {
        return Run(args) == eDone ? m_sOutput : m_sErrors;
    }

    CTestRegistry m_registry;
    std::string m_sOutput;
    std::string m_sErrors;
};

TEST_F(OrvSettings, SaysWhichScopeAnswers)
{
    EXPECT_EQ(eNotFound, Run({"get", "Server", "Port"}));
    EXPECT_EQ(eDone, Run({"--machine", "set", "--type", "dword", "Server", "Port", "0x5A"}));
    EXPECT_EQ("90\n", Print({"get", "Server", "Port"}));
    EXPECT_EQ("machine, dword\n", m_sErrors);
    EXPECT_EQ(eDone, Run({"set", "server", "port", "text"}));
    EXPECT_EQ("text\n", Print({"get", "Server", "Port"}));
    EXPECT_EQ("user, sz\n", m_sErrors);
    EXPECT_EQ("90\n", Print({"get", "Server", "Port", "--machine"}));
    EXPECT_EQ("user\tsz\tport\ttext\nmachine\tdword\tPort\t90\n", Print({"list", "Server"}));
    EXPECT_EQ("user\tkey\tserver\\\nmachine\tkey\tServer\\\n", Print({"list"}));
    EXPECT_EQ(eDone, Run({"delete", "Server", "Port"}));
    EXPECT_EQ("90\n", Print({"get", "Server", "Port"}));
    EXPECT_EQ(eNotFound, Run({"delete", "Server", "Port"}));
}

TEST_F(OrvSettings, SetsValuesOfEveryType)
{
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"sz", "a b", "a b"},
        {"expand", "%TEMP%\\x", "%TEMP%\\x"},
        {"dword", "4294967295", "4294967295"},
        {"qword", "0xFFFFFFFFFFFFFFFF", "18446744073709551615"},
        {"binary", "01 aB,ff", "01abff"},
        {"binary", "", ""},
        {"none", "00", "00"},
    };
    for (const auto& [sType, sValue, sExpected] : rows)
    {
        EXPECT_EQ(eDone, Run({"set", "--type", sType, ".", "@", sValue})) << m_sErrors;
        EXPECT_EQ(sExpected + "\n", Print({"get", ".", "@"}));
        EXPECT_EQ("user, " + sType + "\n", m_sErrors);
    }
    EXPECT_EQ(eDone, Run({"set", "--type", "REG_DWORD", ".", "d", "7"}));
    EXPECT_EQ("7\n", Print({"get", ".", "d"}));
    EXPECT_EQ("user, dword\n", m_sErrors);
    EXPECT_EQ(eDone, Run({"set", "--type", "multi", ".", "m", "one", "two", "three"}));
    EXPECT_EQ("one\ntwo\nthree\n", Print({"get", ".", "m"}));
    EXPECT_EQ(eDone, Run({"set", "\\Software\\Elsewhere", "v", "--", "--x"}));
    EXPECT_EQ("--x\n", Print({"get", "\\Software\\Elsewhere", "v"}));
}

TEST_F(OrvSettings, RefusesWhatMakesNoSense)
{
    for (const char* sLine :
         {"", "gat", "get K", "get K n x", "set K n", "set K n a b", "delete K", "delete --tree \\", "import",
          "--output", "--scope list", "set --type word K n 1", "set --type dword K n 4294967296", "check x y",
          "set --type dword K n -1", "set --type dword K n 1x", "set --type binary K n 0",
          "set --type binary K n 0g"})
    {
        std::istringstream line(sLine);
        EXPECT_EQ(eBadUsage, Run(std::vector<std::string>(std::istream_iterator<std::string>(line), {})))
            << sLine;
        EXPECT_EQ(0u, m_sErrors.find("orvsettings: ")) << m_sErrors;
    }
    EXPECT_EQ(eBadUsage, Run({"set", "--type", "dword", "K", "n", ""}));
    EXPECT_EQ(eBadUsage, Run({"delete", "--tree", ""}));
    EXPECT_EQ(eNotFound, Run({"list"})) << "nothing was stored";
    EXPECT_EQ(eBadUsage, Run({"set", std::string(300, 'k'), "n", "1"}));
    for (const char* sHelp : {"--help", "-h", "help"})
        EXPECT_EQ(0u, Print({sHelp}).find("usage: "));
    EXPECT_EQ(0u, Print({"--version"}).find("orvsettings 3."));
}

TEST_F(OrvSettings, ExportsAndImports)
{
    const CTempDir folder;
    const std::string sFile = (folder / "exported.reg").string();
    Run({"set", "A\\B", "quoted \"x\"", "C:\\x"});
    Run({"set", "--type", "binary", "A", "bytes", std::string(100, '7')});
    Run({"set", "A", "lines", "one\r\ntwo\nthree\rfour"});
    Run({"set", "A", "more lines", "one\r\ntwo\n"});
    Run({"set", "--type", "dword", ".", "n", "255"});
    const std::string sExported = Print({"export"});
    EXPECT_EQ(0u,
              sExported.find(
                  "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\Orvanex\\Lumatrek]\n"
                  "\"n\"=dword:000000ff\n"));
    EXPECT_NE(std::string::npos, sExported.find("\"more lines\"=\"one\r\ntwo\n\"\n")) << sExported;
    EXPECT_NE(std::string::npos, sExported.find("\\A\\B]\n\"quoted \\\"x\\\"\"=\"C:\\\\x\"\n")) << sExported;

    EXPECT_EQ(eDone, Run({"export", "--output", sFile, "A\\\\"})) << m_sErrors;
    EXPECT_TRUE(ReadBytes(sFile).starts_with("\xFF\xFEW"));
    EXPECT_EQ(eDone, Run({"delete", "--tree", "A"}));
    EXPECT_EQ(eNotFound, Run({"list", "A"}));
    EXPECT_EQ(eDone, Run({"import", sFile})) << m_sErrors;
    EXPECT_EQ(sExported, Print({"export"}));

    EXPECT_EQ(eDone, Run({"--machine", "import", sFile}));
    EXPECT_EQ("C:\\x\n", Print({"--machine", "get", "A\\B", "quoted \"x\""}));
    EXPECT_EQ(eNotFound, Run({"export", "None"}));
    EXPECT_EQ(eNotFound, Run({"import", (folder / "none").string()}));
    EXPECT_EQ(eFailed, Run({"import", folder.Path().string()})) << "a folder";
    EXPECT_EQ(eFailed, Run({"export", "--output", (folder / "no" / "folder").string()}));
}

TEST_F(OrvSettings, ImportsEverythingOrWhatItIsToldTo)
{
    const CTempDir folder;
    const std::string sFile = (folder / "x.reg").string();
    Run({"set", "\\K", "gone", "1"});
    Run({"set", "\\L\\M", "gone", "1"});
    WriteBytes(
        sFile,
        "REGEDIT4\r\n[hkey_current_user\\\\K]\r\n\"gone\"=-\r\n\"a\"=\"1\"\r\nnonsense\r\n\"b\"=\"2\"\r\n"
        "[-HKCU\\L]\r\n[HKEY_USERS\\x]\r\n\"c\"=\"3\"\r\n[-HKCU]\r\n[HKCU\\" +
            std::string(256, 'k') + "]\r\n");
    const auto expectBadLines = [&] {
        for (const char* sLine :
             {"(5): not understood: nonsense\n", "(8): a key of another hive: [HKEY_USERS\\x]\n",
              "(9): a value of no key: \"c\"=\"3\"\n", "(10): a whole hive is not deleted: [-HKCU]\n",
              "(11): too long a name: [HKCU\\kkk"})
            EXPECT_NE(std::string::npos, (m_sErrors + m_sOutput).find(sFile + sLine))
                << m_sErrors << m_sOutput;
    };
    for (const char* sCommand : {"import", "check"})
    {
        EXPECT_EQ(eBadLines, Run({sCommand, sFile}));
        expectBadLines();
        EXPECT_EQ("user\tsz\tgone\t1\n", Print({"list", "\\K"}));
    }
    EXPECT_EQ(eBadLines, Run({"import", "--keep-going", sFile}));
    expectBadLines();
    EXPECT_EQ("user\tsz\ta\t1\nuser\tsz\tb\t2\n", Print({"list", "\\K"}));
    EXPECT_EQ(eNotFound, Run({"list", "\\L"}));
}

TEST_F(OrvSettings, ImportsManyValuesAtOnce)
{
    const CTempDir folder;
    const std::string sFile = (folder / "x.reg").string();
    std::string sText = "Windows Registry Editor Version 5.00\n";
    for (int i = 0; i < 3000; ++i)
        sText +=
            (i % 1000 == 0 ? "[HKCU\\Software\\Orvanex\\Lumatrek\\" + std::to_string(i / 1000) + "]\n" : "") +
            "\"" + std::to_string(i) + "\"=dword:" + std::to_string(i) + "\n";
    WriteBytes(sFile, sText);
    std::size_t nSteps = 0;
    EXPECT_EQ(eDone, RunTool({ORVTEXT("import"), CText(sFile.begin(), sFile.end())}, m_sOutput, m_sErrors,
                             [&](std::size_t nDone, std::size_t nAll) {
                                 nSteps += nDone == nSteps + 1 && nAll == 3003;
                             }));
    EXPECT_EQ(3003u, nSteps);
    const std::string sList = Print({"list", "2"});
    EXPECT_EQ(1000, std::count(sList.begin(), sList.end(), '\n'));
    EXPECT_NE(std::string::npos, sList.find("user\tdword\t2999\t10649\n"));
}

} // namespace
