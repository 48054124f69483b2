// Database servers of the distribution, each in a folder of its own below the test's, reached through a
// socket in it. They end with the test program, also when it crashes.
#pragma once

#include "support/child_process.h"

#include <filesystem>
#include <memory>
#include <string>

class CDatabaseServer
{
public:
    /// Removes the folder; whoever derives has stopped the server by then.
    virtual ~CDatabaseServer();
    CDatabaseServer(CDatabaseServer&&) = delete;

    /// Returns when the server takes connections.
    void Start();
    /// Ends it in order: sessions are cut, nothing that was committed is lost.
    void Stop();
    /// Runs statements in the server's own client; what it prints, columns separated by "|".
    virtual std::string Sql(const std::string& sStatements, const std::string& sDatabase = "ingest") = 0;

protected:
    CDatabaseServer(const char* sName, const char* sReadyMark, int iStopSignal);

    /// Runs a program in the folder, as an ordinary user where the test is root: servers refuse to be.
    ChildArguments AsUser(const ChildArguments& command) const;
    std::string RunAsUser(const ChildArguments& command) const;
    static std::string Run(const ChildArguments& command);
    virtual ChildArguments ServerCommand() const = 0;

    const std::filesystem::path m_Folder;

private:
    const std::string m_sReadyMark;
    const int m_iStopSignal;
    std::unique_ptr<CChildProcess> m_pProcess;
};

class CPostgreSQL : public CDatabaseServer
{
public:
    /// Makes the databases "ingest" and, in an encoding that lacks most letters, "latin1".
    CPostgreSQL();
    ~CPostgreSQL() override { Stop(); }
    /// For the distribution's driver "PostgreSQL Unicode" or "PostgreSQL ANSI".
    std::string ConnectString(const std::string& sDriver, const std::string& sDatabase = "ingest") const;
    std::string Sql(const std::string& sStatements, const std::string& sDatabase = "ingest") override;

private:
    ChildArguments ServerCommand() const override;
    static std::filesystem::path Binaries();
};

class CMariaDB : public CDatabaseServer
{
public:
    /// Makes the database "ingest".
    CMariaDB();
    ~CMariaDB() override { Stop(); }
    std::string ConnectString() const;
    std::string Sql(const std::string& sStatements, const std::string& sDatabase = "ingest") override;

private:
    ChildArguments ServerCommand() const override;
};
