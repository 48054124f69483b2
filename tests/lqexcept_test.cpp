#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/resourcehandler.h"
#include "support/debug_capture.h"
#include "support/report_capture.h"
#include "support/test_log.h"

namespace
{

CLQExcept Made(const WCHAR* sFile)
{
    return CLQExcept(E_FAIL, 1, LQSrcLocation{sFile, 12});
}

/// An exception of a host, whose category the library may not know.
class CForeignExcept : public CLQExcept
{
public:
    explicit CForeignExcept(int nCategory) : CLQExcept(1, 1, LQ_SRC_LOCATION), m_nCategory(nCategory) {}
    LQExcCategory GetCategory() const override { return static_cast<LQExcCategory>(m_nCategory); }

private:
    const int m_nCategory;
};

static_assert(std::is_nothrow_move_constructible_v<CLQMemoryExcept>, "thrown where memory is missing");

const void* g_pAddress = nullptr;
std::string g_sText;

void ORVCALL Remember(const void* pAddress, const char* sText)
{
    g_pAddress = pAddress;
    g_sText = sText;
}

HMODULE ModuleAt(const void* pAddress)
{
    constexpr DWORD dwFlags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE hModule = nullptr;
    EXPECT_TRUE(GetModuleHandleExW(dwFlags, static_cast<LPCWSTR>(pAddress), &hModule));
    return hModule;
}

/// A logger that does what it should not.
int g_iNested = 0;

void ORVCALL ThrowInside(const void*, const char*)
{
    ++g_iNested;
    try
    {
        LQThrowMemory(LQ_SRC_LOCATION);
    }
    catch (const CLQMemoryExcept& e)
    {
        g_sText = Narrow(e.GetFile());
    }
    throw g_iNested;
}

using Throw = CLogTest;

} // namespace

TEST(Except, KnowsItsCategoryAndCode)
{
    const LQSrcLocation here = LQ_SRC_LOCATION;
    EXPECT_EQ(lqeCustom, CLQExcept(5, 1, here).GetCategory());
    EXPECT_EQ(5, CLQExcept(5, 1, here).GetErrorCode());
    EXPECT_EQ(E_INVALIDARG, CLQInvalidargExcept(1, here).GetErrorCode());
    EXPECT_EQ(E_OUTOFMEMORY, CLQMemoryExcept(1, here).GetErrorCode());
    EXPECT_EQ(lqeCOM, CLQComExcept(E_FAIL, 1, here).GetCategory());
}

TEST(Except, TraceAndFileLoseALeadingDotBackslash)
{
    CDebugCapture debugger;
    EXPECT_EQ(ORVTEXT("src\\a.cpp"), TextOf(Made(ORVTEXT(".\\src\\a.cpp")).GetFile()));
    EXPECT_EQ(ORVTEXT("./a.cpp"), TextOf(Made(ORVTEXT("./a.cpp")).GetFile()));
    EXPECT_EQ(ORVTEXT(""), TextOf(Made(nullptr).GetFile()));
    EXPECT_EQ("CLQExcept from src\\a.cpp(12)\nCLQExcept from ./a.cpp(12)\nCLQExcept from (12)\n",
              debugger.Take());
}

