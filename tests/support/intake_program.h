// The example service as its users run it: settings, a folder for jobs, a log.
#pragma once

#include "support/child_process.h"
#include "support/registry_values.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

class CIntakeTest : public testing::Test
{
protected:
    CIntakeTest()
    {
        UseFolder("spool");
        Set(ORVTEXT("ScanMilliseconds"), NumberValue(DWORD(5)));
        Set(ORVTEXT("EventLog"), NumberValue(DWORD(7)));
        Set(ORVTEXT("EventDir"), TextValue((m_dir / "log.txt").string<WCHAR>()));
        Set(ORVTEXT("EventUTF8"), NumberValue(DWORD(1)));
        Set(ORVTEXT("Language"), TextValue(ORVTEXT("en")));
    }
    ~CIntakeTest() override { ForgetSettings(); }

    void Set(const WCHAR* sName, const RegistryValue& value)
    {
        ASSERT_EQ(ERROR_SUCCESS, StoreValue(HKEY_LOCAL_MACHINE, Key(), sName, value));
    }

    void UseFolder(const char* sName)
    {
        m_folder = m_dir / sName;
        std::filesystem::create_directories(m_folder / "in");
        Set(ORVTEXT("Folder"), TextValue(m_folder.string<WCHAR>()));
    }

    static std::filesystem::path Program()
    {
        const auto test = TestProgram();
        return test.parent_path() / ("intake" + test.extension().string());
    }

    void Put(const std::string& sJob, const std::string& sText)
    {
        const auto file = m_folder / "in" / sJob;
        WriteBytes(file, sText);
        std::filesystem::rename(file, file.string() + ".orders");
    }

    /// Jobs "0" and so on, of 20 orders each.
    void PutJobs(int nFirst, int nCount)
    {
        for (int i = nFirst; i < nFirst + nCount; ++i)
        {
            std::string sText;
            for (int n = 0; n < 20; ++n)
                sText += "2026-11-22 10:30:00Z\tO'Brien\tP\t" + std::to_string(i) + '\n';
            Put(std::to_string(i), sText);
        }
    }

    static std::string StatementsOf(const std::string& sJob)
    {
        std::string sAll = "BEGIN TRANSACTION;\n";
        for (int n = 1; n <= 20; ++n)
            sAll += "INSERT INTO Orders (Job, Line, Ordered, Customer, Article, Quantity) VALUES (N'" + sJob +
                    "', " + std::to_string(n) + ", CAST(46346.4375 AS DATETIME), N'O''Brien', N'P', " + sJob +
                    ");\n";
        return sAll + "COMMIT;\n";
    }

    std::set<std::string> Names(const char* sPart) const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder / sPart))
            names.insert(entry.path().filename().string());
        return names;
    }

    /// The jobs in `out`, each of which must be whole.
    std::set<std::string> DoneJobs() const
    {
        std::set<std::string> jobs;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder / "out"))
            if (entry.path().extension() == ".sql")
            {
                const std::string sJob = entry.path().stem().string();
                EXPECT_EQ(StatementsOf(sJob), ReadBytes(entry.path()));
                jobs.insert(sJob);
            }
        return jobs;
    }

    /// Each of so many jobs is either done or still in `in`; the result is the number of those that are done.
    int ExpectNoneLost(int nCount) const
    {
        const auto done = DoneJobs();
        const auto left = Names("in");
        for (int i = 0; i < nCount; ++i)
            EXPECT_TRUE(done.contains(std::to_string(i)) || left.contains(std::to_string(i) + ".orders"))
                << i;
        return static_cast<int>(done.size());
    }

    /// The texts of the log's lines, sorted.
    std::vector<std::string> Log() const
    {
        std::vector<std::string> texts;
        std::istringstream log(ReadBytes(m_dir / "log.txt"));
        for (std::string sLine; std::getline(log, sLine);)
            texts.push_back(sLine.substr(std::string_view("=I> 261122_103000 ").size()));
        std::sort(texts.begin(), texts.end());
        return texts;
    }

    static auto LinesWith(const std::vector<std::string>& lines, const std::string& sPart)
    {
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& s) { return s.find(sPart) != s.npos; });
    }

    /// Name and settings are this process's own, as a Windows service belongs to the machine.
    const std::string m_sName = "IntakeTest" + std::to_string(GetCurrentProcessId());
    const CTempDir m_dir;
    std::filesystem::path m_folder;

private:
    Text Key() const { return ORVTEXT("Software\\Orvanex\\Lumatrek\\") + Wide(m_sName); }
    void ForgetSettings() const;
};
