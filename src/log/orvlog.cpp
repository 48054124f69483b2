#include "orvcomtypes/orvlog.h"

#include "core/textformat.h"
#include "log/logline.h"
#include "log/loglist.h"
#include "log/loglocation.h"
#include "log/logloss.h"
#include "orvcomtypes/formatcheck.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>

namespace
{

constexpr DWORD kFlushLevelMs = 5000;

} // namespace

COrvLog::COrvLog(const COrvLog* parent, int options, const WCHAR* prefix)
{
    InitLog(parent, options, prefix);
}

COrvLog::COrvLog(const COrvLog& other)
{
    *this = other;
}

COrvLog& COrvLog::operator=(const COrvLog& other)
{
    m_WorkerDBIds = other.m_WorkerDBIds; // first, as it may throw
    SetLogOpt(other.GetLogOpt());
    std::copy(std::begin(other.m_sPrefix), std::end(other.m_sPrefix), m_sPrefix);
    SetFlushLevel(other.GetFlushLevel());
    m_pHandler.store(other.Handler(), std::memory_order_release);
    return *this;
}

COrvLog::~COrvLog()
{
    ReleaseLog();
}

void COrvLog::ReleaseLog()
{
    Adopt(nullptr);
    SetLogOpt(0);
}

/// Takes a handler with the reference that the caller holds, and releases the one before.
void COrvLog::Adopt(ILogFileHandler* pHandler)
{
    pHandler = m_pHandler.exchange(pHandler, std::memory_order_acq_rel);
    if (pHandler != nullptr)
        pHandler->Release();
}

bool COrvLog::InitLog(const COrvLog* parent, int options, const WCHAR* prefix)
{
    if (parent == nullptr)
    {
        ReleaseLog();
        SetPrefix(nullptr);
        return true;
    }
    const unsigned nOptions =
        options == -1 ? parent->GetLogOpt() : static_cast<unsigned>(options) & ~lqlNoSQLText;
    SetLogOpt(0);
    try
    {
        m_WorkerDBIds = parent->m_WorkerDBIds;
    }
    catch (...) // no memory
    {
        return false;
    }
    ILogFileHandler* pHandler = parent->Handler();
    if (pHandler != nullptr)
        pHandler->AddRef();
    Adopt(pHandler);
    if (prefix != nullptr)
        SetPrefix(prefix);
    else
        std::copy(std::begin(parent->m_sPrefix), std::end(parent->m_sPrefix), m_sPrefix);
    SetFlushLevel(parent->GetFlushLevel());
    SetLogOpt(nOptions);
    return true;
}

bool COrvLog::InitFileLog(const WCHAR* fileNameFormat, int options, const WCHAR* prefix)
{
    SetLogOpt(0);
    ILogFileHandler* pHandler = CLogFileHandlerList::Instance().AddFileHandler(fileNameFormat);
    if (pHandler == nullptr)
        return false;
    Adopt(pHandler);
    SetPrefix(prefix);
    SetLogOpt(static_cast<unsigned>(options) & ~lqlNoSQLText);
    return true;
}

void COrvLog::SetPrefix(const WCHAR* prefix)
{
    OCT::FormatTo(m_sPrefix, "%S", prefix != nullptr ? prefix : ORVTEXT(""));
}

COrvStr COrvLog::GetPrefix() const
{
    return COrvStr(m_sPrefix);
}

COrvStr COrvLog::GetLogFileName() const
{
    COrvStr sName;
    if (ILogFileHandler* pHandler = Handler())
        pHandler->GetFileName(sName);
    return sName;
}

bool COrvLog::NeedSQLLogToWorkerDB(unsigned id) const
{
    return m_WorkerDBIds.IsEmpty() || m_WorkerDBIds.IsExists(id);
}

void COrvLog::LogSimpleStr(unsigned level, const char* text) const
{
    if (text != nullptr && *text != 0)
        LogOpt(level, "%s", text);
}

void COrvLog::LogSimpleStr(unsigned level, const WCHAR* text) const
{
    if (text != nullptr && *text != 0)
        LogOpt(level, "%S", text);
}

void COrvLog::LogOpt(unsigned level, OCT::CRunTimeFormat format, ...) const
{
    va_list args;
    va_start(args, format);
    LogInner(level, nullptr, format.Text(), args);
    va_end(args);
}

void COrvLog::LogOpt(unsigned level, LONG hr, OCT::CRunTimeFormat format, ...) const
{
    va_list args;
    va_start(args, format);
    LogInner(level, &hr, format.Text(), args);
    va_end(args);
}

