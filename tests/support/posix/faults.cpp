// The program's own functions stand before those of the libraries, so all their calls come here.
#include "support/faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

extern "C"
{
    void* __libc_malloc(std::size_t nBytes);
    void* __libc_calloc(std::size_t nCount, std::size_t nBytes);
    void* __libc_realloc(void* p, std::size_t nBytes);
    void* __libc_memalign(std::size_t nAlignment, std::size_t nBytes);
    void __libc_free(void* p);
}

namespace
{

void* Counted(void* p)
{
    if (p != nullptr)
        CountBlock(1);
    else
        errno = ENOMEM;
    return p;
}

/// Where the code of ICU's libraries and of the C library, which ICU calls, lies.
struct CodeRange
{
    std::uintptr_t m_nFirst = 0, m_nEnd = 0;
    bool Contains(void* p) const
    {
        return reinterpret_cast<std::uintptr_t>(p) - m_nFirst < m_nEnd - m_nFirst;
    }
};
constinit CodeRange g_spared[4] = {};
constinit std::size_t g_nSpared = 0;

int FindSpared(dl_phdr_info* pModule, std::size_t, void*)
{
    if (std::strstr(pModule->dlpi_name, "/libicu") == nullptr &&
        std::strstr(pModule->dlpi_name, "/libc.so") == nullptr)
        return 0;
    const auto* const pEnd = pModule->dlpi_phdr + pModule->dlpi_phnum;
    const auto* const pCode = std::find_if(pModule->dlpi_phdr, pEnd, [](const auto& segment) {
        return segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0;
    });
    if (pCode != pEnd && g_nSpared < std::size(g_spared))
        g_spared[g_nSpared++] = CodeRange{pModule->dlpi_addr + pCode->p_vaddr,
                                          pModule->dlpi_addr + pCode->p_vaddr + pCode->p_memsz};
    return 0;
}

[[gnu::constructor]] void FindSpared()
{
    dl_iterate_phdr(FindSpared, nullptr);
}

/// What ICU does not get it does not survive. The library asks for what ICU needs before it calls it, so that
/// ICU finds nothing only where memory is missing for good.
bool NoMemory(void* pCaller)
{
    const bool bSpared = std::any_of(g_spared, g_spared + g_nSpared,
                                     [&](const CodeRange& range) { return range.Contains(pCaller); });
    if (bSpared ? !FailsForGood(FaultyCall::Allocation) : !FailsNow(FaultyCall::Allocation))
        return false;
    errno = ENOMEM;
    return true;
}

/// Where the disk answers nobody waits for its answer: that would be most of a run.
int Sync()
{
    if (!FailsNow(FaultyCall::Sync))
        return 0;
    errno = EIO;
    return -1;
}

} // namespace

#pragma GCC visibility push(default) // seen by the libraries

extern "C" void* malloc(std::size_t nBytes) noexcept
{
    if (NoMemory(__builtin_return_address(0)))
        return nullptr;
    return Counted(__libc_malloc(nBytes));
}

extern "C" void* calloc(std::size_t nCount, std::size_t nBytes) noexcept
{
    if (NoMemory(__builtin_return_address(0)))
        return nullptr;
    return Counted(__libc_calloc(nCount, nBytes));
}

extern "C" void* realloc(void* p, std::size_t nBytes) noexcept
{
    if (NoMemory(__builtin_return_address(0)))
        return nullptr;
    void* const pNew = __libc_realloc(p, nBytes);
    if (p == nullptr)
        return Counted(pNew);
    if (pNew == nullptr && nBytes == 0)
        CountBlock(-1);
    return pNew;
}

extern "C" int posix_memalign(void** pp, std::size_t nAlignment, std::size_t nBytes) noexcept
{
    if (NoMemory(__builtin_return_address(0)))
        return ENOMEM;
    *pp = Counted(__libc_memalign(nAlignment, nBytes));
    return *pp != nullptr ? 0 : ENOMEM;
}

extern "C" void* aligned_alloc(std::size_t nAlignment, std::size_t nBytes) noexcept
{
    if (NoMemory(__builtin_return_address(0)))
        return nullptr;
    return Counted(__libc_memalign(nAlignment, nBytes));
}

extern "C" void free(void* p) noexcept
{
    if (p != nullptr)
        CountBlock(-1);
    __libc_free(p);
}

extern "C" int nanosleep(const timespec* pTime, timespec* pRest)
{
    return SleepsNow() ? static_cast<int>(syscall(SYS_nanosleep, pTime, pRest)) : 0;
}

extern "C" int fdatasync(int)
{
    return Sync();
}

extern "C" int fsync(int)
{
    return Sync();
}

extern "C" int pthread_create(pthread_t* pThread, const pthread_attr_t* pAttributes, void* (*pfn)(void*),
                              void* pArgument) noexcept
{
    static const auto s_pfnReal =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return FailsNow(FaultyCall::ThreadStart) ? EAGAIN : s_pfnReal(pThread, pAttributes, pfn, pArgument);
}

#pragma GCC visibility pop
