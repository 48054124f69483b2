#include "threadnaming.h"

#include <windows.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace
{

constexpr std::size_t kMaxKernelName = 15; // bytes
constexpr DWORD kFirstNoId = 0x7FFFFFFF;

bool IsContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

/// The kernel's names are short: a longer one keeps its start and its end, no character is torn.
std::string KernelName(std::string_view sName)
{
    if (sName.size() <= kMaxKernelName)
        return std::string(sName);
    std::size_t nHead = kMaxKernelName / 2;
    while (nHead > 0 && IsContinuation(sName[nHead]))
        --nHead;
    std::size_t nTail = sName.size() - kMaxKernelName / 2;
    while (nTail < sName.size() && IsContinuation(sName[nTail]))
        ++nTail;
    return std::string(sName.substr(0, nHead)).append("~").append(sName.substr(nTail));
}

} // namespace

void PortNameThread(DWORD dwThreadId, const char* sName) noexcept
{
    const std::string sKernelName = KernelName(sName);
    if (dwThreadId >= kFirstNoId || dwThreadId == GetCurrentThreadId())
    {
        pthread_setname_np(pthread_self(), sKernelName.c_str());
        return;
    }
    char sFile[48];
    std::snprintf(sFile, sizeof sFile, "/proc/self/task/%u/comm", static_cast<unsigned>(dwThreadId));
    const int nFile = open(sFile, O_WRONLY | O_CLOEXEC);
    if (nFile < 0)
        return;
    [[maybe_unused]] const ssize_t nWritten = write(nFile, sKernelName.data(), sKernelName.size());
    close(nFile);
}
