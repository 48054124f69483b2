#include "orvcomtypes/orvlog.h"

#include "core/textformat.h"
#include "log/loghandler.h"
#include "log/logline.h"
#include "log/loglocation.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string>

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
    SetLogOpt(other.GetLogOpt());
    std::copy(std::begin(other.m_sPrefix), std::end(other.m_sPrefix), m_sPrefix);
    m_WorkerDBIds = other.m_WorkerDBIds;
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
    ILogFileHandler* pHandler = parent->Handler();
    if (pHandler != nullptr)
        pHandler->AddRef();
    Adopt(pHandler);
    SetLogOpt(0);
    if (prefix != nullptr)
        SetPrefix(prefix);
    else
        std::copy(std::begin(parent->m_sPrefix), std::end(parent->m_sPrefix), m_sPrefix);
    m_WorkerDBIds = parent->m_WorkerDBIds;
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

void COrvLog::LogOpt(unsigned level, const char* format, ...) const
{
    va_list args;
    va_start(args, format);
    LogInner(level, nullptr, format, args);
    va_end(args);
}

void COrvLog::LogOpt(unsigned level, LONG hr, const char* format, ...) const
{
    va_list args;
    va_start(args, format);
    LogInner(level, &hr, format, args);
    va_end(args);
}

void COrvLog::LogInner(unsigned level, const LONG* phr, const char* format, va_list args) const
{
    LogInnerAs(GetLogOpt(), level, phr, format, args);
}

void COrvLog::LogAs(unsigned options, unsigned level, const LONG* phr, const char* format, ...) const
{
    va_list args;
    va_start(args, format);
    LogInnerAs(options, level, phr, format, args);
    va_end(args);
}

void COrvLog::LogInnerAs(unsigned options, unsigned level, const LONG* phr, const char* format,
                         va_list args) const
{
    const bool bFile = options != lqlToDebugger && Handler() != nullptr;
    if ((options & level) == 0 || (!bFile && (options & lqlToDebugger) == 0) || format == nullptr)
        return;
    const CLogLine line({options, level, m_sPrefix, phr}, format, args);
    if (options & lqlToDebugger)
        OutputDebugStringA(line.Text());
    if (bFile)
        Write(line.Text(), line.Length());
}

/// Handlers are never freed, so one that is released meanwhile just drops the text.
void COrvLog::Write(const char* text, unsigned length) const
{
    if (ILogFileHandler* pHandler = Handler())
        pHandler->Write(text, length, nullptr);
}

void COrvLog::LogRaw(const char* text) const
{
    if (text != nullptr)
        Write(text, 0);
}

void COrvLog::LogRaw(unsigned, const char* text) const
{
    LogRaw(text);
}

void COrvLog::LogRaw(const WCHAR* text) const
{
    if (Handler() == nullptr || text == nullptr)
        return;
    // At most four bytes for a code unit in any code page.
    const std::size_t nRoom = 4 * std::char_traits<WCHAR>::length(text) + 1;
    const std::unique_ptr<char[]> pText(new (std::nothrow) char[nRoom]);
    if (pText == nullptr)
        return;
    OCT::FormatTextInto(pText.get(), nRoom, "%S", text);
    LogRaw(pText.get());
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
