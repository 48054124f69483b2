// What belongs to the process: environment, modules, clocks, memory, debugger, other processes.
#include "support/child_process.h"
#include "support/debug_capture.h"
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <objbase.h>

#include <ctime>
#include <thread>

ORV_CHILD(ReturnAtOnce)
{
    return args.empty() ? 1 : 0;
}

TEST(Process, IsStartedOrSaysWhyNot)
{
    const auto Start = [](Text sCommand) {
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        if (!CreateProcessW(nullptr, sCommand.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr,
                            nullptr, &startup, &process))
            return GetLastError();
        EXPECT_TRUE(CloseHandle(process.hProcess) && CloseHandle(process.hThread));
        return DWORD{ERROR_SUCCESS};
    };
    const Text sProgram = ORVTEXT('"') + TestProgram().string<WCHAR>() + ORVTEXT("\" ");
    const std::string sSwitch(kChildSwitch);
    EXPECT_EQ(DWORD{ERROR_SUCCESS},
              Start(sProgram + Text(sSwitch.begin(), sSwitch.end()) + ORVTEXT(" ReturnAtOnce")));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, Start(ORVTEXT("no-such-program \"an argument\"")));
}

TEST(Process, HasOneIdForAllItsThreads)
{
    DWORD dwOther = 0;
    std::thread([&] { dwOther = GetCurrentProcessId(); }).join();
    EXPECT_NE(0u, dwOther);
    EXPECT_EQ(dwOther, GetCurrentProcessId());
}

TEST(Debugger, GetsTextsAsTheyAre)
{
    CDebugCapture capture;
    OutputDebugStringA("narrow\n");
    OutputDebugStringW(ORVTEXT("wide\n"));
    EXPECT_EQ("narrow\nwide\n", capture.Take());
}

TEST(Memory, GoesBackByItsOwnFunction)
{
    const CLSID id = {0xABCDEF01, 2, 3, {4, 5, 6, 7, 8, 9, 10, 255}};
    WCHAR* sId = nullptr;
    ASSERT_EQ(S_OK, StringFromCLSID(id, &sId));
    EXPECT_EQ(Text(ORVTEXT("{ABCDEF01-0002-0003-0405-060708090AFF}")), sId);
    CoTaskMemFree(sId);
    void* const p = CoTaskMemAlloc(1);
    EXPECT_NE(nullptr, p);
    CoTaskMemFree(p);
    CoTaskMemFree(nullptr);
    WCHAR* sText = nullptr;
    EXPECT_NE(0u, FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr,
                                 ERROR_ACCESS_DENIED, GetUserDefaultLCID(), reinterpret_cast<LPWSTR>(&sText),
                                 0, nullptr));
    EXPECT_EQ(nullptr, LocalFree(sText));
    EXPECT_EQ(nullptr, LocalFree(nullptr));
}

TEST(Environment, GivesLengthOrNeededRoom)
{
    WCHAR buffer[8] = {};
    const WCHAR* const sName = ORVTEXT("ORVCOMTYPES_CONTRACT");
    {
        const CVariableGuard variable("ORVCOMTYPES_CONTRACT", "cafe");
        EXPECT_EQ(4u, GetEnvironmentVariableW(sName, buffer, 5));
        EXPECT_EQ(Text(ORVTEXT("cafe")), buffer);
        EXPECT_EQ(5u, GetEnvironmentVariableW(sName, buffer, 4));
        EXPECT_EQ(5u, GetEnvironmentVariableW(sName, nullptr, 0));
    }
    EXPECT_EQ(0u, GetEnvironmentVariableW(sName, buffer, 8));
    EXPECT_EQ(DWORD{ERROR_ENVVAR_NOT_FOUND}, GetLastError());
}

TEST(Module, IsFoundByAnAddressInside)
{
    static int s_nInThisProgram;
    int nOnStack;
    constexpr DWORD dwFlags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE hByAddress = nullptr;
    HMODULE hProgram = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(dwFlags, reinterpret_cast<LPCWSTR>(&s_nInThisProgram), &hByAddress));
    ASSERT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, nullptr, &hProgram));
    EXPECT_EQ(hProgram, hByAddress);
    EXPECT_FALSE(GetModuleHandleExW(dwFlags, reinterpret_cast<LPCWSTR>(&nOnStack), &hByAddress));
    EXPECT_EQ(nullptr, hByAddress);
    WCHAR sFile[1024];
    EXPECT_LT(0u, GetModuleFileNameW(hProgram, sFile, 1024));
    EXPECT_TRUE(std::filesystem::equivalent(TestProgram(), sFile));
    EXPECT_EQ(5u, GetModuleFileNameW(nullptr, sFile, 5));
}

TEST(Clock, TellsTheLocalTime)
{
    const __time64_t nBefore = _time64(nullptr);
    std::tm tm;
    ASSERT_EQ(0, _localtime64_s(&tm, &nBefore));
    EXPECT_EQ(nBefore, std::mktime(&tm));
    SYSTEMTIME st;
    GetLocalTime(&st);
    tm.tm_year = st.wYear - 1900;
    tm.tm_mon = st.wMonth - 1;
    tm.tm_mday = st.wDay;
    tm.tm_hour = st.wHour;
    tm.tm_min = st.wMinute;
    tm.tm_sec = st.wSecond;
    // The clocks may differ by a tick.
    EXPECT_LE(nBefore - 1, std::mktime(&tm));
    EXPECT_LE(std::mktime(&tm), _time64(nullptr) + 1);
    EXPECT_EQ(tm.tm_wday, st.wDayOfWeek);
}

TEST(Clock, CountersMoveOn)
{
    LARGE_INTEGER frequency, start, end;
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
    const DWORD dwStart = GetTickCount();
    QueryPerformanceCounter(&start);
    Sleep(30);
    QueryPerformanceCounter(&end);
    EXPECT_GE((end.QuadPart - start.QuadPart) * 1000 / frequency.QuadPart, 14)
        << "a sleep may lack a step of 16";
    // It may lag behind: under Wine another process counts the ticks, when it gets a processor.
    while (GetTickCount() - dwStart < 30)
        Sleep(1);
}

TEST(Processor, HasWhatIsPresent)
{
    __builtin_cpu_init();
    EXPECT_TRUE(!IsProcessorFeaturePresent(PF_SSSE3_INSTRUCTIONS_AVAILABLE) ||
                __builtin_cpu_supports("ssse3"));
}
