// The service proper: one reader, some workers, a database and a statement log.
#pragma once

#include "options.h"

#include <cstdint>
#include <string>

/// What a run came to.
struct CSummary
{
    std::uint64_t m_nLines = 0;     ///< non-empty lines read
    std::uint64_t m_nMalformed = 0; ///< lines that could not be understood
    std::uint64_t m_nExecuted = 0;  ///< statements that succeeded (dry run: printed)
    std::uint64_t m_nFailed = 0;    ///< statements that the database refused
    std::uint64_t m_nLogBytes = 0;  ///< bytes that this run added to the log
    std::string m_sLogFile;         ///< empty on a dry run
    double m_dSeconds = 0;
};

/// Runs the whole service. False with a message when nothing could be done; single bad lines and statements
/// are counted in \p summary and described on the error stream.
bool RunIngest(const COptions& options, CSummary& summary, std::string& sError);
