// The program's own functions stand before those of the libraries, so all their calls come here.
#include "support/faults.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

// The heap beneath: the sanitizers' or the system's.
#ifdef ORV_TEST_SANITIZED
#define REAL(function) __interceptor_##function
#else
#define REAL(function) __libc_##function
#endif

extern "C"
{
    void* REAL(malloc)(std::size_t nBytes);
    void* REAL(calloc)(std::size_t nCount, std::size_t nBytes);
    void* REAL(realloc)(void* p, std::size_t nBytes);
    void* REAL(memalign)(std::size_t nAlignment, std::size_t nBytes);
    void REAL(free)(void* p);
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

/// The last fault that this thread has met.
constinit thread_local unsigned t_nFault = 0;

/// What ICU does not get it does not survive. The library asks for what ICU needs before it calls it, so that
/// ICU finds nothing only where memory is missing for good, and its thread could know that: what another
/// thread meets in between the library cannot.
bool NoMemory(void* pCaller)
{
    const bool bSpared = std::any_of(g_spared, g_spared + g_nSpared,
                                     [&](const CodeRange& range) { return range.Contains(pCaller); });
    if (!bSpared && !FailsNow(FaultyCall::Allocation))
        return false;
    const unsigned nFault = FaultThatLasts(FaultyCall::Allocation);
    if (bSpared && (nFault == 0 || nFault != t_nFault))
        return false;
    t_nFault = nFault;
    errno = ENOMEM;
    return true;
}

/// Where the disk answers nobody waits for its answer: that would be most of a run.
int Sync()
{
    HangNow();
    if (!FailsNow(FaultyCall::Sync))
        return 0;
    errno = EIO;
    return -1;
}

template <class Function>
Function* Next(const char* sName)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, sName));
}

} // namespace

#pragma GCC visibility push(default) // seen by the libraries

