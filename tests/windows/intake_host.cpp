// The example service as Windows' service manager runs it.
#include "support/intake_program.h"

#include "support/windows/console_event.h"

#include <memory>

/// With the keys above that were made for it.
void CIntakeTest::ForgetSettings() const
{
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, Key().c_str());
    for (const wchar_t* sKey : {ORVTEXT("Software\\Orvanex\\Lumatrek"), ORVTEXT("Software\\Orvanex")})
    {
        HKEY hKey = nullptr;
        DWORD dwKeys = 1;
        DWORD dwValues = 1;
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, sKey, 0, KEY_READ, &hKey);
        RegQueryInfoKeyW(hKey, nullptr, nullptr, nullptr, &dwKeys, nullptr, nullptr, &dwValues, nullptr,
                         nullptr, nullptr, nullptr);
        RegCloseKey(hKey);
        if (dwKeys + dwValues == 0)
            RegDeleteKeyW(HKEY_LOCAL_MACHINE, sKey);
    }
}

namespace
{

struct CClose
{
    using pointer = SC_HANDLE;
    void operator()(SC_HANDLE h) const { CloseServiceHandle(h); }
};

class IntakeAsWindowsService : public CIntakeTest
{
protected:
    ~IntakeAsWindowsService() override
    {
        SERVICE_STATUS status;
        if (!m_service)
            return;
        ControlService(m_service.get(), SERVICE_CONTROL_STOP, &status);
        DeleteService(m_service.get());
    }

    void Run(const char* sVerb)
    {
        const ChildResult result = CChildProcess(ChildProgram{Program()}, {sVerb, m_sName}).Wait();
        EXPECT_EQ(0, result.m_iExitCode) << result.m_sOutput;
        EXPECT_EQ("intake: service '" + m_sName + "' " + sVerb + "ed\n", result.m_sOutput);
    }

    /// Starts the service; the result is its process.
    HANDLE Start()
    {
        m_manager.reset(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
        m_service.reset(OpenServiceW(m_manager.get(), Wide(m_sName).c_str(), SERVICE_ALL_ACCESS));
        EXPECT_TRUE(StartServiceW(m_service.get(), 0, nullptr)) << GetLastError();
        return OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, Status().dwProcessId);
    }

    SERVICE_STATUS_PROCESS Status() const
    {
        SERVICE_STATUS_PROCESS status = {};
        DWORD dwNeeded = 0;
        EXPECT_TRUE(QueryServiceStatusEx(m_service.get(), SC_STATUS_PROCESS_INFO,
                                         reinterpret_cast<BYTE*>(&status), sizeof(status), &dwNeeded));
        return status;
    }

    void Control(DWORD dwControl)
    {
        SERVICE_STATUS status;
        EXPECT_TRUE(ControlService(m_service.get(), dwControl, &status))
            << dwControl << ": " << GetLastError();
    }

    /// Waits until so many jobs are out of the folder `in`.
    void WaitUntilTaken()
    {
        const HANDLE hChange =
            FindFirstChangeNotificationW((m_folder / "in").c_str(), FALSE, FILE_NOTIFY_CHANGE_FILE_NAME);
        while (!Names("in").empty() && WaitForSingleObject(hChange, 60'000) == WAIT_OBJECT_0)
            FindNextChangeNotification(hChange);
        FindCloseChangeNotification(hChange);
        EXPECT_TRUE(Names("in").empty());
    }

    std::unique_ptr<SC_HANDLE, CClose> m_manager;
    std::unique_ptr<SC_HANDLE, CClose> m_service;
};

} // namespace

TEST_F(CIntakeTest, CtrlCInTheTerminalEndsItInOrder)
{
    CChildProcess child(ChildProgram{Program()}, {"run", m_sName});
    child.ReadLine();
    ASSERT_TRUE(RaiseConsoleEvent(child, CTRL_C_EVENT));
    const ChildResult result = child.Wait();
    EXPECT_EQ(0, result.m_iExitCode);
    EXPECT_EQ("Stopped. Done: 0, refused: 0, left: 0.\n", result.m_sOutput);
}

TEST_F(IntakeAsWindowsService, IsInstalledStartedToldStoppedAndRemoved)
{
    Run("install");
    PutJobs(0, 30);
    const HANDLE hProcess = Start();
    WaitUntilTaken();
    EXPECT_EQ(DWORD(SERVICE_RUNNING), Status().dwCurrentState);
    EXPECT_EQ(30u, DoneJobs().size());

    UseFolder("other");
    PutJobs(30, 1);
    Control(SERVICE_CONTROL_PARAMCHANGE);
    WaitUntilTaken();
    EXPECT_EQ((std::set<std::string>{"30"}), DoneJobs());

    Control(SERVICE_CONTROL_STOP);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hProcess, 60'000));
    CloseHandle(hProcess);
    EXPECT_EQ(DWORD(SERVICE_STOPPED), Status().dwCurrentState);
    EXPECT_EQ(0u, Status().dwWin32ExitCode);
    EXPECT_EQ(31, LinesWith(Log(), ".orders: 20 orders, "));
    EXPECT_EQ(1, LinesWith(Log(), "Stopped. Done: 31, refused: 0, left: 0."));
    m_service.reset();
    Run("uninstall");
    EXPECT_EQ(nullptr, OpenServiceW(m_manager.get(), Wide(m_sName).c_str(), SERVICE_QUERY_STATUS));
    EXPECT_EQ(DWORD(ERROR_SERVICE_DOES_NOT_EXIST), GetLastError());
}
