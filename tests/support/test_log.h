// A log with a file of its own.
#pragma once

#include "orvcomtypes/orvlog.h"
#include "support/debug_capture.h"
#include "support/pattern.h"
#include "support/temp_dir.h"
#include "support/text.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <sstream>

/// The text of a log with "<t>" in the place of every time.
inline std::string WithoutTimes(const std::string& sText)
{
    return Replaced(sText, R"(\d{6}_\d{6})", "<t>");
}

/// What the debugger got, without reports of a full table of thread names: each log's thread enters its name,
/// and the table is never emptied.
inline std::string Heard(CDebugCapture& debugger)
{
    return Replaced(debugger.Take(), R"([^\n]* in function 'SetThreadName'![^\n]*\n)", "");
}

/// The number of lines "writer n" of each writer, which must count up from 0.
inline std::map<std::string, int> CountLines(const std::string& sText)
{
    std::map<std::string, int> next;
    std::istringstream text(sText);
    for (std::string sLine; std::getline(text, sLine);)
    {
        char sWriter[16] = "";
        int n = -1;
        EXPECT_EQ(2, std::sscanf(sLine.c_str(), "=I> %*s %15s %d", sWriter, &n)) << sLine;
        EXPECT_EQ(next[sWriter]++, n) << sLine;
    }
    return next;
}

class CLogTest : public testing::Test
{
protected:
    void Init(unsigned nOptions, const WCHAR* sPrefix = nullptr)
    {
        ASSERT_TRUE(m_log.InitFileLog(m_sFile.c_str(), static_cast<int>(nOptions), sPrefix));
    }

    /// Releases the log, which writes all its lines, and takes them out of the file.
    std::string Written()
    {
        m_log.ReleaseLog();
        const std::string sText = ReadBytes(m_file);
        std::error_code ignored;
        std::filesystem::remove(m_file, ignored);
        return WithoutTimes(sText);
    }

    const CTempDir m_dir;
    const std::filesystem::path m_file = m_dir / "test.txt";
    const Text m_sFile = m_file.string<WCHAR>();
    COrvLog m_log;
};
