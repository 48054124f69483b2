// What belongs to the process: environment, modules, clocks, memory.
#include <gtest/gtest.h>

#include <windows.h>

#include <oleauto.h>

#include "orvcomtypes/orvexport.h"
#include "support/test_environment.h"

#include <cerrno>
#include <ctime>
#include <string>

TEST(Environment, GivesLengthOrNeededRoom)
{
    WCHAR buffer[8] = {};
    const WCHAR* sName = ORVTEXT("ORVCOMTYPES_CONTRACT");
    SetTestVariable("ORVCOMTYPES_CONTRACT", "cafe");
    EXPECT_EQ(4u, GetEnvironmentVariableW(sName, buffer, 5));
    EXPECT_EQ(std::basic_string<WCHAR>(ORVTEXT("cafe")), buffer);
    EXPECT_EQ(5u, GetEnvironmentVariableW(sName, buffer, 4));
    EXPECT_EQ(5u, GetEnvironmentVariableW(sName, nullptr, 0));
    SetTestVariable("ORVCOMTYPES_CONTRACT", nullptr);
    EXPECT_EQ(0u, GetEnvironmentVariableW(sName, buffer, 8));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ENVVAR_NOT_FOUND), GetLastError());
}

namespace
{
int g_nInThisProgram;
}

TEST(Module, IsFoundByAnAddressInside)
{
    constexpr DWORD dwFlags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE hByAddress = nullptr;
    HMODULE hProgram = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(dwFlags, reinterpret_cast<LPCWSTR>(&g_nInThisProgram), &hByAddress));
    ASSERT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, nullptr, &hProgram));
    EXPECT_EQ(hProgram, hByAddress);
    int nOnStack = 0;
    EXPECT_FALSE(GetModuleHandleExW(dwFlags, reinterpret_cast<LPCWSTR>(&nOnStack), &hByAddress));
    EXPECT_EQ(nullptr, hByAddress);
}

TEST(Module, TellsTheFileItCameFrom)
{
    HMODULE hProgram = nullptr;
    ASSERT_TRUE(GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, nullptr, &hProgram));
    WCHAR buffer[1024];
    for (const HMODULE hModule : {hProgram, HMODULE{}})
    {
        const DWORD nLength = GetModuleFileNameW(hModule, buffer, 1024);
        ASSERT_GT(nLength, 0u);
        ASSERT_LT(nLength, 1024u);
        EXPECT_TRUE(
            std::filesystem::equivalent(TestProgram(), std::filesystem::path(buffer, buffer + nLength)));
    }
    EXPECT_EQ(5u, GetModuleFileNameW(nullptr, buffer, 5));
}

TEST(Clock, LocalTimeOfAnInstant)
{
    const __time64_t nNow = _time64(nullptr);
    EXPECT_NEAR(static_cast<double>(std::time(nullptr)), static_cast<double>(nNow), 2.0);
    std::tm tm;
    ASSERT_EQ(0, _localtime64_s(&tm, &nNow));
    SYSTEMTIME st;
    GetLocalTime(&st);
    EXPECT_NEAR(st.wYear, tm.tm_year + 1900, 1);
    EXPECT_GE(tm.tm_yday, 0);
    const __time64_t nNegative = -1;
    EXPECT_EQ(EINVAL, _localtime64_s(&tm, &nNegative));
}

TEST(Clock, CountersAgreeAndNeverGoBack)
{
    LARGE_INTEGER frequency;
    ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
    const auto milliseconds = [&] {
        LARGE_INTEGER counter;
        EXPECT_TRUE(QueryPerformanceCounter(&counter));
        return static_cast<double>(counter.QuadPart) * 1000 / static_cast<double>(frequency.QuadPart);
    };
    // A span of the one clock lies between two of the other, whatever interrupts the thread.
    const DWORD dwOuter = GetTickCount();
    const double dStart = milliseconds();
    const DWORD dwInner = GetTickCount();
    Sleep(30);
    const DWORD dwInnerSpan = GetTickCount() - dwInner;
    const double dSpan = milliseconds() - dStart;
    const DWORD dwOuterSpan = GetTickCount() - dwOuter;
    constexpr double dStep = 16;
    EXPECT_GE(dSpan, 25);
    EXPECT_LE(dwInnerSpan - dStep, dSpan);
    EXPECT_LE(dSpan, dwOuterSpan + dStep);
}

TEST(Bstr, KeepsItsLengthWithEmbeddedZeros)
{
    const WCHAR text[] = {'a', 0, 'b'};
    BSTR bstr = SysAllocStringLen(text, 3);
    ASSERT_NE(nullptr, bstr);
    EXPECT_EQ(3u, SysStringLen(bstr));
    EXPECT_EQ(static_cast<WCHAR>('b'), bstr[2]);
    EXPECT_EQ(static_cast<WCHAR>(0), bstr[3]);
    SysFreeString(bstr);
    EXPECT_EQ(nullptr, SysAllocString(nullptr));
    EXPECT_EQ(0u, SysStringLen(nullptr));
    SysFreeString(nullptr);
}
