#include "support/child_process.h"

#include "support/test_environment.h"

#include <map>
#include <utility>

static std::map<std::string, ChildBody>& Bodies()
{
    static std::map<std::string, ChildBody> s_bodies;
    return s_bodies;
}

ChildRegistration::ChildRegistration(const char* sName, ChildBody body)
{
    Bodies()[sName] = body;
}

int RunAsChild(const std::string& sName, const ChildArguments& args)
{
    return Bodies().at(sName)(args);
}

CChildProcess::CChildProcess(const std::string& sName, const ChildArguments& args)
    : CChildProcess(ChildProgram{TestProgram()}, Joined({std::string(kChildSwitch), sName}, args))
{
}

CChildProcess::~CChildProcess()
{
    Kill();
    if (m_hProcess != 0)
        Wait();
}

std::string CChildProcess::ReadLine()
{
    while (m_sPending.find('\n') == m_sPending.npos && ReadMore())
    {
    }
    const auto nEnd = std::min(m_sPending.find('\n'), m_sPending.size());
    const std::string sLine = m_sPending.substr(0, nEnd);
    m_sPending.erase(0, nEnd + 1);
    return sLine;
}

ChildResult CChildProcess::Wait()
{
    while (ReadMore())
    {
    }
    const int iExitCode = WaitForExit();
    m_hProcess = 0;
    return {iExitCode, std::move(m_sPending)};
}
