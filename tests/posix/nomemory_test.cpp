// Calls that cannot throw, where memory is missing.
#include "orvcomtypes/octassert.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <shlobj.h>

#include <cstdlib>
#include <new>

namespace
{

thread_local bool t_bExhausted = false;

/// While it lives the calling thread gets no memory from operator new.
struct CExhausted
{
    CExhausted() { t_bExhausted = true; }
    CExhausted(const CExhausted&) = delete;
    CExhausted& operator=(const CExhausted&) = delete;
    ~CExhausted() { t_bExhausted = false; }
};

} // namespace

void* operator new(std::size_t nSize, const std::nothrow_t&) noexcept
{
    return t_bExhausted ? nullptr : std::malloc(nSize != 0 ? nSize : 1);
}

void* operator new(std::size_t nSize)
{
    void* const p = operator new(nSize, std::nothrow);
    if (p == nullptr)
        throw std::bad_alloc();
    return p;
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

TEST(NoMemory, AReportReturns)
{
    SetLastError(77);
    {
        const CExhausted exhausted;
        OrvReportAssertion("a.cpp", 1, "Function", "condition", 0);
    }
    EXPECT_EQ(77u, GetLastError());
}

TEST(NoMemory, CallsWithPathsFail)
{
    const WCHAR* const sPath = ORVTEXT("/a/path/that/is/longer/than/a/string/has/room/for");
    WCHAR sBuffer[MAX_PATH];
    const CExhausted exhausted;
    const bool bFile =
        CreateFileW(sPath, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr) != INVALID_HANDLE_VALUE;
    const DWORD dwError = GetLastError();
    const bool bDirectory = CreateDirectoryW(sPath, nullptr);
    const DWORD dwLong = GetLongPathNameW(sPath, sBuffer, MAX_PATH);
    const DWORD dwModule = GetModuleFileNameW(nullptr, sBuffer, MAX_PATH);
    const HRESULT hr = SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, sBuffer);
    t_bExhausted = false;
    EXPECT_FALSE(bFile);
    EXPECT_EQ(DWORD{ERROR_NOT_ENOUGH_MEMORY}, dwError);
    EXPECT_FALSE(bDirectory);
    EXPECT_EQ(0u, dwLong);
    EXPECT_EQ(0u, dwModule);
    EXPECT_EQ(E_OUTOFMEMORY, hr);
}
