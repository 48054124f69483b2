#include "orvcomtypes/threadname.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <fstream>
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
    const std::pair<const char*, const char*> rows[] = {
        {"Importer", "Importer"},
        {"exactly fifteen", "exactly fifteen"},
        {"CLogFileInnerHandler.Logger", "CLogFil~.Logger"},
        {"12345\xC3\xA9 and 67890 and \xC3\xA9 2345", "12345\xC3\xA9~\xC3\xA9 2345"},
        {"123456\xC3\xA9 and 67890 and \xC3\xA9 23456", "123456~ 23456"},
        {"1234\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC",
         "1234\xE2\x82\xAC~\xE2\x82\xAC\xE2\x82\xAC"},
    };
    const DWORD dwWaiting = GetCurrentThreadId();
    for (const auto& row : rows)
        std::thread([&] {
            SetThreadName(dwWaiting, row.first);
            EXPECT_EQ(row.second, KernelName(dwWaiting));
            SetThreadName(static_cast<DWORD>(-1), row.first);
            EXPECT_EQ(row.second, KernelName(GetCurrentThreadId()));
        }).join();
}

} // namespace
