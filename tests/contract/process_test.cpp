// What belongs to the process: environment, modules, clocks.
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <ctime>

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

TEST(Clock, CountersAgree)
{
    LARGE_INTEGER frequency, start, end;
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
    const DWORD dwStart = GetTickCount();
    QueryPerformanceCounter(&start);
    Sleep(30);
    QueryPerformanceCounter(&end);
    const DWORD dwSpan = GetTickCount() - dwStart;
    const LONGLONG nSpan = (end.QuadPart - start.QuadPart) * 1000 / frequency.QuadPart;
    constexpr int nStep = 16; // of the coarser one
    EXPECT_GE(nSpan, 30 - nStep);
    EXPECT_LE(nSpan, dwSpan + nStep);
}

TEST(Processor, HasWhatIsPresent)
{
    __builtin_cpu_init();
    EXPECT_TRUE(!IsProcessorFeaturePresent(PF_SSSE3_INSTRUCTIONS_AVAILABLE) ||
                __builtin_cpu_supports("ssse3"));
}
