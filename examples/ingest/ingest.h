// The service proper: one reader, some workers, a database and a statement log.
#pragma once

#include "options.h"

#include <cstdint>
#include <string>

/// What a run came to.
struct CSummary
{
    std::uint64_t m_nLines = 0;       ///< non-empty lines read
    std::uint64_t m_nMalformed = 0;   ///< lines that could not be understood
    std::uint64_t m_nStored = 0;      ///< events that are new in the database (dry run: printed)
    std::uint64_t m_nKnown = 0;       ///< events that had been stored before
    std::uint64_t m_nFailed = 0;      ///< statements that the database refused
    std::uint64_t m_nUndone = 0;      ///< events that were read and not executed
    std::uint64_t m_nLogBytes = 0;    ///< bytes that were added to the log
    std::uint64_t m_nLostRecords = 0; ///< records that did not arrive in the log
    bool m_bGivenUp = false;          ///< the database refused everything, or was gone
    bool m_bCutShort = false;         ///< the input could not be read to its end
    std::string m_sLogFile;           ///< empty on a dry run
    double m_dSeconds = 0;
};

/// Runs the whole service. False with a message when nothing could be done; single bad lines and statements
/// are counted in \p summary and described on the error stream.
bool RunIngest(const COptions& options, CSummary& summary, std::string& sError);
