// The example service with its embedded database, read back by the database's own shell.
#include "support/ingest_program.h"

#include <signal.h>
#include <sys/stat.h>

namespace
{

class IngestDatabaseTest : public CIngestTest
{
protected:
    std::string Sql(const std::string& sStatements)
    {
        return CChildProcess(ChildProgram{"/usr/bin/sqlite3"}, {m_Database.string(), sStatements})
            .Wait()
            .m_sOutput;
    }

    std::string Shell(const std::string& sScript, const ChildArguments& more = {})
    {
        return CChildProcess(ChildProgram{"/bin/sh"}, Joined({"-c", sScript, "sh"}, more)).Wait().m_sOutput;
    }

    static void Send(const CChildProcess& child, int iSignal)
    {
        EXPECT_EQ(0, kill(static_cast<pid_t>(child.Process()), iSignal));
    }

    /// Each of the events 0 to \p nCount - 1 is stored once.
    void ExpectEachStoredOnce(int nCount)
    {
        EXPECT_EQ(std::to_string(nCount) + '|' + std::to_string(nCount) + '\n',
                  Sql("SELECT COUNT(*), COUNT(DISTINCT package) FROM package_event"));
    }
};

} // namespace

TEST_F(IngestDatabaseTest, AnEventIsStoredOnceWhateverFileItIsReadFrom)
{
    const std::string sOld = Events(0, 300) + Events(0, 1); // two alike in one second are two events
    EXPECT_TRUE(Has(Ingest(IngestDone, sOld), Line("stored:", 301)));
    EXPECT_TRUE(Has(Log(), "SQL SUCCEEDED [0]: (1 row; ", 301));
    EXPECT_TRUE(Has(Ingest(IngestDone, sOld), Line("already stored:", 301)));

    // Rotation in the middle of a second, then compression.
    std::filesystem::rename(m_Input, m_Dir / "packages.log.1");
    EXPECT_TRUE(Has(Ingest(IngestDone, Events(301, 200)), Line("stored:", 200)));
    Shell("gzip \"$1\"", {(m_Dir / "packages.log.1").string()});
    EXPECT_TRUE(Has(Run(IngestDone, Arguments()), Line("already stored:", 200)));
    m_Input = m_Dir / "packages.log.1.gz";
    EXPECT_TRUE(Has(Run(IngestDone, Arguments()), Line("already stored:", 301)));
    EXPECT_EQ("501|500|501\n",
              Sql("SELECT COUNT(*), COUNT(DISTINCT package), MAX(event_order) FROM package_event"));
}

TEST_F(IngestDatabaseTest, AnotherMachinesLogOfTheSameNameIsNotTakenForTheFirst)
{
    Ingest(IngestDone, Events(0, 3));
    const auto sOutput = Ingest(IngestPartly, Events(0, 2) + Events(7, 1) + Events(3, 1));
    EXPECT_TRUE(Has(sOutput, "another event is stored in this place"));
    EXPECT_TRUE(Has(sOutput, Line("failed:", 1)));
    EXPECT_TRUE(Has(sOutput, Line("already stored:", 2)));
    ExpectEachStoredOnce(4);
    Ingest(IngestDone, Events(7, 3), {"--source", "other.log"});
}

TEST_F(IngestDatabaseTest, ADamagedArchiveGivesItsReadablePart)
{
    WriteBytes(m_Input, Events(0, 5000));
    Shell("gzip \"$1\" && truncate -s -100 \"$1.gz\"", {m_Input.string()});
    m_Input += ".gz";
    EXPECT_TRUE(Has(Run(IngestPartly, Arguments()), "is damaged or cut"));
    EXPECT_EQ("0\n", Sql("SELECT COUNT(*) FROM package_event WHERE version_to <> '1'"));
}

TEST_F(IngestDatabaseTest, OnlyBadEventsOfABatchFail)
{
    std::string sLines = Events(0, 250);
    for (int i = 0; i < 3; ++i)
        sLines.insert(sLines.find("2024", sLines.size() / 2), "2024-05-06 07:08:10 install :all <none> 1\n");
    const auto sOutput = Ingest(IngestPartly, sLines, {"--threads", "4"});
    ExpectEachStoredOnce(250);
    EXPECT_TRUE(Has(sOutput, Line("failed:", 3)));
    EXPECT_TRUE(Has(sOutput, "CHECK constraint failed: package_has_a_name", 2))
        << "the first, and their number";
    EXPECT_TRUE(Has(sOutput, "3 times in all"));
    const std::string sLog = Log();
    EXPECT_EQ(3, Count(sLog, "SQL FAILED [0]: "));
    EXPECT_EQ(250, Count(sLog, "SQL SUCCEEDED [0]: (1 row; "));
    for (int i = 0; i < 250; ++i)
        EXPECT_EQ(1, Count(sLog, "'p" + std::to_string(i) + "'")) << i;
    EXPECT_TRUE(Has(sOutput, Line("bytes logged:", sLog.size())));
}

