#include "support/child_process.h"

#include <windows.h>

#include <stdexcept>

namespace
{
HANDLE AsHandle(std::intptr_t h)
{
    return reinterpret_cast<HANDLE>(h);
}

std::wstring Widen(const std::string& sUTF8)
{
    return std::filesystem::path(std::u8string(sUTF8.begin(), sUTF8.end())).wstring();
}
} // namespace

CChildProcess::CChildProcess(const ChildProgram& program, const ChildArguments& args)
{
    // No argument has quotation marks, or a backslash at its end.
    const std::wstring sProgram = program.m_Path.wstring();
    std::wstring sCommand = L'"' + sProgram + L'"';
    for (const auto& sArgument : args)
        sCommand += L" \"" + Widen(sArgument) + L'"';

    SECURITY_ATTRIBUTES inherit{sizeof(inherit), nullptr, TRUE};
    HANDLE hRead = nullptr;
    HANDLE hWrite = nullptr;
    if (!CreatePipe(&hRead, &hWrite, &inherit, 0))
        throw std::runtime_error("CreatePipe");
    SetHandleInformation(hRead, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = hWrite;
    startup.hStdError = hWrite;
    PROCESS_INFORMATION process{};
    const BOOL bStarted = CreateProcessW(sProgram.c_str(), sCommand.data(), nullptr, nullptr, TRUE, 0,
                                         nullptr, nullptr, &startup, &process);
    CloseHandle(hWrite);
    if (!bStarted)
        throw std::runtime_error("CreateProcessW");
    CloseHandle(process.hThread);
    m_hProcess = reinterpret_cast<std::intptr_t>(process.hProcess);
    m_hOutput = reinterpret_cast<std::intptr_t>(hRead);
}

bool CChildProcess::ReadMore()
{
    char buffer[4096];
    DWORD dwRead = 0;
    if (!ReadFile(AsHandle(m_hOutput), buffer, sizeof(buffer), &dwRead, nullptr) || dwRead == 0)
        return false;
    m_sPending.append(buffer, dwRead);
    std::erase(m_sPending, '\r');
    return true;
}

void CChildProcess::Kill()
{
    if (m_hProcess != 0)
        TerminateProcess(AsHandle(m_hProcess), 9);
}

int CChildProcess::WaitForExit()
{
    DWORD dwCode = 0;
    WaitForSingleObject(AsHandle(m_hProcess), INFINITE);
    GetExitCodeProcess(AsHandle(m_hProcess), &dwCode);
    CloseHandle(AsHandle(m_hProcess));
    CloseHandle(AsHandle(m_hOutput));
    return static_cast<int>(dwCode);
}
