// A bounded queue of lines between the reader and the workers.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <utility>

struct CLine
{
    std::size_t m_nNumber = 0; ///< from 1
    std::string m_sText;
};

class CLineQueue
{
public:
    /// Waits while the queue is full.
    void Push(CLine line)
    {
        std::unique_lock lock(m_Mutex);
        m_NotFull.wait(lock, [this] { return m_Lines.size() < s_nCapacity; });
        m_Lines.push_back(std::move(line));
        m_NotEmpty.notify_one();
    }

    /// No more lines will come; the workers finish what is queued.
    void Close()
    {
        const std::lock_guard lock(m_Mutex);
        m_bClosed = true;
        m_NotEmpty.notify_all();
    }

    /// False when the queue is closed and empty.
    bool Pop(CLine& line)
    {
        std::unique_lock lock(m_Mutex);
        m_NotEmpty.wait(lock, [this] { return m_bClosed || !m_Lines.empty(); });
        if (m_Lines.empty())
            return false;
        line = std::move(m_Lines.front());
        m_Lines.pop_front();
        m_NotFull.notify_one();
        return true;
    }

private:
    static constexpr std::size_t s_nCapacity = 256;

    std::mutex m_Mutex;
    std::condition_variable m_NotEmpty;
    std::condition_variable m_NotFull;
    std::deque<CLine> m_Lines;
    bool m_bClosed = false;
};
