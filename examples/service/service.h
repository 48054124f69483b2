// The service: a spool folder whose jobs a pool of threads handles.
//
// A job is a file that somebody makes elsewhere, or under another name, and then renames to in/NAME.orders.
// It becomes out/NAME.sql, or moves to failed/NAME.orders when it is refused.
//
// Whenever the process ends, each job is in one of three states, from which the next start goes on: in `in`
// alone, it will be done; in `in` and, whole, in `out`, it is done and will be removed; in `out` or `failed`
// alone, it is over.
#pragma once

#include "host.h"
#include "jobqueue.h"
#include "orders.h"
#include "settings.h"

#include <orvcomtypes/lqmessage.h>
#include <orvcomtypes/orvlog.h>

#include <atomic>
#include <string>
#include <system_error>

class CService
{
public:
    CService(const std::string& sName, bool bTerminal) : m_sName(sName), m_bTerminal(bTerminal) {}
    CService(const CService&) = delete;
    CService& operator=(const CService&) = delete;

    /// Works until a request to stop; false when it could not begin.
    bool Run();

private:
    bool Configure();
    bool OpenFolder(const std::filesystem::path& folder);
    void Work();
    ERequest GiveOutJobs();
    std::size_t FindJobs();
    void ShowStatus();

    void WorkerThread(unsigned nWorker);
    bool Handle(const std::filesystem::path& name);
    bool TryToHandle(const std::filesystem::path& name);
    bool Refuse(const std::filesystem::path& name, const CRefusal& refusal);
    bool PutOff(const std::filesystem::path& name, const std::error_code& error);

    void Say(unsigned nLevel, const CLQMessage& message) const;

    const std::string m_sName;
    const bool m_bTerminal;
    CSettings m_Settings = {}; ///< changes only while no worker has a job
    CFolderLock m_Lock;
    CJobQueue m_Jobs;
    std::atomic<unsigned> m_nDone = 0;
    std::atomic<unsigned> m_nRefused = 0;
    unsigned m_nShown = 0; ///< jobs in the status that the manager has
};
