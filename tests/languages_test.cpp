// Texts in the language of the process and of threads, and what takes the place of a library that does not
// fit.
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/lqsettings.h"
#include "orvcomtypes/octalloc.h"
#include "support/child_process.h"
#include "support/meeting.h"
#include "support/pattern.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/test_registry.h"
#include "support/test_strings.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <thread>
#include <tuple>

namespace
{

constexpr const WCHAR* kLanguages[] = {ORVTEXT("en"), ORVTEXT("hu"), ORVTEXT("ja")};
constexpr unsigned kNoMemory = 26007;

using Table = std::map<unsigned, Text>;

/// The lines `7 "text"` of a script.
Table ReadScript(const std::filesystem::path& file)
{
    const std::string sScript = ReadBytes(file);
    Table table;
    for (const auto& line : PartsThatFit(sScript, "\n +([0-9]+) +\"([^\"]*)\""))
    {
        COrvStr sText;
        sText.SetUTF8(line[2].c_str());
        table[static_cast<unsigned>(std::stoul(line[1]))] = TextOf(sText);
    }
    return table;
}

Text Language()
{
    return TextOf(CResourceHandler::GetLanguage());
}

/// The library's own languages, none chosen yet.
class Languages : public testing::Test
{
protected:
    Languages()
    {
        HMODULE hLibrary = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                               GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<LPCWSTR>(ORVS_GetDefaultEmptyString()), &hLibrary);
        CResourceHandler::SetOwner(hLibrary, ORVTEXT("OrvComTypes"), 3, 8);
    }
    ~Languages() override
    {
        CResourceHandler::DestroyThreadLocal();
        CResourceHandler::DestroyGlobal();
    }

    CReportCapture m_capture;
};

} // namespace

TEST_F(Languages, HoldWhatTheirScriptsSayInUtf8)
{
    const std::filesystem::path scripts = ORV_SCRIPTS_FOLDER;
    const Table english = ReadScript(scripts / "orvcomtypes.en.rc");
    EXPECT_EQ(6u, english.size());
    for (const WCHAR* sLanguage : kLanguages)
    {
        ASSERT_TRUE(CResourceHandler::SetLanguage(sLanguage));
        const Table table =
            ReadScript(scripts / (ORVTEXT("orvcomtypes.") + Text(sLanguage) + ORVTEXT(".rc")));
        ASSERT_EQ(english.size(), table.size());
        for (const auto& [uID, sText] : table)
        {
            EXPECT_EQ(sText, TextOf(COrvStr(uID, nullptr))) << uID;
            ASSERT_TRUE(english.contains(uID)) << uID;
            EXPECT_EQ(english.at(uID).find(ORVTEXT("%1")) == Text::npos,
                      sText.find(ORVTEXT("%1")) == Text::npos);
        }
        EXPECT_NO_REPORTS(m_capture);
        EXPECT_EQ(table.at(26004) + ORVTEXT(" 9999"), TextOf(CLQMessage(9999).Format(nullptr)));
        EXPECT_REPORTS(m_capture, {{"CLQMessage::Format", "sFormat.IsEmpty()", "9999", "lqmessage"}});
    }
}

TEST_F(Languages, AreReadInTheCodePageOfTheirScripts)
{
    CResourceHandler::SetOwner(nullptr, ORVTEXT("test_strings"), 1, 0);
    ASSERT_TRUE(CResourceHandler::SetLanguage(ORVTEXT("hu")));
    EXPECT_EQ(ORVTEXT("\u00E1rv\u00EDzt\u0171r\u0151"), TextOf(COrvStr(1u, nullptr)));
}

