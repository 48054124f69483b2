#include "orvcomtypes/threadname.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <fstream>
#include <latch>
#include <string>
#include <thread>

namespace
{

std::string KernelName(DWORD dwThreadId)
{
    std::ifstream file("/proc/self/task/" + std::to_string(dwThreadId) + "/comm");
    std::string sName;
    std::getline(file, sName);
    return sName;
}

TEST(KernelThreadName, IsShortenedInTheMiddleBetweenCharacters)
{
    const struct
    {
        const char* m_sName;
        const char* m_sExpected;
    } rows[] = {
        {"Importer", "Importer"},
        {"exactly fifteen", "exactly fifteen"},
        {"CLogFileInnerHandler.Logger", "CLogFil~.Logger"},
        {"12345\xC3\xA9 and 67890 and \xC3\xA9 2345", "12345\xC3\xA9~\xC3\xA9 2345"},
        {"123456\xC3\xA9 and 67890 and \xC3\xA9 23456", "123456~ 23456"},
        {"1234\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC",
         "1234\xE2\x82\xAC~\xE2\x82\xAC\xE2\x82\xAC"},
    };
    for (const auto& row : rows)
    {
        std::thread([&row] {
            SetThreadName(static_cast<DWORD>(-1), row.m_sName);
            EXPECT_EQ(row.m_sExpected, KernelName(GetCurrentThreadId()));
        }).join();
    }
}

TEST(KernelThreadName, IsGivenToAnotherThread)
{
    std::latch started(1);
    std::latch named(1);
    DWORD dwThreadId = 0;
    std::thread other([&] {
        dwThreadId = GetCurrentThreadId();
        started.count_down();
        named.wait();
    });
    started.wait();
    SetThreadName(dwThreadId, "named from outside");
    EXPECT_EQ("named f~outside", KernelName(dwThreadId));
    named.count_down();
    other.join();
}

} // namespace
