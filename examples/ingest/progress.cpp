#include "progress.h"

#include "platform.h"

#include <cstdio>
#include <string>

CProgress::CProgress(std::uint64_t nTotal) : m_nTotal(nTotal), m_bTerminal(IsTerminal(stderr)) {}

CProgress::~CProgress()
{
    Hide();
}

void CProgress::Show(std::uint64_t nDone)
{
    const int iPercent = m_nTotal == 0 ? 100 : static_cast<int>(nDone * 100 / m_nTotal);
    if (!m_bTerminal || iPercent == m_iShown)
        return;
    m_iShown = iPercent;
    const std::string sBar(static_cast<std::size_t>(iPercent) / 2, '#');
    std::fprintf(stderr, "\r[%-50s] %3d%%", sBar.c_str(), iPercent);
    std::fflush(stderr);
}

void CProgress::Hide()
{
    if (m_iShown < 0)
        return;
    m_iShown = -1;
    std::fprintf(stderr, "\r%58s\r", "");
    std::fflush(stderr);
}