TEST_F(IngestDatabaseTest, ADatabaseThatRefusesEverythingStopsTheRun)
{
    Ingest(IngestDone, "");
    Sql("CREATE TRIGGER no BEFORE INSERT ON package_event BEGIN SELECT RAISE(FAIL, 'out of paper'); END");
    const auto sOutput = Ingest(IngestGivenUp, Events(0, 5000), {"--threads", "1"});
    EXPECT_TRUE(Has(sOutput, Line("failed:", 100)));
    EXPECT_TRUE(Has(sOutput, "not executed:"));
    EXPECT_TRUE(Has(sOutput, ":1: [SQLite]out of paper"));
    EXPECT_TRUE(Has(sOutput, "given up"));
    EXPECT_TRUE(Has(Log(), "SQL FAILED", 100));
}

TEST_F(IngestDatabaseTest, MalformedLinesAreInTheLog)
{
    Ingest(IngestPartly, "2024-05-06 07:08:10 conjure %s%n\n" + Events(0, 1));
    EXPECT_TRUE(Has(Log(), "packages.log(1): too few fields: 2024-05-06 07:08:10 conjure %s%n"));
}

TEST_F(IngestDatabaseTest, PathsOfAnyNameAreTakenLiterally)
{
    for (const char* sName : {"my data;x.db", "a%41'b?mode=ro#c&d.db", "\xC3\xA1rv\xC3\xADz {1}.db"})
    {
        m_Database = m_Dir / sName;
        Ingest(IngestDone, Events(0, 1));
        EXPECT_TRUE(std::filesystem::exists(m_Database)) << sName;
        EXPECT_EQ("1\n", Sql("SELECT COUNT(*) FROM package_event"));
    }
}

TEST_F(IngestDatabaseTest, AnUnusableDatabaseDialectOrLogFolderEndsTheRun)
{
    EXPECT_TRUE(
        Has(Ingest(IngestNothingDone, "", {"--connect", "Driver=NoSuchDriver"}), "cannot use the database"));
    EXPECT_TRUE(Has(Ingest(IngestNothingDone, "", {"--dialect", "mariadb"}),
                    "the server calls itself 'SQLite', whose dialect is sqlite, not mariadb"));
    EXPECT_TRUE(
        Has(Ingest(IngestNothingDone, "", {"--log-dir", m_Input.string()}), "cannot write the log file"));
}

TEST_F(IngestDatabaseTest, FollowsAcrossRotationAndSurvivesAKill)
{
    WriteBytes(m_Input, Events(0, 10));
    CChildProcess killed(IngestProgram(), Arguments({"--follow"}));
    EXPECT_EQ("ingest: 10 lines read, 10 events stored; waiting for more", killed.ReadLine());
    const auto append = [&](const std::string& sText) {
        std::ofstream(m_Input, std::ios::app | std::ios::binary) << sText;
    };
    const std::string sNext = Events(10, 10);
    append(sNext.substr(0, sNext.size() - 5));
    EXPECT_EQ("ingest: 19 lines read, 19 events stored; waiting for more", killed.ReadLine());
    append(sNext.substr(sNext.size() - 5));
    EXPECT_EQ("ingest: 20 lines read, 20 events stored; waiting for more", killed.ReadLine());
    std::filesystem::rename(m_Input, m_Dir / "packages.log.1");
    WriteBytes(m_Input, Events(20, 5));
    EXPECT_EQ("ingest: 25 lines read, 25 events stored; waiting for more", killed.ReadLine());
    WriteBytes(m_Input, Events(25, 1)); // cut short and begun anew
    EXPECT_EQ("ingest: 26 lines read, 26 events stored; waiting for more", killed.ReadLine());
    killed.Kill();
    killed.Wait();
    append(Events(26, 4));

    // The file holds the last five; the former one is no longer where it was.
    std::filesystem::remove(m_Dir / "packages.log.1");
    CChildProcess child(IngestProgram(), Arguments({"--follow", "--source", "other"}));
    EXPECT_EQ("ingest: 5 lines read, 5 events stored; waiting for more", child.ReadLine());
    Send(child, SIGTERM);
    EXPECT_EQ(143, child.Wait().m_iExitCode);
}

