#include "console.h"

namespace
{

constexpr std::uint64_t kMalformedShown = 10;
constexpr std::size_t kKindsKept = 100;

} // namespace

void CConsole::ShowProgress(std::uint64_t nDone)
{
    const std::lock_guard lock(m_Mutex);
    m_Progress.Show(nDone);
}

void CConsole::HideProgress()
{
    const std::lock_guard lock(m_Mutex);
    m_Progress.Hide();
}

void CConsole::Print(std::FILE* pFile, const std::string& sText)
{
    const std::lock_guard lock(m_Mutex);
    m_Progress.Hide();
    if (pFile == stderr)
        std::fflush(stdout); // a message stands after what it is about
    std::fputs(sText.c_str(), pFile);
    if (pFile == stderr)
        std::fflush(pFile);
}

void CConsole::SayMalformed(std::size_t nLine, const std::string& sReason)
{
    {
        const std::lock_guard lock(m_Mutex);
        if (++m_nMalformed > kMalformedShown)
            return;
    }
    Print(stderr, Place(nLine) + sReason + '\n');
}

void CConsole::SayRefused(std::size_t nLine, const std::string& sKind, const std::string& sReason)
{
    {
        const std::lock_guard lock(m_Mutex);
        const auto it = m_Refused.find(sKind);
        if (it != m_Refused.end() || m_Refused.size() == kKindsKept)
        {
            if (it != m_Refused.end())
                ++it->second.m_nCount;
            return;
        }
        m_Refused[sKind] = {sReason, 1};
    }
    Print(stderr, Place(nLine) + sReason + '\n');
}

void CConsole::SayCounts()
{
    if (m_nMalformed > kMalformedShown)
        Say(std::to_string(m_nMalformed - kMalformedShown) + " more malformed lines are in the log");
    for (const auto& [sKind, kind] : m_Refused)
        if (kind.m_nCount > 1)
            Say(std::to_string(kind.m_nCount) + " times in all: " + kind.m_sFirst);
}
