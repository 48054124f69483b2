#include "service.h"

#include <orvcomtypes/logcrash.h>
#include <orvcomtypes/lqexcept.h>
#include <orvcomtypes/orvtimer.h>
#include <orvcomtypes/resourcehandler.h>
#include <orvcomtypes/stdbridge.h>
#include <orvcomtypes/threadname.h>

#include <cstdio>
#include <exception>
#include <set>
#include <system_error>
#include <thread>
#include <vector>

namespace
{

namespace fs = std::filesystem;

COrvStr Text(const fs::path& path)
{
    return path.string<WCHAR>().c_str();
}

COrvStr Text(const std::error_code& error)
{
    return error.message().c_str();
}

/// A number as it is; as a parameter of its own it would be in the manner of the user's locale.
COrvStr Number(std::size_t n)
{
    return std::to_string(n).c_str();
}

} // namespace

bool CService::Run()
{
    CResourceHandler::SetOwner(nullptr, ORVTEXT("intake"), 1, 0);
    if (!Configure())
        return false;
    InstallLogCrashHandler(nullptr, 3000);
    std::vector<std::thread> workers;
    for (unsigned i = 1; i <= m_Settings.m_nWorkers; ++i)
        workers.emplace_back(&CService::WorkerThread, this, i);
    Work();
    m_Jobs.Close();
    for (std::thread& worker : workers)
    {
        TellStopping();
        worker.join(); // when it has finished the job that it has
    }
    Say(lqlInformation, CLQMessage(kStopped, 0, Number(m_nDone), Number(m_nRefused), Number(FindJobs())));
    RemoveLogCrashHandler();
    return true;
}

bool CService::Configure()
{
    OpenLog(m_sName);
    CSettings settings = CSettings::Read(m_sName);
    CResourceHandler::SetLanguage(settings.m_sLanguage);
    const bool bOpen = settings.m_Folder == m_Settings.m_Folder || OpenFolder(settings.m_Folder);
    if (!bOpen)
        settings.m_Folder = m_Settings.m_Folder;
    if (m_Settings.m_nWorkers > 0) // they are there
        settings.m_nWorkers = m_Settings.m_nWorkers;
    m_Settings = settings;
    return bOpen;
}

bool CService::OpenFolder(const fs::path& folder)
{
    std::error_code error;
    for (const char* sPart : {"in", "out", "failed"})
        if (!error)
            fs::create_directories(folder / sPart, error);
    if (!error && m_Lock.Lock(folder, error))
        return true;
    Say(lqlErrors, CLQMessage(kFolderUnusable, 0, Text(folder), Text(error)));
    return false;
}

void CService::Work()
{
    for (;;)
    {
        Say(lqlInformation, CLQMessage(kStarted, 0, Text(m_Settings.m_Folder), Number(m_Settings.m_nWorkers),
                                       CResourceHandler::GetLanguage()));
        ShowStatus();
        if (GiveOutJobs() == ERequest::Stop)
            return;
        TellReloading();
        m_Jobs.Hold();
        Configure(); // goes on in the former folder when the new one cannot be used
        m_Jobs.Resume();
    }
}

ERequest CService::GiveOutJobs()
{
    COrvTcTimer retry(static_cast<int>(m_Settings.m_nRetryMs), true);
    for (;;)
    {
        FindJobs();
        const ERequest request = WaitForRequest(m_Settings.m_nScanMs);
        if (request != ERequest::None)
            return request;
        if (m_nDone + m_nRefused != m_nShown)
            ShowStatus();
        if (retry.IsExpired(0))
        {
            m_Jobs.RetryPutOff();
            retry.ReStart();
        }
    }
}

/// Queues what is new, in the order of the names; the result counts all.
std::size_t CService::FindJobs()
{
    std::set<fs::path> names;
    std::error_code error;
    const fs::path folder = m_Settings.m_Folder / "in";
    for (fs::directory_iterator i(folder, error), end; !error && i != end; i.increment(error))
        if (i->path().extension() == ".orders")
            names.insert(i->path().filename());
    if (error)
        Say(lqlErrors, CLQMessage(kFolderUnusable, 0, Text(folder), Text(error)));
    for (const fs::path& name : names)
        m_Jobs.Add(name);
    return names.size();
}

