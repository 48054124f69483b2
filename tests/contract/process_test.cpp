// What belongs to the process: environment, modules, clocks, memory.
#include "support/test_environment.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <oleauto.h>

#include <cerrno>
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
    for (const HMODULE hModule : {hProgram, HMODULE{}})
    {
        const DWORD nLength = GetModuleFileNameW(hModule, sFile, 1024);
        EXPECT_EQ(TextOf(sFile).size(), nLength);
        EXPECT_TRUE(std::filesystem::equivalent(TestProgram(), sFile));
    }
    EXPECT_EQ(5u, GetModuleFileNameW(nullptr, sFile, 5));
}

TEST(Clock, LocalTimeOfAnInstant)
{
    const __time64_t nInstant = 86400 * 365;
    const std::time_t nSame = 86400 * 365;
    std::tm tm;
    ASSERT_EQ(0, _localtime64_s(&tm, &nInstant));
    EXPECT_EQ(nSame, std::mktime(&tm));
    EXPECT_EQ(std::localtime(&nSame)->tm_yday, tm.tm_yday);
    const __time64_t nNegative = -1;
    EXPECT_EQ(EINVAL, _localtime64_s(&tm, &nNegative));

    // The clocks may differ by a tick.
    const std::time_t nBefore = std::time(nullptr);
    const __time64_t nNow = _time64(nullptr);
    SYSTEMTIME st;
    GetLocalTime(&st);
    EXPECT_LE(nBefore - 1, nNow);
    EXPECT_LE(nNow, std::time(nullptr) + 1);
    ASSERT_EQ(0, _localtime64_s(&tm, &nNow));
    EXPECT_NEAR(st.wYear, tm.tm_year + 1900, 1);
}

TEST(Clock, CountersAgreeAndNeverGoBack)
{
    LARGE_INTEGER frequency;
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
    const auto Milliseconds = [&] {
        LARGE_INTEGER counter;
        EXPECT_TRUE(QueryPerformanceCounter(&counter));
        return static_cast<double>(counter.QuadPart) * 1000 / static_cast<double>(frequency.QuadPart);
    };
    // A span of the one clock lies between two of the other, whatever interrupts the thread.
    const DWORD dwOuter = GetTickCount();
    const double dStart = Milliseconds();
    const DWORD dwInner = GetTickCount();
    Sleep(30);
    const DWORD dwInnerSpan = GetTickCount() - dwInner;
    const double dSpan = Milliseconds() - dStart;
    const DWORD dwOuterSpan = GetTickCount() - dwOuter;
    constexpr double dStep = 16;
    EXPECT_GE(dSpan, 25);
    EXPECT_LE(dwInnerSpan - dStep, dSpan);
    EXPECT_LE(dSpan, dwOuterSpan + dStep);
}

TEST(Bstr, KeepsItsLengthWithEmbeddedZeros)
{
    const Text sText(ORVTEXT("a\0b"), 4); // and the zero behind it
    BSTR bstr = SysAllocStringLen(sText.c_str(), 3);
    EXPECT_EQ(3u, SysStringLen(bstr));
    EXPECT_EQ(sText, Text(bstr, 4));
    SysFreeString(bstr);
    EXPECT_EQ(nullptr, SysAllocString(nullptr));
    EXPECT_EQ(0u, SysStringLen(nullptr));
    SysFreeString(nullptr);
}
