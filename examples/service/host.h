// What runs the service: systemd, Windows' service manager, or a terminal. posix/ and windows/ have the
// bodies; nothing else of the service knows on which system it is.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

enum class ERequest
{
    None,
    Reload, ///< SIGHUP, SERVICE_CONTROL_PARAMCHANGE
    Stop    ///< SIGTERM, SIGINT, SERVICE_CONTROL_STOP, the system's shutdown, Ctrl-C
};

/// The service's work; returns the exit code.
using ServiceBody = int (*)(const std::string& sName, bool bTerminal) noexcept;

/// The command line: "run" calls \p body in a terminal, "service" as the system's service of that name,
/// "install" and "uninstall" (Windows) do what they say. -1 for any other verb.
int RunHosted(const std::string& sVerb, const std::string& sName, ServiceBody body);

/// Waits for a request, at most so many milliseconds. Of a service that does not come back here the watchdog
/// learns.
ERequest WaitForRequest(unsigned nMilliseconds);

/// Tells the manager that the service works; again with each change of its status, which is UTF-8.
void TellReady(const std::string& sStatus);
void TellReloading();
/// Tells that the service is about to end; again with each step of that, so that the manager goes on waiting.
void TellStopping();

/// Where the service has its folders unless the settings name others.
std::filesystem::path DefaultFolder(const std::string& sName);
std::filesystem::path DefaultLogFolder(const std::string& sName);

/// Reads a whole file, also one that another process is renaming.
bool LoadFile(const std::filesystem::path& file, std::string& sBytes, std::error_code& error);

/// Makes a file that is whole and on the disk, or none: also when the process is killed or the power fails.
bool StoreFile(const std::filesystem::path& file, const std::string& sBytes, std::error_code& error);

/// A folder that no other process has locked.
class CFolderLock
{
public:
    CFolderLock() = default;
    CFolderLock(const CFolderLock&) = delete;
    CFolderLock& operator=(const CFolderLock&) = delete;
    ~CFolderLock() { Unlock(); }

    bool Lock(const std::filesystem::path& folder, std::error_code& error);
    void Unlock();

private:
    std::intptr_t m_hLock = -1;
};
