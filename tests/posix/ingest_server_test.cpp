// The example service with the distribution's database servers and their drivers: what is stored is read back
// by the servers' own clients, as bytes.
#include "support/ingest_program.h"
#include "support/pattern.h"
#include "support/posix/database_server.h"
#include "support/random.h"

#include <signal.h>
#include <sys/stat.h>

#include <functional>
#include <iterator>

namespace
{

std::string Hex(const std::string& sBytes)
{
    std::string sHex;
    for (const char c : sBytes)
        for (const int nNibble : {c >> 4 & 15, c & 15})
            sHex += "0123456789ABCDEF"[nNibble];
    return sHex;
}

/// A word without blanks of what a value may be made of to break out of its literal.
std::string NastyWord(CTestRandom& random, unsigned nMost)
{
    static const auto s_pieces = [] {
        std::istringstream all("' '' \" \\ \\' ` a \xC4\xA7 \xC5\xB1 \xC3\xA1 \xE6\xBC\xA2 \xE8\xA1\xA8 "
                               "\xEF\xBC\x87 \xF0\x9F\x98\x80 % ; -- /* ? {fn } $1 ),( \x01 \x1A \x7F "
                               "\xC2\x85 \xCA\xBC \\n x'");
        std::vector<std::string> pieces{"\t", "\r"};
        pieces.insert(pieces.end(), std::istream_iterator<std::string>(all), {});
        return pieces;
    }();
    std::string sWord;
    for (unsigned n = random.UpTo(nMost) + 1; n > 0; --n)
        sWord += s_pieces[random() % s_pieces.size()];
    return sWord + 'z'; // a carriage return at the end of a line is none of its text
}

/// A log and what a database must hold after it: the hexadecimal digits of package and version, a line an
/// event.
struct CNastyLog
{
    std::string m_sLines;
    std::string m_sExpected;

    void Add(const std::string& sPackage, const std::string& sVersion)
    {
        m_sLines += "2024-05-06 07:08:10 install " + sPackage + ":all <none> " + sVersion + '\n';
        m_sExpected += Hex(sPackage) + '|' + Hex(sVersion) + '\n';
    }

    explicit CNastyLog(int nEvents)
    {
        CTestRandom random;
        // A letter that narrowing makes an apostrophe of, and a second row behind it.
        Add(Replaced("x^,^^,^1^),(^y^,1,1,^^", R"(\^)", "\xC4\xA7"), "1");
        // Backslashes that would take the closing quotes along.
        Add("a\\", "),('b',1,1,'','','','','','')--\\");
        for (int i = 2; i < nEvents; ++i)
            Add(NastyWord(random, 12), NastyWord(random, 3));
    }
};

class IngestServerTest : public CIngestTest
{
protected:
    static void TearDownTestSuite()
    {
        s_pPostgreSQL.reset();
        s_pMariaDB.reset();
    }

    void SetUp() override { ORV_SKIP_SANITIZED("the servers are tested by the target linux alone"); }

    /// The first test that wants it starts it.
    template <class Server>
    static Server& Started(std::unique_ptr<Server>& pServer)
    {
        if (pServer == nullptr)
            pServer = std::make_unique<Server>();
        return *pServer;
    }
    static CPostgreSQL& PostgreSQL() { return Started(s_pPostgreSQL); }
    static CMariaDB& MariaDB() { return Started(s_pMariaDB); }

    ChildArguments ServerArguments(const std::string& sConnect, const ChildArguments& more = {}) const
    {
        const auto sLogs = (m_Dir / "log").string();
        const ChildArguments args{"--connect", sConnect, "--log-dir", sLogs, "--threads", "4"};
        return Joined(Joined(args, more), {m_Input.string()});
    }

    /// Both servers, for what is to hold with each.
    static void WithEachServer(const std::function<void(CDatabaseServer&, const std::string& sConnect)>& test)
    {
        test(PostgreSQL(), PostgreSQL().ConnectString("PostgreSQL Unicode"));
        test(MariaDB(), MariaDB().ConnectString());
    }

    /// The events 0 to \p nCount - 1 of a source are stored, each once.
    static void ExpectEachStoredOnce(CDatabaseServer& server, const std::string& sSource, int nCount)
    {
        EXPECT_EQ(std::to_string(nCount * 1000001LL) + '\n',
                  server.Sql("SELECT COUNT(*) * CAST(1000000 AS DECIMAL(20)) + COUNT(DISTINCT package) "
                             "FROM package_event WHERE log_name = '" +
                             sSource + "'"));
    }

