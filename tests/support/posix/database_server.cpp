#include "support/posix/database_server.h"

#include "support/test_environment.h"

#include <signal.h>
#include <unistd.h>

#include <stdexcept>

namespace fs = std::filesystem;

namespace
{

constexpr const char* kUserName = "nobody";
constexpr unsigned kUserId = 65534; // Debian's fixed number of both the user and the group

} // namespace

CDatabaseServer::CDatabaseServer(const char* sName, const char* sReadyMark, int iStopSignal)
    : m_Folder(TestRoot() / sName), m_sReadyMark(sReadyMark), m_iStopSignal(iStopSignal)
{
    fs::create_directory(m_Folder);
    if (getuid() == 0 && chown(m_Folder.c_str(), kUserId, kUserId) != 0)
        throw std::runtime_error("chown");
}

CDatabaseServer::~CDatabaseServer()
{
    std::error_code ignored;
    fs::remove_all(m_Folder, ignored);
}

ChildArguments CDatabaseServer::AsUser(const ChildArguments& command) const
{
    // The signal comes when this process ends, however it does.
    ChildArguments all{"env", "TMPDIR=" + m_Folder.string(), "setpriv", "--pdeathsig", "QUIT"};
    if (getuid() == 0)
        all.insert(all.end(), {"--reuid", kUserName, "--regid", std::to_string(kUserId), "--clear-groups"});
    return Joined(all, command);
}

std::string CDatabaseServer::Run(const ChildArguments& command)
{
    const ChildResult result = CChildProcess(ChildProgram{"/usr/bin/env"}, command).Wait();
    if (result.m_iExitCode != 0)
        throw std::runtime_error("failed: " + result.m_sOutput);
    return result.m_sOutput;
}

std::string CDatabaseServer::RunAsUser(const ChildArguments& command) const
{
    return Run(AsUser(command));
}

void CDatabaseServer::Start()
{
    m_pProcess = std::make_unique<CChildProcess>(ChildProgram{"/usr/bin/env"}, AsUser(ServerCommand()));
    std::string sAll;
    for (std::string sLine; sLine.find(m_sReadyMark) == sLine.npos; sAll += sLine + '\n')
        if ((sLine = m_pProcess->ReadLine()).empty())
            throw std::runtime_error("the server did not start: " + sAll + m_pProcess->Wait().m_sOutput);
}

void CDatabaseServer::Stop()
{
    if (m_pProcess == nullptr)
        return;
    kill(static_cast<pid_t>(m_pProcess->Process()), m_iStopSignal);
    m_pProcess->Wait();
    m_pProcess.reset();
}

// ---- PostgreSQL ----

CPostgreSQL::CPostgreSQL() : CDatabaseServer("pg", "ready to accept connections", SIGINT)
{
    RunAsUser({Binaries() / "initdb", "-D", m_Folder / "data", "-U", "postgres", "-A", "trust", "-E", "UTF8",
               "--locale=C", "-N"});
    Start();
    Sql("CREATE DATABASE ingest", "postgres");
    Sql("CREATE DATABASE latin1 ENCODING 'LATIN1' TEMPLATE template0", "postgres");
}

fs::path CPostgreSQL::Binaries()
{
    fs::path newest;
    for (const auto& entry : fs::directory_iterator("/usr/lib/postgresql"))
        newest = std::max(newest, entry.path());
    return newest / "bin";
}

ChildArguments CPostgreSQL::ServerCommand() const
{
    // Its output is read no further than to its readiness, so it must stay short.
    return {Binaries() / "postgres",
            "-D",
            m_Folder / "data",
            "-k",
            m_Folder,
            "--listen_addresses=",
            "--log_min_messages=log",
            "--dynamic_shared_memory_type=mmap",
            "--fsync=off"};
}

std::string CPostgreSQL::ConnectString(const std::string& sDriver, const std::string& sDatabase) const
{
    return "Driver=" + sDriver + ";Server=" + m_Folder.string() + ";UID=postgres;Database=" + sDatabase;
}

std::string CPostgreSQL::Sql(const std::string& sStatements, const std::string& sDatabase)
{
    return Run({"psql", "-h", m_Folder, "-U", "postgres", "-d", sDatabase, "-XAtqc", sStatements});
}

// ---- MariaDB ----

CMariaDB::CMariaDB() : CDatabaseServer("my", "ready for connections", SIGTERM)
{
    RunAsUser({"mariadb-install-db", "--no-defaults", "--datadir=" + (m_Folder / "data").string(),
               "--auth-root-authentication-method=normal", "--skip-test-db"});
    Start();
    Sql("CREATE DATABASE ingest", "mysql");
}

ChildArguments CMariaDB::ServerCommand() const
{
    return {"mariadbd",
            "--no-defaults",
            "--datadir=" + (m_Folder / "data").string(),
            "--socket=" + (m_Folder / "s").string(),
            "--pid-file=" + (m_Folder / "pid").string(),
            "--skip-networking",
            "--innodb-flush-log-at-trx-commit=2"};
}

std::string CMariaDB::ConnectString() const
{
    return "Driver=MariaDB Unicode;SOCKET=" + (m_Folder / "s").string() + ";UID=root;Database=ingest";
}

std::string CMariaDB::Sql(const std::string& sStatements, const std::string& sDatabase)
{
    return Run({"mariadb", "--no-defaults", "-S", (m_Folder / "s").string(), "-u", "root", "-N", "-B",
                sDatabase, "-e", sStatements});
}