extern "C" void* malloc(std::size_t nBytes) noexcept
{
    if (NoMemory(__builtin_return_address(0)) || (nBytes >= 50'000 && FailsNow(FaultyCall::LargeAllocation)))
        return nullptr;
    return Counted(REAL(malloc)(nBytes));
}

extern "C" void* calloc(std::size_t nCount, std::size_t nBytes) noexcept
{
    return NoMemory(__builtin_return_address(0)) ? nullptr : Counted(REAL(calloc)(nCount, nBytes));
}

extern "C" void* realloc(void* p, std::size_t nBytes) noexcept
{
    if (NoMemory(__builtin_return_address(0)))
        return nullptr;
    void* const pNew = REAL(realloc)(p, nBytes);
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
    *pp = Counted(REAL(memalign)(nAlignment, nBytes));
    return *pp != nullptr ? 0 : ENOMEM;
}

extern "C" void* aligned_alloc(std::size_t nAlignment, std::size_t nBytes) noexcept
{
    return NoMemory(__builtin_return_address(0)) ? nullptr : Counted(REAL(memalign)(nAlignment, nBytes));
}

extern "C" void free(void* p) noexcept
{
    if (p != nullptr)
        CountBlock(-1);
    REAL(free)(p);
}

extern "C" int nanosleep(const timespec* pTime, timespec* pRest)
{
    return FailsNow(FaultyCall::Sleep) ? 0 : static_cast<int>(syscall(SYS_nanosleep, pTime, pRest));
}

extern "C" int fdatasync(int)
{
    return Sync();
}

extern "C" int fsync(int)
{
    return Sync();
}

extern "C" ssize_t pwritev2(int nFile, const iovec* pBlocks, int nBlocks, off_t nOffset, int nFlags)
{
    static const auto s_pfnNext = Next<decltype(pwritev2)>("pwritev2");
    if (FailsNow(FaultyCall::SlowWrite))
        usleep(200'000);
    const ssize_t nWritten = s_pfnNext(nFile, pBlocks, nBlocks, nOffset, nFlags);
    CutOffNow();
    return nWritten;
}

extern "C" int pthread_create(pthread_t* pThread, const pthread_attr_t* pAttributes, void* (*pfn)(void*),
                              void* pArgument) noexcept
{
    static const auto s_pfnNext = Next<decltype(pthread_create)>("pthread_create");
    return FailsNow(FaultyCall::ThreadStart) ? EAGAIN : s_pfnNext(pThread, pAttributes, pfn, pArgument);
}

extern "C" int open(const char* sFile, int nFlags, ...)
{
    static const auto s_pfnNext = Next<int(const char*, int, ...)>("open");
    va_list args;
    va_start(args, nFlags);
    const unsigned nMode = (nFlags & O_CREAT) != 0 ? va_arg(args, unsigned) : 0;
    va_end(args);
    if (!FailsNow(FaultyCall::Open))
        return s_pfnNext(sFile, nFlags, nMode);
    errno = EMFILE;
    return -1;
}

extern "C" int clock_gettime(clockid_t clock, timespec* pTime) noexcept
{
    const long long nFrozen = FrozenClock();
    if (nFrozen == 0 || (clock != CLOCK_MONOTONIC && clock != CLOCK_BOOTTIME))
        return static_cast<int>(syscall(SYS_clock_gettime, clock, pTime));
    pTime->tv_sec = static_cast<time_t>(nFrozen / 1'000'000'000);
    pTime->tv_nsec = static_cast<long>(nFrozen % 1'000'000'000);
    return 0;
}

#ifdef ORV_TEST_SANITIZED
// What the loader keeps for itself is not known as its own where it comes through here.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:ld-linux";
}

extern "C" const char* __lsan_default_options()
{
    return "print_suppressions=0";
}

// The sanitizers' own do not ask malloc.

void* operator new(std::size_t nBytes, const std::nothrow_t&) noexcept
{
    return malloc(nBytes != 0 ? nBytes : 1);
}

void* operator new(std::size_t nBytes)
{
    void* const p = operator new(nBytes, std::nothrow);
    if (p == nullptr)
        throw std::bad_alloc();
    return p;
}

void* operator new[](std::size_t nBytes, const std::nothrow_t&) noexcept
{
    return operator new(nBytes, std::nothrow);
}

void* operator new[](std::size_t nBytes)
{
    return operator new(nBytes);
}

void operator delete(void* p) noexcept
{
    free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    free(p);
}

void operator delete(void* p, const std::nothrow_t&) noexcept
{
    free(p);
}

void operator delete[](void* p) noexcept
{
    free(p);
}

void operator delete[](void* p, std::size_t) noexcept
{
    free(p);
}

void operator delete[](void* p, const std::nothrow_t&) noexcept
{
    free(p);
}
#endif

#pragma GCC visibility pop

// ---- What the kernel itself does ----

CFileLimit::CFileLimit(std::size_t nBytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{nBytes, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}

CFileLimit::~CFileLimit()
{
    const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &none);
}

CSmallDisk::CSmallDisk(const std::filesystem::path& folder, unsigned nKB)
    : m_folder(folder),
      m_bMounted(unshare(CLONE_NEWNS | (geteuid() == 0 ? 0 : CLONE_NEWUSER)) == 0 &&
                 mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                 mount("tmpfs", folder.c_str(), "tmpfs", 0, ("size=" + std::to_string(nKB) + "k").c_str()) ==
                     0)
{
}

CSmallDisk::~CSmallDisk()
{
    if (m_bMounted)
        umount2(m_folder.c_str(), MNT_DETACH);
}

CHeldLock::CHeldLock(const std::filesystem::path& file) : m_nFile(open(file.c_str(), O_RDWR | O_CLOEXEC))
{
    struct flock whole = {F_WRLCK, SEEK_SET, 0, 1, 0};
    if (fcntl(m_nFile, F_OFD_SETLK, &whole) != 0)
        std::abort();
}

CHeldLock::~CHeldLock()
{
    close(m_nFile);
}

// To the superuser nothing is denied: the process is somebody else meanwhile.
CDeniedFile::CDeniedFile(const std::filesystem::path& file) : m_file(file), m_nFormer(geteuid())
{
    constexpr uid_t kNobody = 65534;
    chmod(m_file.c_str(), 0444);
    if (m_nFormer == 0 && seteuid(kNobody) != 0)
        m_nFormer = -1;
}

CDeniedFile::~CDeniedFile()
{
    if (m_nFormer == 0) [[maybe_unused]]
        const int nResult = seteuid(0);
    chmod(m_file.c_str(), 0644);
}