TEST_F(Languages, AreFoundByName)
{
    const std::tuple<const WCHAR*, const WCHAR*, bool> cases[] = {
        {ORVTEXT("hu"), ORVTEXT("hu"), true},         {ORVTEXT("HU_Az09"), ORVTEXT("hu"), true},
        {ORVTEXT("ja-Jpan-JP"), ORVTEXT("ja"), true}, {ORVTEXT("fr"), ORVTEXT("en"), false},
        {ORVTEXT("hu/../hu"), ORVTEXT("en"), false},  {ORVTEXT("-"), ORVTEXT("en"), false},
        {ORVTEXT("hu-{"), ORVTEXT("en"), false},      {ORVTEXT("hu-`"), ORVTEXT("en"), false}};
    for (const auto& [sAsked, sGiven, bFound] : cases)
    {
        EXPECT_EQ(bFound, CResourceHandler::SetLanguage(sAsked)) << Narrow(sAsked);
        EXPECT_EQ(sGiven, Language());
    }
    EXPECT_EQ(ORVTEXT("en"), Language());
    for (const std::size_t nUnits : {84, 85, 500})
        EXPECT_EQ(nUnits < LOCALE_NAME_MAX_LENGTH,
                  CResourceHandler::SetLanguage((ORVTEXT("hu-") + Text(nUnits - 3, ORVTEXT('x'))).c_str()));
    Text sMany = ORVTEXT("hu-");
    for (int i = 0; i < 70; ++i) // more than the library remembers
        EXPECT_TRUE(CResourceHandler::SetLanguage((sMany += 'm').c_str())) << i;
    CResourceHandler::DestroyGlobal();
    EXPECT_TRUE(CResourceHandler::SetLanguage(ORVTEXT("hu")) && CResourceHandler::GetHandle() != nullptr)
        << "opened again";
    EXPECT_NO_REPORTS(m_capture);
}

TEST_F(Languages, OfAThreadHoldForItsScope)
{
    CResourceHandler::SetLanguage(ORVTEXT("en"));
    const HINSTANCE hEnglish = CResourceHandler::GetHandle();
    {
        const CThreadLanguage outer(ORVTEXT("hu"));
        const HINSTANCE hHungarian = CResourceHandler::GetHandle();
        {
            const CThreadLanguage inner(ORVTEXT("ja"));
            EXPECT_EQ(ORVTEXT("ja"), Language());
            std::thread([&] { EXPECT_EQ(hEnglish, CResourceHandler::GetHandle()); }).join();
        }
        EXPECT_EQ(hHungarian, CResourceHandler::GetHandle());
        EXPECT_TRUE(CResourceHandler::SetThreadLanguage(nullptr));
        EXPECT_EQ(hEnglish, CResourceHandler::GetHandle());
    }
    EXPECT_EQ(hEnglish, CResourceHandler::GetHandle());
}

TEST_F(Languages, EndWithDestroyGlobal)
{
    const CThreadLanguage hungarian(ORVTEXT("hu"));
    CResourceHandler::DestroyGlobal();
    EXPECT_EQ(nullptr, CResourceHandler::GetHandle());
    EXPECT_EQ(ORVTEXT(""), Language());
    EXPECT_EQ(ORVTEXT("Internal error, invalid resource parameters. 26007"),
              TextOf(CLQMessage(kNoMemory).Format(nullptr)));
    EXPECT_TRUE(CResourceHandler::SetLanguage(ORVTEXT("ja")));
    EXPECT_EQ(ORVTEXT("ja"), Language()) << "what the thread had chosen is closed";
    EXPECT_EQ(3u, m_capture.Take().size());
}