    static inline std::unique_ptr<CPostgreSQL> s_pPostgreSQL;
    static inline std::unique_ptr<CMariaDB> s_pMariaDB;
};

} // namespace

TEST_F(IngestServerTest, NastyValuesArriveAsTheyAreInEveryLocale)
{
    const CNastyLog log(3000);
    m_Input = m_Dir / "nasty.log";
    WriteBytes(m_Input, log.m_sLines);
    const std::string sPostgresHex = "SELECT upper(encode(convert_to(package, 'UTF8'), 'hex')) || '|' || "
                                     "upper(encode(convert_to(version_to, 'UTF8'), 'hex'))";
    const struct
    {
        std::string m_sConnect;
        std::string m_sSelect;
        CDatabaseServer* m_pServer = nullptr; ///< null: the embedded one
    } rows[] = {
        {"Driver=SQLite3;Database=" + m_Database.string() +
             ";Timeout=60000;JournalMode=WAL;SyncPragma=NORMAL",
         "SELECT hex(package) || '|' || hex(version_to)"},
        {PostgreSQL().ConnectString("PostgreSQL Unicode"), sPostgresHex, &PostgreSQL()},
        {PostgreSQL().ConnectString("PostgreSQL ANSI"), sPostgresHex, &PostgreSQL()},
        {MariaDB().ConnectString(), "SELECT concat(hex(package), '|', hex(version_to))", &MariaDB()},
    };
    for (const char* sLocale : {"C", "C.UTF-8"})
        for (const auto& row : rows)
        {
            SCOPED_TRACE(std::string(sLocale) + ' ' + row.m_sConnect);
            const CVariableGuard locale("LC_ALL", sLocale);
            const std::string sSource = "nasty " + std::to_string(&row - rows) + sLocale;
            const auto sOutput = Run(IngestDone, ServerArguments(row.m_sConnect, {"--source", sSource}));
            EXPECT_TRUE(Has(sOutput, Line("stored:", 3000)));
            const std::string sQuery =
                row.m_sSelect + " FROM package_event WHERE log_name = '" + sSource + "' ORDER BY event_order";
            const ChildProgram sqlite{"/usr/bin/sqlite3"};
            const std::string sFound =
                row.m_pServer != nullptr
                    ? row.m_pServer->Sql(sQuery)
                    : CChildProcess(sqlite, {m_Database.string(), sQuery}).Wait().m_sOutput;
            EXPECT_TRUE(sFound == log.m_sExpected); // too long to be printed
        }
}

#ifdef ORV_TEST_H2
// SQL Server itself is not to be had; this database reads its dialect, but for the table's creation and the
// lock hint.
TEST_F(IngestServerTest, StatementsForSqlServerAreReadByADatabaseOfItsDialect)
{
    const CNastyLog log(500);
    std::string sStatements = Ingest(IngestDone, log.m_sLines, {"--dry-run", "--dialect", "mssql"});
    sStatements.resize(sStatements.rfind("lines read:")); // on the error stream
    sStatements = Replaced(sStatements, R"( WITH \(HOLDLOCK\))", "");
    std::string sScript =
        "CREATE TABLE package_event (log_name NVARCHAR(255), event_time INTEGER, event_order INTEGER,"
        "action NVARCHAR(99), state NVARCHAR(99), package NVARCHAR(999), arch NVARCHAR(99),"
        "version_from NVARCHAR(999), version_to NVARCHAR(999));\n";
    sScript += sStatements + sStatements; // each is stored once
    sScript += "SELECT UPPER(RAWTOHEX(STRINGTOUTF8(package)) || '|' || RAWTOHEX(STRINGTOUTF8(version_to))) "
               "FROM package_event ORDER BY event_order;\n";
    WriteBytes(m_Dir / "script.sql", sScript);
    const std::string sOutput =
        CChildProcess(ChildProgram{ORV_TEST_JAVA},
                      {"-Dfile.encoding=UTF-8", "-cp", ORV_TEST_H2, "org.h2.tools.RunScript", "-url",
                       "jdbc:h2:mem:x;MODE=MSSQLServer", "-script", (m_Dir / "script.sql").string(),
                       "-showResults"})
            .Wait()
            .m_sOutput;
    std::string sFound;
    for (auto n = sOutput.find("--> "); n != sOutput.npos; n = sOutput.find("--> ", n + 1))
        sFound += sOutput.substr(n + 4, sOutput.find('\n', n) - n - 3);
    const auto nException = sOutput.find("Exception");
    EXPECT_TRUE(sFound == log.m_sExpected)
        << sOutput.substr(nException == sOutput.npos ? 0 : nException, 500);
}
#endif

