// Calls that cannot throw, where memory is missing.
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/xmlstreamwrite.h"
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <shlobj.h>

#include <cstdlib>
#include <new>

/// While it is true the thread gets no memory from operator new.
static thread_local bool t_bExhausted = false;

void* operator new(std::size_t nSize, const std::nothrow_t&) noexcept
{
    return t_bExhausted ? nullptr : std::malloc(nSize != 0 ? nSize : 1);
}

void* operator new(std::size_t nSize)
{
    void* const p = operator new(nSize, std::nothrow);
    if (p == nullptr)
        throw std::bad_alloc();
    return p;
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

TEST(NoMemory, AnExceptionIsThrownWithoutItsMessage)
{
    t_bExhausted = true;
    try
    {
        throw CLQExcept(E_ABORT, 1, LQ_SRC_LOCATION);
    }
    catch (const CLQExcept& e)
    {
        t_bExhausted = false;
        EXPECT_EQ(E_ABORT, e.GetErrorCode());
        EXPECT_TRUE(e.GetMessages().IsEmpty());
        EXPECT_TRUE(e.Format(nullptr).IsEmpty());
    }
    t_bExhausted = true;
    EXPECT_THROW(CLQMessages().Add(1, 1), CLQMemoryExcept);
    t_bExhausted = false;
}

TEST(NoMemory, AMessageWithANumberHasItsFallback)
{
    CLQMessage message(1);
    message.AddParam(-1234567);
    // The locale's marks are read anew, which needs memory.
    const CVariableGuard locale("LC_ALL", "hu_HU.UTF-8");
    t_bExhausted = true;
    COrvStr sText = message.Format(HINSTANCE());
    t_bExhausted = false;
    EXPECT_EQ(ORVTEXT("Internal error, invalid resource parameters.  (8|%1)"), TextOf(sText));
}

TEST(NoMemory, AReportReturns)
{
    SetLastError(77);
    t_bExhausted = true;
    OrvReportAssertion("a.cpp", 1, "Function", "condition", 0);
    t_bExhausted = false;
    EXPECT_EQ(77u, GetLastError());
}

TEST(NoMemory, CallsWithPathsFail)
{
    const WCHAR* const sPath = ORVTEXT("/a/path/that/is/longer/than/a/string/has/room/for");
    WCHAR sBuffer[MAX_PATH];
    WCHAR sCommand[] = ORVTEXT("a-program-of-a-long-name an-argument");
    STARTUPINFOW startup{};
    PROCESS_INFORMATION process{};
    t_bExhausted = true;
    const bool failed[] = {
        CreateFileW(sPath, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr) == INVALID_HANDLE_VALUE,
        GetLastError() == ERROR_NOT_ENOUGH_MEMORY,
        !CreateDirectoryW(sPath, nullptr),
        !CreateProcessW(nullptr, sCommand, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process),
        GetLastError() == ERROR_NOT_ENOUGH_MEMORY,
        GetLongPathNameW(sPath, sBuffer, MAX_PATH) == 0,
        GetModuleFileNameW(nullptr, sBuffer, MAX_PATH) == 0,
        SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, sBuffer) == E_OUTOFMEMORY,
    };
    t_bExhausted = false;
    for (const bool& bFailed : failed)
        EXPECT_TRUE(bFailed) << &bFailed - failed;
}

TEST(NoMemory, NumbersAreNotFormatted)
{
    const CVariableGuard locale("LC_ALL", "hu_HU.UTF-8"); // not the locale of the last number
    WCHAR sText[20];
    const auto Formatted = [&] {
        return GetNumberFormatW(LOCALE_USER_DEFAULT, 0, ORVTEXT("1234"), nullptr, sText, 20);
    };
    t_bExhausted = true;
    const int nWithout = Formatted();
    const DWORD dwError = GetLastError();
    t_bExhausted = false;
    EXPECT_EQ(0, nWithout);
    EXPECT_EQ(static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY), dwError);
    EXPECT_EQ(9, Formatted());
    t_bExhausted = true; // what is known needs none
    EXPECT_EQ(9, Formatted());
    t_bExhausted = false;
}

TEST(NoMemory, ADocumentIsClosedWhereItIsMissing)
{
    CXMLOptions options;
    options.m_bDeclaration = false;
    OCT::CMemWrtStream stream; // takes its block from malloc
    CXMLStreamWrite xml(stream, options);
    unsigned nOpen = xml.StartElement(ORVTEXT("a"));
    t_bExhausted = true;
    EXPECT_THROW(CXMLStreamWrite{stream}, CLQMemoryExcept);
    for (bool bTaken = true; bTaken; nOpen += bTaken)
        bTaken = xml.StartElement(ORVTEXT("a"));
    const bool bWhole = xml.Finish();
    t_bExhausted = false;
    EXPECT_FALSE(bWhole);
    EXPECT_EQ(lqxMemory, xml.GetError());
    std::string sExpected = "<a/>";
    for (unsigned i = 1; i < nOpen; ++i)
        sExpected = "<a>" + sExpected + "</a>";
    EXPECT_EQ(sExpected, std::string(stream.GetBytes(), stream.GetSize()));
}

TEST(NoMemory, AStreamOfTextKeepsWhatItHas)
{
    const std::basic_string<WCHAR> sText(5000, ORVTEXT('x')); // two have no room where one has
    const std::size_t nBytes = sText.size() * sizeof(WCHAR);
    OCT::CStrWrtStream stream;
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, stream.Write(sText.data(), nBytes));
    t_bExhausted = true;
    const DWORD dwError = stream.Write(sText.data(), nBytes);
    t_bExhausted = false;
    EXPECT_EQ(DWORD{ERROR_NOT_ENOUGH_MEMORY}, dwError);
    EXPECT_EQ(sText, static_cast<const WCHAR*>(stream.GetText()));
    EXPECT_EQ(DWORD{ERROR_SUCCESS}, stream.Write(sText.data(), nBytes));
    EXPECT_EQ(sText + sText, static_cast<const WCHAR*>(stream.GetText()));
}
