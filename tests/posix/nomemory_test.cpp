// What the port does where memory is missing.
#include "orvcomtypes/lqsettings.h"
#include "orvcomtypes/orvlongstrbase.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/threadname.h"
#include "orvcomtypes/timeutils.h"
#include "support/child_process.h"
#include "support/faults.h"
#include "support/forked.h"
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include <windows.h>
#include <shlobj.h>

/// The first narrow text of the process: the tables of its code page are there already.
TEST(NoMemory, NarrowTextIsNotCutShort)
{
    const char* const sNarrow = IsNarrowUtf8() ? "k\u00E9y" : "k\xE9y";
    COrvLongStr s(100);
    auto pFault = std::make_unique<CFault>(FaultyCall::Allocation);
    s.Append(sNarrow);
    pFault.reset();
    EXPECT_EQ(Text(s), ORVTEXT("k\u00E9y"));
}

/// Of the large blocks for it the library asks for the first one, ICU for the second.
TEST(NoMemory, ACodePageIsReadWholeOrLater)
{
    for (const unsigned nFirst : {1u, 2u})
        EXPECT_EQ(2, ForkedResult([=] {
                      const auto encode = [] {
                          char sBytes[4];
                          return WideCharToMultiByte(950, 0, ORVTEXT("\u4E00"), 1, sBytes, 4, nullptr,
                                                     nullptr);
                      };
                      auto pFault = std::make_unique<CFault>(FaultyCall::LargeAllocation, nFirst, false);
                      encode();
                      const bool bHappened = pFault->Happened();
                      pFault.reset();
                      return bHappened ? encode() : 100;
                  }))
            << nFirst;
}

/// The registry is made anew where its first making found no memory; a fork then finds all locks.
ORV_CHILD(SettingsAfterAShortage)
{
    const auto get = [] { return GetLQStrSetting(nullptr, ORVTEXT("x"), ORVTEXT("d")).GetLength(); };
    {
        const CFault fault(FaultyCall::Allocation, static_cast<unsigned>(std::stoi(args.at(0))), false);
        get();
    }
    EXPECT_EQ(1u, get());
    EXPECT_TRUE(RunForked([] { return true; }));
    return testing::Test::HasFailure();
}

TEST(NoMemory, ForksGoOnAfterAShortage)
{
    for (int n = 1; n < 6; ++n)
    {
        const ChildResult result = CChildProcess("SettingsAfterAShortage", {std::to_string(n)}).Wait();
        EXPECT_EQ(0, result.m_iExitCode) << n << ": " << result.m_sOutput;
    }
}

TEST(NoMemory, CallsWithPathsFail)
{
    const WCHAR* const sPath = ORVTEXT("/a/path/that/is/longer/than/a/string/has/room/for");
    WCHAR sBuffer[MAX_PATH];
    WCHAR sCommand[] = ORVTEXT("a-program-of-a-long-name an-argument");
    STARTUPINFOW startup{};
    PROCESS_INFORMATION process{};
    auto pFault = std::make_unique<CFault>(FaultyCall::Allocation);
    const bool failed[] = {
        CreateFileW(sPath, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr) == INVALID_HANDLE_VALUE,
        GetLastError() == ERROR_NOT_ENOUGH_MEMORY,
        !CreateDirectoryW(sPath, nullptr),
        !CreateProcessW(nullptr, sCommand, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process),
        GetLastError() == ERROR_NOT_ENOUGH_MEMORY,
        GetLongPathNameW(sPath, sBuffer, MAX_PATH) == 0,
        GetModuleFileNameW(nullptr, sBuffer, MAX_PATH) == 0,
        SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, sBuffer) == E_OUTOFMEMORY,
        (SetThreadName(1, "name"), true), // does not end the process
    };
    pFault.reset();
    for (const bool& bFailed : failed)
        EXPECT_TRUE(bFailed) << &bFailed - failed;
}

TEST(NoMemory, TheSystemsZoneIsReadWholeOrLater)
{
    const CVariableGuard zone("TZ", "Asia/Tokyo");
    const auto hour = [] {
        SYSTEMTIME st;
        return Timet2LocalSystemTime(0, &st) ? st.wHour : -1;
    };
    for (const unsigned nFirst : {1u, 2u})
        EXPECT_EQ(9, ForkedResult([=] {
                      auto pFault = std::make_unique<CFault>(FaultyCall::LargeAllocation, nFirst);
                      const int iHour = hour();
                      pFault.reset();
                      return iHour == 9 || iHour == -1 ? hour() : 100;
                  }))
            << nFirst;
}

TEST(NoMemory, NumbersAreNotFormatted)
{
    const CVariableGuard locale("LC_ALL", "hu_HU.UTF-8"); // not the locale of the last number
    WCHAR sNumber[20];
    const auto Formatted = [&] {
        SetLastError(ERROR_SUCCESS);
        return GetNumberFormatW(LOCALE_USER_DEFAULT, 0, ORVTEXT("1234"), nullptr, sNumber, 20);
    };
    auto pFault = std::make_unique<CFault>(FaultyCall::Allocation);
    const int nWithout = Formatted();
    const DWORD dwError = GetLastError();
    pFault.reset();
    EXPECT_EQ(0, nWithout);
    EXPECT_EQ(static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY), dwError);
    EXPECT_EQ(9, Formatted());
    const CFault fault(FaultyCall::Allocation); // what is known needs none
    EXPECT_EQ(9, Formatted());
}
