#include "../host.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <cwchar>
#include <vector>

namespace
{

namespace fs = std::filesystem;

ServiceBody g_body = nullptr;
std::string g_sName;
HANDLE g_hReload = nullptr;
HANDLE g_hStop = nullptr;
SERVICE_STATUS_HANDLE g_hStatus = nullptr; ///< null in a terminal
std::atomic<bool> g_bStopping = false;

bool Fail(std::error_code& error)
{
    error.assign(static_cast<int>(GetLastError()), std::system_category());
    return false;
}

void MakeEvents()
{
    g_hReload = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    g_hStop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

// ---- In a terminal ----

BOOL WINAPI OnConsoleEvent(DWORD dwEvent)
{
    // A second Ctrl-C ends the program at once.
    const bool bFirst = !g_bStopping.exchange(true);
    SetEvent(g_hStop);
    // The system ends the process when this returns, but for the first two events.
    if (dwEvent != CTRL_C_EVENT && dwEvent != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return bFirst;
}

int RunInTerminal()
{
    MakeEvents();
    SetConsoleOutputCP(CP_UTF8);
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
    return g_body(g_sName, true);
}

// ---- As a service ----

void ReportState(DWORD dwState, DWORD dwExitCode = 0)
{
    static DWORD s_dwCheckPoint = 0;
    SERVICE_STATUS status = {};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = dwState;
    status.dwWin32ExitCode = dwExitCode != 0 ? ERROR_SERVICE_SPECIFIC_ERROR : NO_ERROR;
    status.dwServiceSpecificExitCode = dwExitCode;
    if (dwState == SERVICE_RUNNING)
        status.dwControlsAccepted =
            SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN | SERVICE_ACCEPT_PARAMCHANGE;
    if (dwState == SERVICE_START_PENDING || dwState == SERVICE_STOP_PENDING)
    {
        status.dwCheckPoint = ++s_dwCheckPoint;
        status.dwWaitHint = 30'000;
    }
    SetServiceStatus(g_hStatus, &status);
}

DWORD WINAPI OnControl(DWORD dwControl, DWORD, void*, void*)
{
    switch (dwControl)
    {
    case SERVICE_CONTROL_STOP:
    case SERVICE_CONTROL_SHUTDOWN: SetEvent(g_hStop); return NO_ERROR;
    case SERVICE_CONTROL_PARAMCHANGE: SetEvent(g_hReload); return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE: return NO_ERROR;
    default: return ERROR_CALL_NOT_IMPLEMENTED;
    }
}

void WINAPI ServiceMain(DWORD, wchar_t**)
{
    MakeEvents();
    g_hStatus = RegisterServiceCtrlHandlerExW(L"", OnControl, nullptr);
    ReportState(SERVICE_START_PENDING);
    // The process may end as soon as the last state is reported.
    ReportState(SERVICE_STOPPED, static_cast<DWORD>(g_body(g_sName, false)));
}

int RunAsService()
{
    wchar_t sUnused[] = L""; // a process with one service has no use for its name
    const SERVICE_TABLE_ENTRYW services[] = {{sUnused, ServiceMain}, {nullptr, nullptr}};
    if (StartServiceCtrlDispatcherW(services))
        return 0;
    std::fputs("intake: only the system starts it as a service\n", stderr);
    return 1;
}

// ---- Installing ----

struct CCloseService
{
    using pointer = SC_HANDLE;
    void operator()(SC_HANDLE h) const { CloseServiceHandle(h); }
};
using CServiceHandle = std::unique_ptr<SC_HANDLE, CCloseService>;

int Tell(bool bDone, const char* sWhat)
{
    const DWORD dwError = GetLastError();
    if (bDone)
        std::printf("intake: service '%s' %s\n", g_sName.c_str(), sWhat);
    else
        std::fprintf(stderr, "intake: service '%s' was not %s: error %lu\n", g_sName.c_str(), sWhat, dwError);
    return bDone ? 0 : 1;
}

std::wstring Wide(const std::string& s)
{
    return fs::path(s).wstring();
}

/// The system starts it again five seconds after it has failed.
bool SetRestart(SC_HANDLE hService)
{
    SC_ACTION action = {SC_ACTION_RESTART, 5000};
    SERVICE_FAILURE_ACTIONSW actions = {};
    actions.dwResetPeriod = 3600;
    actions.cActions = 1;
    actions.lpsaActions = &action;
    return ChangeServiceConfig2W(hService, SERVICE_CONFIG_FAILURE_ACTIONS, &actions) != 0;
}

int Install()
{
    std::vector<wchar_t> program(32768);
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    const std::wstring sCommand =
        L'"' + std::wstring(program.data()) + L"\" service \"" + Wide(g_sName) + L'"';
    const CServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CREATE_SERVICE));
    // An account with few rights, and none in the network.
    const CServiceHandle service(
        manager ? CreateServiceW(manager.get(), Wide(g_sName).c_str(), Wide(g_sName).c_str(),
                                 SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START,
                                 SERVICE_ERROR_NORMAL, sCommand.c_str(), nullptr, nullptr, nullptr,
                                 L"NT AUTHORITY\\LocalService", nullptr)
                : nullptr);
    const int iExitCode = Tell(service != nullptr, "installed");
    if (service && !SetRestart(service.get()))
        std::fputs("intake: it will not be started again when it fails\n", stderr);
    return iExitCode;
}

int Uninstall()
{
    const CServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const CServiceHandle service(
        manager ? OpenServiceW(manager.get(), Wide(g_sName).c_str(), SERVICE_STOP | DELETE) : nullptr);
    SERVICE_STATUS status;
    if (service)
        ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
    return Tell(service && DeleteService(service.get()), "uninstalled");
}

} // namespace

