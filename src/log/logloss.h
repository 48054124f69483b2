// Lines that never came to their file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <ctime>

struct CLogLoss
{
    void Add(std::uint64_t nLines, std::uint64_t nBytes, std::int64_t tNow)
    {
        if (m_nLines == 0)
            m_tFirst = tNow;
        m_tLast = tNow;
        m_nLines += nLines;
        m_nBytes += nBytes;
    }

    void Add(const CLogLoss& other)
    {
        if (other.m_nLines == 0)
            return;
        m_tFirst = m_nLines == 0 ? other.m_tFirst : std::min(m_tFirst, other.m_tFirst);
        m_tLast = m_nLines == 0 ? other.m_tLast : std::max(m_tLast, other.m_tLast);
        m_nLines += other.m_nLines;
        m_nBytes += other.m_nBytes;
    }

    std::uint64_t m_nLines = 0;
    std::uint64_t m_nBytes = 0;
    std::int64_t m_tFirst = 0;
    std::int64_t m_tLast = 0;
};