TEST_F(IngestDatabaseTest, SignalsEndTheRunInOrder)
{
    for (const auto& [iSignal, iExit] : {std::pair{SIGINT, 130}, {SIGTERM, 143}})
    {
        const std::string sSource = "signal" + std::to_string(iSignal);
        m_Input = m_Dir / sSource;
        mkfifo(m_Input.c_str(), 0600);
        CChildProcess child(IngestProgram(), Arguments({"--follow", "--batch", "7"}));
        std::ofstream writer(m_Input, std::ios::binary);
        writer << Events(0, 500) << std::flush;
        child.ReadLine(); // it is at work
        Send(child, iSignal);
        const ChildResult result = child.Wait();
        EXPECT_EQ(iExit, result.m_iExitCode) << result.m_sOutput;
        const std::string sStored =
            Sql("SELECT COUNT(*) FROM package_event WHERE log_name = '" + sSource + "'");
        EXPECT_TRUE(Has(result.m_sOutput, Line("stored:", std::stoul(sStored))));
        EXPECT_EQ(std::stoi(sStored), Count(Log(), "VALUES ('" + sSource + "'")) << "each is in the log";
    }
}

TEST_F(IngestDatabaseTest, RecordsThatDoNotFitOnTheDiskAreCounted)
{
    const std::string sFirst = Ingest(IngestDone, Events(0, 1));
    const std::string sFile = std::filesystem::directory_iterator(m_Dir / "log")->path().string();
    EXPECT_TRUE(Has(sFirst, sFile + '\n')) << "the log file is named";
    WriteBytes(m_Input, Events(0, 2000));
    const std::string sScript = "truncate -s 100M \"$1\"; shift; trap '' XFSZ; "
                                "prlimit --fsize=$((100 * 1024 * 1024 + 50000)) -- \"$@\"; echo status $?";
    const auto sOutput = Shell(sScript, Joined({sFile, IngestProgram().m_Path.string()}, Arguments()));
    EXPECT_TRUE(Has(sOutput, "status 1\n"));
    EXPECT_TRUE(Has(sOutput, "log lost:"));
    ExpectEachStoredOnce(2000);
}

TEST_F(IngestDatabaseTest, TheReportIsATableAndAPageOfCharts)
{
    const ChildArguments report{"report", "--database", m_Database.string(), "--log-dir",
                                (m_Dir / "log").string()};
    EXPECT_TRUE(Has(Run(IngestNothingDone, report), "cannot use the database"));
    EXPECT_FALSE(std::filesystem::exists(m_Database));

    Ingest(IngestPartly, Events(0, 3) + "2024-05-06 07:08:11 purge </script><b>x:all 1 <none>\n"
                                        "2024-05-07 07:08:11 install :all 1 <none>\n");
    const auto page = m_Dir / "page.html";
    const auto sTable = Run(IngestDone, Joined(report, {"--html", page.string()}));
    EXPECT_TRUE(Has(sTable, "4 events"));
    EXPECT_TRUE(Has(sTable, "2024-05-06        3        1"));
    EXPECT_TRUE(Has(sTable, "5 statements succeeded, 1 failed")); // the table's creation too
    EXPECT_TRUE(Has(sTable, "1  HY000 19  [SQLite]CHECK constraint failed"));

    const ChildResult browser =
        CChildProcess(ChildProgram{"/usr/bin/chromium"},
                      {"--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                       "--disable-background-networking", "--disable-component-update", "--disable-sync",
                       "--user-data-dir=" + (m_Dir / "browser").string(), "--dump-dom",
                       "file://" + page.string()})
            .Wait();
    EXPECT_TRUE(Has(browser.m_sOutput, "style=\"display: block; box-sizing: border-box;", 3))
        << "drawn charts";
    EXPECT_TRUE(Has(browser.m_sOutput, "install', '', '', 'all', '1', ''")) << "the failed statement";
    EXPECT_TRUE(Has(browser.m_sOutput, "<b>", 0));
}