void CService::ShowStatus()
{
    const unsigned nDone = m_nDone;
    const unsigned nRefused = m_nRefused;
    m_nShown = nDone + nRefused;
    TellReady(OCT::ToStdText(CLQMessage(kStatus, 0, Number(nDone), Number(nRefused)).Format(nullptr)));
}

void CService::WorkerThread(unsigned nWorker)
{
    SetThreadName(GetCurrentThreadId(), ("Worker " + std::to_string(nWorker)).c_str());
    ReserveLogCrashStack();
    fs::path name;
    while (m_Jobs.Take(name))
        m_Jobs.Finish(name, Handle(name));
}

/// Whatever goes wrong with one job must not end the service. False when the job is to be tried again.
bool CService::Handle(const fs::path& name)
{
    try
    {
        return TryToHandle(name);
    }
    catch (const CLQExcept& e)
    {
        GetProcessLogger()->LogErr(e.FormatToLog());
    }
    catch (const std::exception& e)
    {
        GetProcessLogger()->LogOpt(lqlErrors, "%s", e.what());
    }
    return false;
}

bool CService::TryToHandle(const fs::path& name)
{
    const COrvPrecisionTimer timer(0, true);
    const fs::path input = m_Settings.m_Folder / "in" / name;
    std::error_code error;
    std::string sText;
    if (!LoadFile(input, sText, error))
        return error == std::errc::no_such_file_or_directory || PutOff(name, error);
    COrvSQLStr sql;
    unsigned nOrders = 0;
    if (const auto refusal = BuildStatements(Text(name.stem()), sText, sql, nOrders))
        return Refuse(name, *refusal);

    const fs::path output = (m_Settings.m_Folder / "out" / name).replace_extension(".sql");
    const std::string sStatements = OCT::ToStdText(COrvStr(sql));
    std::string sBefore;
    const bool bBefore = LoadFile(output, sBefore, error);
    if (bBefore && sBefore != sStatements)
        return Refuse(name, {0, kNameUsedBefore});
    if (!bBefore && (error != std::errc::no_such_file_or_directory || !StoreFile(output, sStatements, error)))
        return PutOff(name, error);
    // Done. Whoever is killed here finds the job again, and in `out` what it gives.
    if (!fs::remove(input, error))
        return PutOff(name, error);
    ++m_nDone;
    SQLStrSaveToLog(sql, GetProcessLogger(), LQComErrorData(), 0, timer.GetMSDiff(), nOrders);
    if (bBefore)
        Say(lqlWarnings, CLQMessage(kDoneBefore, 0, Text(name)));
    else
        Say(lqlInformation, CLQMessage(kDone, 0, Text(name), Number(nOrders), Number(timer.GetMSDiff())));
    return true;
}

bool CService::Refuse(const fs::path& name, const CRefusal& refusal)
{
    fs::path target = m_Settings.m_Folder / "failed" / name;
    std::error_code error;
    while (fs::exists(target, error))
        target += "_";
    fs::rename(m_Settings.m_Folder / "in" / name, target, error);
    if (error)
        return PutOff(name, error);
    ++m_nRefused;
    CLQMessage message(kRefused, 0, Text(name), Number(refusal.m_nLine));
    message.AddResIdParam(refusal.m_Reason);
    Say(lqlErrors, message);
    return true;
}

/// The job stays in `in`; the time for it will come.
bool CService::PutOff(const fs::path& name, const std::error_code& error)
{
    Say(lqlErrors, CLQMessage(kPutOff, 0, Text(name), Text(error)));
    return false;
}

/// Into the log; to whoever sits at a terminal everything, to the journal what went wrong.
void CService::Say(unsigned nLevel, const CLQMessage& message) const
{
    const COrvStr sText = message.Format(nullptr);
    GetProcessLogger()->LogSimpleStr(nLevel, sText);
    if (!m_bTerminal && nLevel != lqlErrors)
        return;
    std::fputs((OCT::ToStdText(sText) + '\n').c_str(), stdout);
    std::fflush(stdout);
}
