#include "support/debug_capture.h"

#include <windows.h>

#include <filesystem>
#include <mutex>
#include <utility>

namespace
{

constexpr DWORD kDebugOutputA = 0x40010006;
constexpr DWORD kDebugOutputW = 0x4001000A;

std::mutex g_mutex;
std::string g_sText;
void* g_hHandler = nullptr;

std::string Utf8(const wchar_t* sText)
{
    const auto sUtf8 = std::filesystem::path(sText).u8string();
    return std::string(sUtf8.begin(), sUtf8.end());
}

/// Debugger output travels as an exception that only a debugger would see.
LONG CALLBACK OnException(EXCEPTION_POINTERS* pPointers)
{
    const EXCEPTION_RECORD& record = *pPointers->ExceptionRecord;
    if (record.ExceptionCode != kDebugOutputA && record.ExceptionCode != kDebugOutputW)
        return EXCEPTION_CONTINUE_SEARCH;
    const auto* pText = reinterpret_cast<const void*>(record.ExceptionInformation[1]);
    const std::lock_guard guard(g_mutex);
    if (record.ExceptionCode == kDebugOutputA)
        g_sText += static_cast<const char*>(pText);
    else
        g_sText += Utf8(static_cast<const wchar_t*>(pText));
    return EXCEPTION_CONTINUE_EXECUTION;
}

} // namespace

CDebugCapture::CDebugCapture()
{
    Take();
    g_hHandler = AddVectoredExceptionHandler(1, OnException);
}

CDebugCapture::~CDebugCapture()
{
    RemoveVectoredExceptionHandler(g_hHandler);
}

std::string CDebugCapture::Take()
{
    const std::lock_guard guard(g_mutex);
    return std::exchange(g_sText, {});
}
