// The example service as its users run it: a child process, its arguments and its exit code.
#pragma once

#include "support/child_process.h"
#include "support/temp_dir.h"
#include "support/test_environment.h"

#include <gtest/gtest.h>

enum EIngestExit
{
    IngestDone = 0,
    IngestPartly = 1,
    IngestUsage = 2,
    IngestNothingDone = 3,
    IngestGivenUp = 4
};

inline int Count(const std::string& sText, const std::string& sPart)
{
    int nCount = 0;
    for (auto n = sText.find(sPart); n != sText.npos; n = sText.find(sPart, n + sPart.size()))
        ++nCount;
    return nCount;
}

inline testing::AssertionResult Has(const std::string& sText, const std::string& sPart, int nTimes = 1)
{
    if (Count(sText, sPart) == nTimes)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "'" << sPart << "' is not " << nTimes << " times in\n" << sText;
}

/// A line of the summary.
inline std::string Line(std::string sName, std::size_t nValue)
{
    sName.resize(16, ' ');
    return sName + ' ' + std::to_string(nValue) + '\n';
}

/// A file's name as an argument and in what the service prints.
inline std::string Name(const std::filesystem::path& file)
{
    const std::u8string sName = file.u8string();
    return std::string(sName.begin(), sName.end());
}

inline ChildProgram IngestProgram()
{
    const auto test = TestProgram();
    return {test.parent_path() / ("ingest" + test.extension().string())};
}

class CIngestTest : public testing::Test
{
protected:
    /// Runs the service; the result is what it prints.
    std::string Run(int iExpected, const ChildArguments& args)
    {
        const ChildResult result = CChildProcess(IngestProgram(), args).Wait();
        EXPECT_EQ(iExpected, result.m_iExitCode) << result.m_sOutput;
        return result.m_sOutput;
    }

    /// The arguments for the embedded database and the input file, with others between.
    ChildArguments Arguments(const ChildArguments& more = {}) const
    {
        const ChildArguments args{"--database", m_Database.string(), "--log-dir", (m_Dir / "log").string()};
        return Joined(Joined(args, more), {Name(m_Input)});
    }

    /// Writes the lines to the input file and runs the service on it.
    std::string Ingest(int iExpected, const std::string& sLines, const ChildArguments& more = {})
    {
        WriteBytes(m_Input, sLines);
        return Run(iExpected, Arguments(more));
    }

    static std::string Events(int nFirst, int nCount)
    {
        std::string sLines;
        for (int i = nFirst; i < nFirst + nCount; ++i)
            sLines += "2024-05-06 07:08:10 install p" + std::to_string(i) + ":all <none> 1\n";
        return sLines;
    }

    std::string Log() const
    {
        std::string sAll;
        for (const auto& entry : std::filesystem::directory_iterator(m_Dir / "log"))
            sAll += ReadBytes(entry.path());
        return sAll;
    }

    const CTempDir m_Dir;
    std::filesystem::path m_Database = m_Dir / "a.db";
    std::filesystem::path m_Input = m_Dir / "packages.log";
};