int RunHosted(const std::string& sVerb, const std::string& sName, ServiceBody body)
{
    const struct
    {
        const char* m_sVerb;
        int (*m_fn)();
    } verbs[] = {
        {"run", RunInTerminal}, {"service", RunAsService}, {"install", Install}, {"uninstall", Uninstall}};
    g_sName = sName;
    g_body = body;
    for (const auto& verb : verbs)
        if (sVerb == verb.m_sVerb)
            return verb.m_fn();
    return -1;
}

ERequest WaitForRequest(unsigned nMilliseconds)
{
    const HANDLE events[] = {g_hStop, g_hReload};
    switch (WaitForMultipleObjects(2, events, FALSE, nMilliseconds))
    {
    case WAIT_OBJECT_0: return ERequest::Stop;
    case WAIT_OBJECT_0 + 1: return ERequest::Reload;
    default: return ERequest::None;
    }
}

void TellReady(const std::string&)
{
    if (g_hStatus != nullptr)
        ReportState(SERVICE_RUNNING);
}

void TellReloading() {} // Windows has no such state

void TellStopping()
{
    if (g_hStatus != nullptr)
        ReportState(SERVICE_STOP_PENDING);
}

fs::path DefaultFolder(const std::string& sName)
{
    wchar_t sFolder[MAX_PATH] = L"";
    GetEnvironmentVariableW(L"ProgramData", sFolder, MAX_PATH);
    return fs::path(sFolder) / sName;
}

fs::path DefaultLogFolder(const std::string& sName)
{
    return DefaultFolder(sName) / "log";
}

bool LoadFile(const fs::path& file, std::string& sBytes, std::error_code& error)
{
    const HANDLE hFile =
        CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return Fail(error);
    char buffer[65536];
    DWORD dwRead = 0;
    bool bRead = true;
    do
    {
        bRead = ReadFile(hFile, buffer, sizeof(buffer), &dwRead, nullptr) || Fail(error);
        sBytes.append(buffer, bRead ? dwRead : 0);
    }
    while (bRead && dwRead > 0);
    CloseHandle(hFile);
    return bRead;
}

bool StoreFile(const fs::path& file, const std::string& sBytes, std::error_code& error)
{
    const std::wstring sNew = file.wstring() + L".new";
    const HANDLE hFile =
        CreateFileW(sNew.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return Fail(error);
    DWORD dwWritten = 0;
    const bool bWritten =
        WriteFile(hFile, sBytes.data(), static_cast<DWORD>(sBytes.size()), &dwWritten, nullptr) &&
        FlushFileBuffers(hFile);
    const DWORD dwError = GetLastError();
    CloseHandle(hFile);
    SetLastError(dwError);
    return (bWritten &&
            MoveFileExW(sNew.c_str(), file.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) ||
           Fail(error);
}

bool CFolderLock::Lock(const fs::path& folder, std::error_code& error)
{
    const HANDLE hFile = CreateFileW((folder / "in use").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return Fail(error);
    Unlock();
    m_hLock = reinterpret_cast<std::intptr_t>(hFile);
    return true;
}

void CFolderLock::Unlock()
{
    if (m_hLock != -1)
        CloseHandle(reinterpret_cast<HANDLE>(m_hLock));
    m_hLock = -1;
}