TEST_F(Languages, ThatDoNotFitLeaveTheFallbacks)
{
    const CTestRegistry registry;
    const CTempDir installation;
    const auto install = [&](const Text& sName, const std::string& sBytes) {
        WriteBytes(installation / (sName + kPortResourceSuffix), sBytes);
    };
    const std::string sLibrary = ReadBytes(LibraryFile(ORVTEXT("test_strings.en")));
    install(ORVTEXT("elsewhere.hu"), sLibrary);
    install(ORVTEXT("damaged.hu"), "no library");
    install(ORVTEXT("cut.hu"), sLibrary.substr(0, 300));
    ASSERT_TRUE(SetLQStringSettingW(nullptr, ORVTEXT("InstallPath"),
                                    installation.Path().string<WCHAR>().c_str(), nullptr));
    const std::tuple<const WCHAR*, WORD, bool, const char*> cases[] = {
        {ORVTEXT("elsewhere"), 0, true, nullptr},
        {ORVTEXT("elsewhere"), 1, false, "dwVersion == m_owner.m_dwVersion"},
        {ORVTEXT("damaged"), 0, false, "hModule != nullptr"},
        {ORVTEXT("cut"), 0, false, "hModule != nullptr"},
        {ORVTEXT("missing"), 0, false, nullptr},
        {ORVTEXT(""), 0, false, nullptr},
    };
    for (const auto& [sName, wMinor, bFits, sReported] : cases)
    {
        SCOPED_TRACE(Narrow(sName));
        CResourceHandler::SetOwner(nullptr, sName, 1, wMinor);
        EXPECT_EQ(bFits, CResourceHandler::SetLanguage(ORVTEXT("hu")));
        EXPECT_EQ(bFits, CResourceHandler::GetHandle() != nullptr);
        if (sReported != nullptr)
            EXPECT_REPORTS(m_capture, {{"CLQResLoader::Open", sReported, nullptr, "lqresloader"}});
        else
            EXPECT_NO_REPORTS(m_capture);
    }
}

ORV_CHILD(UseNoLibraries)
{
    const CTestRegistry registry;
    if (!SetLQDWORDSettingW(nullptr, ORVTEXT("UseResourceDLL"), 0, 1))
        return 2;
    return CResourceHandler::GetHandle() == nullptr && !CResourceHandler::SetLanguage(ORVTEXT("hu")) ? 0 : 1;
}

TEST_F(Languages, AreNotLookedForWhereTheSettingSaysSo)
{
    EXPECT_EQ(0, CChildProcess("UseNoLibraries").Wait().m_iExitCode);
}

ORV_CHILD(PrintLanguage)
{
    std::printf("%s", Narrow(Language()).c_str());
    const bool bEmpty = CLQMemoryExcept(kNoMemory, LQ_SRC_LOCATION).Format(nullptr).IsEmpty();
    UninitOrvComTypes();
    return bEmpty;
}

TEST_F(Languages, BeginAsTheUserPrefers)
{
    const ChildResult result = CChildProcess("PrintLanguage").Wait();
    EXPECT_EQ(0, result.m_iExitCode);
    EXPECT_TRUE(CResourceHandler::SetLanguage(nullptr));
    EXPECT_EQ(Narrow(Language()), result.m_sOutput);
    EXPECT_NO_REPORTS(m_capture);
}

/// Some threads speak a language each, others that of the process, which changes meanwhile.
TEST_F(Languages, ChangeWhileOthersFormat)
{
    constexpr int nRounds = 300;
    std::map<Text, Text> texts;
    for (const WCHAR* sLanguage : kLanguages)
    {
        const CThreadLanguage language(sLanguage);
        texts[sLanguage] = TextOf(CLQMessage(kNoMemory).Format(nullptr));
    }
    CMeeting meeting(4);
    const auto speak = [&](const WCHAR* sLanguage) {
        meeting.ArriveAndWait();
        for (int i = 0; i < nRounds; ++i)
        {
            const CThreadLanguage language(sLanguage);
            const Text sText = TextOf(CLQMessage(kNoMemory).Format(nullptr));
            if (sLanguage != nullptr)
                EXPECT_EQ(texts.at(sLanguage), sText);
            else
                EXPECT_TRUE(std::ranges::any_of(texts, [&](const auto& t) { return t.second == sText; }));
        }
    };
    std::thread threads[] = {std::thread(speak, ORVTEXT("hu")), std::thread(speak, ORVTEXT("ja")),
                             std::thread(speak, nullptr)};
    meeting.ArriveAndWait();
    for (int i = 0; i < nRounds; ++i)
        CResourceHandler::SetLanguage(kLanguages[i % 3]);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_NO_REPORTS(m_capture);
}