TEST(Except, FormatsToTheLog)
{
    CLQExcept e = Made(ORVTEXT("memarray"));
    e.GetMessages().Last().AddParam(ORVTEXT("x"));
    EXPECT_EQ(ORVTEXT("Category: lqeCustom; File: memarray (12); Params:  P1: x;\r\n\t\tFormatted: x;"),
              TextOf(e.FormatToLog()));
    e.GetMessages().Add(2, 1, ORVTEXT("y"));
    EXPECT_EQ(ORVTEXT("Category: lqeCustom; File: memarray (12)\r\n\t\tMessage: 0: Params:  P1: x;"
                      "\r\n\t\tMessage: 1: Params:  P1: y;\r\n\t\tFormatted: x\r\ny;"),
              TextOf(e.FormatToLog()));
    e.GetMessages() = CLQMessages();
    EXPECT_EQ(
        ORVTEXT("Category: lqeCustom; File: memarray (12); !!! There is no message in CLQExcept object !!!"),
        TextOf(e.FormatToLog()));
    for (int i = 0; i < 20; ++i)
        e.GetMessages().Add(1, 1, Text(300, ORVTEXT('m')).c_str());
    EXPECT_EQ(3999u, e.FormatToLog().GetLength());
    int nCategory = 0;
    for (const char* sName : {"Undefined", "Memory", "Database", "Invalidarg", "File", "COM", "Custom",
                              "Windows", "Internal", "UserCancel", "Undefined"})
    {
        const std::string sStart = "Category: lqe" + std::string(sName) + "; File: lqexcept_test (";
        EXPECT_EQ(0u, Narrow(TextOf(CForeignExcept(nCategory++).FormatToLog())).find(sStart)) << sName;
    }
    CReportCapture capture;
    EXPECT_TRUE(ExceptFormatToLog(nullptr).IsEmpty());
    EXPECT_REPORTS(capture, {{"ExceptFormatToLog", "e == nullptr", "", "lqexcept"}});
}

TEST(Except, NamesTheIdOfATextThatTheLanguageLacks)
{
    CReportCapture capture;
    CResourceHandler::SetLanguage(ORVTEXT("en"));
    EXPECT_EQ(ORVTEXT("There is no text in this language for message 2999"),
              TextOf(CLQExcept(E_FAIL, 2999, LQ_SRC_LOCATION).Format(nullptr)));
    EXPECT_REPORTS(capture, {{"CLQMessage::Format", "sFormat.IsEmpty()", "2999", "lqmessage"}});
}

TEST(Except, HasGenericMessages)
{
    EXPECT_EQ(26007u, GetErrorMessResId(lqeMemory, 1));
    EXPECT_EQ(26005u, GetErrorMessResId(lqeInvalidarg, 1));
    EXPECT_EQ(26006u, GetErrorMessResId(lqeInternal, 2));
    EXPECT_EQ(26008u, GetErrorMessResId(lqeWindows, 0));
    EXPECT_EQ(3517u, GetErrorMessResId(lqeUserCancel, 1));
    EXPECT_EQ(0u, GetErrorMessResId(lqeCustom, 1));
}

TEST_F(Throw, TellsTheExceptionLogger)
{
    CDebugCapture debugger;
    EXPECT_EQ(Remember, RegisterExceptionLogger(Remember));
    try
    {
        LQThrowInvalidArg(LQ_SRC_LOCATION);
    }
    catch (const CLQExcept& e)
    {
        EXPECT_EQ(lqeInvalidarg, e.GetCategory());
        EXPECT_EQ(ORVTEXT("lqexcept_test"), TextOf(e.GetFile()));
        EXPECT_EQ(26006u, e.GetMessages().Last().GetResId());
    }
    EXPECT_EQ("Exception of type \"CLQInvalidargExcept\" occurred.", g_sText);
    EXPECT_EQ(ModuleAt(&g_sText), ModuleAt(g_pAddress)) << "this program threw, not the library";
    EXPECT_EQ(std::string::npos, debugger.Take().find("occurred"));
    EXPECT_EQ(nullptr, RegisterExceptionLogger(nullptr));

    EXPECT_THROW(LQThrowMemory(LQ_SRC_LOCATION), CLQMemoryExcept);
    const std::string sSent = debugger.Take();
    constexpr const char* sForm =
        R"(Exception of type "CLQMemoryExcept" occurred at 0x[0-9A-F]{8}([0-9A-F]{8})?\n)";
    EXPECT_TRUE(Contains(sSent, sForm)) << sSent;
}