void COrvLog::LogInner(unsigned level, const LONG* phr, const char* format, va_list args) const
{
    const unsigned nOptions = GetLogOpt();
    if ((nOptions & level) == 0 || format == nullptr)
        return;
    const bool bDebugger = (nOptions & lqlToDebugger) != 0;
    const bool bFile = nOptions != lqlToDebugger && Handler() != nullptr;
    if (!bFile && !bDebugger)
        return;
    const CLogLine line({nOptions, level, m_sPrefix, phr, CodePage()}, format, args);
    if (bDebugger)
        OutputDebugStringA(line.Text());
    if (bFile)
        Queue(line.Text(), line.Length(), level);
}

/// Handlers are never freed, so one that is released meanwhile just drops the text.
void COrvLog::Queue(const char* text, unsigned length, unsigned level) const
{
    CLogFileInnerHandler* pHandler = FileHandler();
    if (pHandler == nullptr)
        return;
    pHandler->Write(text, length, nullptr);
    // The lowest level counts: errors come first. No level, no flush.
    const unsigned nLowest = level & (0 - level);
    if (nLowest - 1 < GetFlushLevel())
        pHandler->WaitUntilDone(kFlushLevelMs, true);
}

/// All handlers are the library's own.
CLogFileInnerHandler* COrvLog::FileHandler() const
{
    return static_cast<CLogFileInnerHandler*>(Handler());
}

/// What the file is written in; CP_ACP when narrow text goes there as it is.
UINT COrvLog::CodePage() const
{
    CLogFileInnerHandler* pHandler = FileHandler();
    const bool bUTF8 = pHandler != nullptr && pHandler->Options().m_bUTF8.load(std::memory_order_relaxed);
    return bUTF8 && GetACP() != CP_UTF8 ? CP_UTF8 : CP_ACP;
}

bool COrvLog::Flush(DWORD milliseconds) const
{
    CLogFileInnerHandler* pHandler = FileHandler();
    return pHandler == nullptr || pHandler->Flush(milliseconds);
}

bool COrvLog::SetFileOption(LQLogFileOption option, std::uint64_t value) const
{
    CLogFileInnerHandler* pHandler = FileHandler();
    std::atomic<std::uint64_t>* pValue = pHandler != nullptr ? pHandler->Options().Of(option) : nullptr;
    if (pValue != nullptr)
        *pValue = value;
    return pValue != nullptr;
}

std::uint64_t COrvLog::GetFileOption(LQLogFileOption option) const
{
    CLogFileInnerHandler* pHandler = FileHandler();
    const std::atomic<std::uint64_t>* pValue = pHandler != nullptr ? pHandler->Options().Of(option) : nullptr;
    return pValue != nullptr ? pValue->load() : 0;
}

std::uint64_t COrvLog::GetLostLines(std::uint64_t* bytes) const
{
    const CLogFileInnerHandler* pHandler = FileHandler();
    const CLogLoss lost = pHandler != nullptr ? pHandler->Lost() : CLogLoss();
    if (bytes != nullptr)
        *bytes = lost.m_nBytes;
    return lost.m_nLines;
}

void COrvLog::LogRaw(const char* text) const
{
    if (text != nullptr)
        Queue(text, 0, 0);
}

void COrvLog::LogRaw(unsigned level, const char* text) const
{
    if (text != nullptr)
        Queue(text, 0, level);
}

void COrvLog::LogRaw(const WCHAR* text) const
{
    CLogFileInnerHandler* pHandler = FileHandler();
    if (pHandler == nullptr || text == nullptr)
        return;
    // At most four bytes for a code unit in any code page.
    const std::size_t nRoom = 4 * std::char_traits<WCHAR>::length(text) + 1;
    const std::unique_ptr<char[]> pText(new (std::nothrow) char[nRoom]);
    if (pText == nullptr)
        return pHandler->CountAsLost(nRoom / 4);
    const int nBytes =
        WideCharToMultiByte(CodePage(), 0, text, -1, pText.get(), static_cast<int>(nRoom), nullptr, nullptr);
    if (nBytes == 0) // a code page whose tables found no memory
        return pHandler->CountAsLost(nRoom / 4);
    if (nBytes > 1)
        Queue(pText.get(), static_cast<unsigned>(nBytes - 1), 0);
}

const COrvLog& COrvLog::SetFL(const char* file, int line) const
{
    CThreadLogFileLineHandler::Set(file, line);
    return *this;
}

void COrvLog::GetFL(const char*& file, int& line) const
{
    CThreadLogFileLineHandler::Get(file, line);
}

bool COrvLog::HasFL() const
{
    const char* sFile;
    int iLine;
    CThreadLogFileLineHandler::Get(sFile, iLine);
    return sFile == nullptr || *sFile == 0 || iLine == 0;
}
