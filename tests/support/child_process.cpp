#include "support/child_process.h"

#include "support/test_environment.h"

#include <cstdio>
#include <map>

namespace
{
std::map<std::string, ChildBody>& Bodies()
{
    static std::map<std::string, ChildBody> s_bodies;
    return s_bodies;
}

void DropCarriageReturns(std::string& sText)
{
    for (auto n = sText.find("\r\n"); n != sText.npos; n = sText.find("\r\n", n))
        sText.erase(n, 1);
}
} // namespace

ChildRegistration::ChildRegistration(const char* sName, ChildBody body)
{
    Bodies()[sName] = body;
}

int RunAsChild(const std::string& sName, const ChildArguments& args)
{
    const auto it = Bodies().find(sName);
    if (it == Bodies().end())
    {
        std::fprintf(stderr, "no child body '%s'\n", sName.c_str());
        return 127;
    }
    return it->second(args);
}

static ChildArguments BodyArguments(const std::string& sName, const ChildArguments& args)
{
    ChildArguments all{std::string(kChildSwitch), sName};
    all.insert(all.end(), args.begin(), args.end());
    return all;
}

CChildProcess::CChildProcess(const std::string& sName, const ChildArguments& args)
    : CChildProcess(ChildProgram{TestProgram()}, BodyArguments(sName, args))
{
}

CChildProcess::~CChildProcess()
{
    Kill();
    Wait();
}

std::string CChildProcess::ReadLine()
{
    auto nEnd = m_sPending.find('\n');
    while (nEnd == m_sPending.npos && ReadMore())
        nEnd = m_sPending.find('\n');
    std::string sLine = m_sPending.substr(0, nEnd);
    m_sPending.erase(0, nEnd == m_sPending.npos ? nEnd : nEnd + 1);
    if (sLine.ends_with('\r'))
        sLine.pop_back();
    return sLine;
}

ChildResult CChildProcess::Wait()
{
    while (ReadMore())
    {
    }
    if (m_bRunning)
        m_iExitCode = WaitForExit();
    m_bRunning = false;
    ChildResult result{m_iExitCode, m_sPending};
    m_sPending.clear();
    DropCarriageReturns(result.m_sOutput);
    return result;
}
