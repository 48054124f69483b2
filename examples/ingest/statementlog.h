// The log of the statements, and whether its records have arrived in the file.
#pragma once

#include "database.h"

#include <orvcomtypes/orvlog.h>
#include <orvcomtypes/orvsqlstr.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>

class CStatementLog
{
public:
    /// Refuses a folder in which no file can be written: a log itself never reports failure to its caller.
    bool Open(const std::filesystem::path& folder, std::string& sError);
    /// Shares the file with a thread's own log.
    void Share(COrvLog& log) const { log.InitLog(&m_Log, -1, nullptr); }
    bool IsOpen() const { return !m_File.empty(); }

    /// Any thread, with a log of its own.
    void Record(COrvLog& log, const COrvSQLStr& sql, const CSqlOutcome& outcome, int iElapsedMs);
    void RecordMalformed(COrvLog& log, const COrvStr& sName, std::size_t nLine, const std::string& sReason,
                         const std::string& sLine);

    /// Waits for the file as long as it grows, and counts the records in it.
    void Close();
    std::uint64_t Lost() const { return m_nExpected - m_nFound; }
    std::uint64_t Bytes() const { return m_nCounted; }
    const std::filesystem::path& File() const { return m_File; }

private:
    void CountArrived();
    std::filesystem::path FileNow() const;

    COrvLog m_Log;
    COrvStr m_sFormat;
    std::filesystem::path m_File;
    std::uint64_t m_nOffset = 0; ///< of the file, up to which records were counted
    std::string m_sHead;         ///< what every record of this process begins with, but for its level
    std::atomic<std::uint64_t> m_nExpected = 0;
    std::uint64_t m_nFound = 0;
    std::uint64_t m_nCounted = 0; ///< bytes
};