TEST_F(Throw, SurvivesALoggerThatThrows)
{
    RegisterExceptionLogger(ThrowInside);
    EXPECT_THROW(LQThrowInvalidArg(LQ_SRC_LOCATION), CLQInvalidargExcept);
    RegisterExceptionLogger(nullptr);
    EXPECT_EQ(1, g_iNested) << "what is thrown inside is not announced";
    EXPECT_EQ("lqexcept_test", g_sText);
}

TEST_F(Throw, IsOpenToClassesOfAHost)
{
    RegisterExceptionLogger(Remember);
    ASSERT_TRUE(InitFileProcessLogger(m_sFile.c_str(), lqlErrors));
    CForeignExcept made(12);
    made.GetMessages().Last().AddParam(ORVTEXT("x"));
    try
    {
        LQ_THROW(CForeignExcept, std::move(made));
    }
    catch (const CForeignExcept& e)
    {
        EXPECT_EQ(ORVTEXT("x"), TextOf(e.Format(nullptr)));
    }
    ReleaseProcessLogger();
    EXPECT_EQ("Exception of type \"CForeignExcept\" occurred.", g_sText);
    EXPECT_EQ(ModuleAt(&g_sText), ModuleAt(g_pAddress));
    LQAnnounceThrow(CForeignExcept(12), std::string(2000, 'T').c_str());
    EXPECT_EQ("Exception of type \"" + std::string(1005, 'T'), g_sText);
    RegisterExceptionLogger(nullptr);
    EXPECT_NE(std::string::npos, Written().find("Throwing LQ exception: Category: lqeUndefined;"));
}

TEST_F(Throw, IsLoggedOnceByTheProcessLogger)
{
    CReportCapture capture;
    CResourceHandler::SetLanguage(ORVTEXT("en"));
    ASSERT_TRUE(InitFileProcessLogger(m_sFile.c_str(), lqlErrors));
    EXPECT_THROW(CLQMessages().GetItem(0), CLQInvalidargExcept);
    const CLQExcept e = Made(ORVTEXT("a"));
    LogLQExcept(&e);
    LogLQExcept(nullptr);
    ReleaseProcessLogger();
    const std::string sLog = Written();
    constexpr const char* sForm =
        R"(=E> <t> Throwing LQ exception: Category: lqeInvalidarg; File: lqmessage \(\d+\); Params: ;\s+)"
        R"(Formatted: The program has made an internal error\.;\s+)"
        R"(=E> <t> Throwing LQ exception: Category: lqeCustom; File: a \(12\).*\s+Formatted: ;\s+)"
        R"(=E> <t> Throwing unknown LQ exception\s+)";
    EXPECT_TRUE(Fits(sLog, sForm)) << sLog;
    EXPECT_REPORTS(capture, {{"ExceptFormatToLog", "e == nullptr"}});
}

TEST(ErrorText, OfWindowsAndComErrors)
{
    EXPECT_TRUE(GetWinErrorString(0).IsEmpty());
    EXPECT_TRUE(GetWinErrorString(0x2FFFFFFF).IsEmpty());
    EXPECT_TRUE(TextOf(GetWinErrorString(ERROR_ACCESS_DENIED)).ends_with(ORVTEXT('.')))
        << "not with a line end";

    EXPECT_TRUE(ComErrorDataToLogString(nullptr).IsEmpty());
    LQComErrorData error;
    error.m_iCode = E_FAIL;
    error.m_iNativeCode = -547;
    error.m_sSQLState = ORVTEXT("23000");
    error.m_sMessage = ORVTEXT("conflict");
    EXPECT_EQ(ORVTEXT("Code: 0x80004005; Native code: -547; SQL state: 23000; Message: conflict"),
              TextOf(ComErrorDataToLogString(&error)));
    error.m_sMessage = Text(5000, ORVTEXT('m')).c_str();
    EXPECT_EQ(4000u, ComErrorDataToLogString(&error).GetLength());
}