TEST_F(IngestServerTest, AServerThatCannotHoldEveryTextIsRefused)
{
    WriteBytes(m_Input, Events(0, 1));
    for (const char* sDriver : {"PostgreSQL Unicode", "PostgreSQL ANSI"})
    {
        const auto sOutput =
            Run(IngestNothingDone, ServerArguments(PostgreSQL().ConnectString(sDriver, "latin1")));
        EXPECT_TRUE(Has(sOutput, "the server does not return values unchanged"));
        EXPECT_NE(0, Count(sOutput, "has no equivalent in encoding \"LATIN1\""));
    }
}

TEST_F(IngestServerTest, RestartsOfTheServerLoseNothing)
{
    WithEachServer([&](CDatabaseServer& server, const std::string& sConnect) {
        m_Input = m_Dir / "restarted";
        std::filesystem::remove(m_Input);
        mkfifo(m_Input.c_str(), 0600);
        CChildProcess child(IngestProgram(),
                            ServerArguments(sConnect, {"--follow", "--batch", "20", "--retry", "250"}));
        std::ofstream writer(m_Input, std::ios::binary);
        const auto waitFor = [&](const std::string& sLast) {
            std::string sLine;
            while (sLine.find(sLast) == sLine.npos)
                ASSERT_NE("", sLine = child.ReadLine());
        };
        writer << Events(0, 200) << std::flush;
        waitFor("ingest: 200 lines read, 200 events stored");
        server.Stop();
        writer << Events(200, 200) << std::flush;
        server.Start();
        waitFor("ingest: 400 lines read, 400 events stored");
        ExpectEachStoredOnce(server, "restarted", 400);
    });
}

TEST_F(IngestServerTest, AServerThatStaysAwayEndsTheRun)
{
    WithEachServer([&](CDatabaseServer& server, const std::string& sConnect) {
        m_Input = m_Dir / "left";
        std::filesystem::remove(m_Input);
        mkfifo(m_Input.c_str(), 0600);
        CChildProcess child(IngestProgram(), ServerArguments(sConnect, {"--follow", "--retry", "0"}));
        std::ofstream writer(m_Input, std::ios::binary);
        writer << Events(0, 10) << std::flush;
        EXPECT_EQ("ingest: 10 lines read, 10 events stored; waiting for more", child.ReadLine());
        server.Stop();
        writer << Events(10, 10) << std::flush;
        const ChildResult result = child.Wait();
        EXPECT_EQ(IngestGivenUp, result.m_iExitCode);
        EXPECT_TRUE(Has(result.m_sOutput, "given up: the connection is lost"));
        EXPECT_TRUE(Has(result.m_sOutput, Line("not executed:", 10)));
        EXPECT_TRUE(Has(Run(IngestNothingDone, ServerArguments(sConnect)), "cannot use the database"));
        server.Start();
    });
}

TEST_F(IngestServerTest, TwoProcessesAndAKilledOneStoreEachEventOnce)
{
    WithEachServer([&](CDatabaseServer& server, const std::string& sConnect) {
        m_Input = m_Dir / "shared.log";
        WriteBytes(m_Input, Events(0, 3000));
        const auto pipe = m_Dir / "pipe";
        std::filesystem::remove(pipe);
        mkfifo(pipe.c_str(), 0600);
        ChildArguments killed = ServerArguments(sConnect, {"--source", "shared.log", "--follow"});
        killed.back() = pipe.string();
        CChildProcess first(IngestProgram(), killed);
        WriteBytes(pipe, Events(0, 500));
        ASSERT_NE("", first.ReadLine());
        WriteBytes(pipe, Events(500, 500));
        first.Kill(); // wherever it is
        CChildProcess second(IngestProgram(), ServerArguments(sConnect));
        CChildProcess third(IngestProgram(), ServerArguments(sConnect));
        EXPECT_EQ(IngestDone, second.Wait().m_iExitCode);
        EXPECT_EQ(IngestDone, third.Wait().m_iExitCode);
        ExpectEachStoredOnce(server, "shared.log", 3000);

        WriteBytes(m_Input, Events(0, 2) + Events(5000, 1)); // another log of that name
        const auto sOutput = Run(IngestPartly, ServerArguments(sConnect));
        EXPECT_TRUE(Has(sOutput, "another event is stored in this place"));
        EXPECT_TRUE(Has(sOutput, Line("already stored:", 2)));
    });
}
