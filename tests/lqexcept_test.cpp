#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvlog.h"
#include "support/debug_capture.h"
#include "support/report_capture.h"
#include "support/temp_dir.h"
#include "support/test_strings.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace
{

CLQExcept Made(const WCHAR* sFile, unsigned uResId = 1)
{
    return CLQExcept(E_FAIL, uResId, LQSrcLocation{sFile, 12});
}

/// An exception of a host, with a category that the library does not know.
class CForeignExcept : public CLQExcept
{
public:
    using CLQExcept::CLQExcept;
    LQExcCategory GetCategory() const override { return static_cast<LQExcCategory>(12); }
};

static_assert(std::is_nothrow_move_constructible_v<CLQMemoryExcept>, "thrown where memory is missing");

HMODULE ModuleAt(const void* pAddress)
{
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<LPCWSTR>(pAddress), &hModule);
    return hModule;
}

const void* g_pAddress = nullptr;
std::string g_sText;

void ORVCALL Remember(const void* pAddress, const char* sText)
{
    g_pAddress = pAddress;
    g_sText = sText;
}

} // namespace

TEST(Except, KnowsItsCategoryAndCode)
{
    const LQSrcLocation here = LQ_SRC_LOCATION;
    EXPECT_EQ(lqeCustom, CLQExcept(5, 1, here).GetCategory());
    EXPECT_EQ(5, CLQExcept(5, 1, here).GetErrorCode());
    EXPECT_EQ(lqeInvalidarg, CLQInvalidargExcept(1, here).GetCategory());
    EXPECT_EQ(E_INVALIDARG, CLQInvalidargExcept(1, here).GetErrorCode());
    EXPECT_EQ(lqeMemory, CLQMemoryExcept(1, here).GetCategory());
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

TEST(Except, CopiesShareNothing)
{
    CLQExcept e = Made(ORVTEXT("a"));
    const CLQExcept copy = e;
    e.GetMessages().Add(1, 1, ORVTEXT("more"));
    EXPECT_EQ(1u, copy.GetMessages().GetCount());
    EXPECT_EQ(12, copy.GetLine());
    EXPECT_EQ(E_FAIL, copy.GetMessages().GetItem(0).GetCode());
}

TEST(Except, FormatsToTheLog)
{
    CLQExcept e = Made(ORVTEXT("memarray"));
    e.GetMessages().Last().AddParam(ORVTEXT("x"));
    EXPECT_EQ(ORVTEXT("Category: lqeCustom; File: memarray (12); Params:  P1: x;\r\n\t\tFormatted: x;"),
              TextOf(e.FormatToLog()));
    EXPECT_EQ(ORVTEXT("x"), TextOf(e.Format(nullptr)));

    e.GetMessages().Add(2, 1, ORVTEXT("y"));
    EXPECT_EQ(ORVTEXT("Category: lqeCustom; File: memarray (12)\r\n\t\tMessage: 0: Params:  P1: x;"
                      "\r\n\t\tMessage: 1: Params:  P1: y;\r\n\t\tFormatted: x\r\ny;"),
              TextOf(e.FormatToLog()));

    e.GetMessages() = CLQMessages();
    EXPECT_EQ(
        ORVTEXT("Category: lqeCustom; File: memarray (12); !!! There is no message in CLQExcept object !!!"),
        TextOf(e.FormatToLog()));
    EXPECT_TRUE(TextOf(CForeignExcept(1, 1, LQ_SRC_LOCATION).FormatToLog())
                    .starts_with(ORVTEXT("Category: lqeUndefined; File: lqexcept_test (")));
}

TEST(Except, CutsWhatDoesNotFitTheLog)
{
    CLQExcept e = Made(ORVTEXT("a"));
    for (int i = 0; i < 20; ++i)
        e.GetMessages().Add(1, 1, Text(300, ORVTEXT('m')).c_str());
    EXPECT_EQ(3999u, e.FormatToLog().GetLength());
}

TEST(Except, ReportsANullException)
{
    CReportCapture capture;
    EXPECT_TRUE(ExceptFormatToLog(nullptr).IsEmpty());
    EXPECT_REPORTS(capture, {{"ExceptFormatToLog", "e == nullptr", "", "lqexcept"}});
}

TEST(Except, HasGenericMessages)
{
    const struct
    {
        LQExcCategory m_category;
        int m_iVariant;
        unsigned m_uResId;
    } cases[] = {{lqeMemory, 0, 26007},    {lqeInvalidarg, 0, 26006}, {lqeInvalidarg, 1, 26005},
                 {lqeInternal, 1, 26005},  {lqeInternal, 2, 26006},   {lqeWindows, 0, 26008},
                 {lqeUserCancel, 1, 3517}, {lqeDatabase, 0, 0},       {lqeCustom, 1, 0},
                 {lqeUndefined, 0, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(c.m_uResId, GetErrorMessResId(c.m_category, c.m_iVariant)) << c.m_category;
}

TEST(Throw, TellsTheExceptionLogger)
{
    CDebugCapture debugger;
    EXPECT_EQ(Remember, RegisterExceptionLogger(Remember));
    g_pAddress = nullptr;
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
    EXPECT_EQ(ModuleAt(&g_pAddress), ModuleAt(g_pAddress)); // this program threw, not the library
    EXPECT_EQ(std::string::npos, debugger.Take().find("occurred"));
    EXPECT_EQ(nullptr, RegisterExceptionLogger(nullptr));

    EXPECT_THROW(LQThrowMemory(LQ_SRC_LOCATION), CLQMemoryExcept);
    const std::string sSent = debugger.Take();
    static const std::regex s_form(
        R"(Exception of type "CLQMemoryExcept" occurred at 0x[0-9A-F]{8}([0-9A-F]{8})?\n)");
    EXPECT_TRUE(std::regex_search(sSent, s_form)) << sSent;
}

TEST(Throw, IsLoggedOnceByTheProcessLogger)
{
    const CTempDir dir;
    ASSERT_TRUE(InitFileProcessLogger((dir / "throw.log").string<WCHAR>().c_str(), lqlErrors));
    EXPECT_THROW(CLQMessages().GetItem(0), CLQInvalidargExcept);
    const CLQExcept e = Made(ORVTEXT("a"));
    LogLQExcept(&e);
    LogLQExcept(nullptr);
    ReleaseProcessLogger();
    const std::string sLog = ReadBytes(dir / "throw.log");
    static const std::regex s_form(
        R"(=E> .*Throwing LQ exception: Category: lqeInvalidarg; File: lqmessage \(\d+\); Params: ;\s+)"
        R"(Formatted: Internal error, invalid resource parameters\. 26006;\s+)"
        R"(=E> .*Throwing LQ exception: Category: lqeCustom; File: a \(12\).*\s+Formatted: ;\s+)"
        R"(=E> .*Throwing unknown LQ exception\s+)");
    EXPECT_TRUE(std::regex_match(sLog, s_form)) << sLog;
}

TEST(ErrorText, OfWindowsCodesHasNoLineEnd)
{
    EXPECT_TRUE(GetWinErrorString(0).IsEmpty());
    EXPECT_TRUE(GetWinErrorString(0x2FFFFFFF).IsEmpty());
    const Text sText = TextOf(GetWinErrorString(ERROR_ACCESS_DENIED));
    EXPECT_TRUE(sText.ends_with(ORVTEXT('.'))) << sText.size();
}

TEST(ErrorText, OfComErrorsNamesEverything)
{
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
