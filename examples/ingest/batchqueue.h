// A bounded queue of batches between the reader and the workers.
#pragma once

#include "packagelog.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <utility>
#include <vector>

using CBatch = std::vector<CPackageEvent>;

class CBatchQueue
{
public:
    explicit CBatchQueue(std::size_t nCapacity) : m_nCapacity(nCapacity) {}

    /// Waits while the queue is full.
    void Push(CBatch batch)
    {
        std::unique_lock lock(m_Mutex);
        m_Changed.wait(lock, [this] { return m_Batches.size() < m_nCapacity; });
        m_Batches.push_back(std::move(batch));
        ++m_nUnfinished;
        m_Changed.notify_all();
    }

    /// No more batches will come; the workers finish what is queued.
    void Close()
    {
        const std::lock_guard lock(m_Mutex);
        m_bClosed = true;
        m_Changed.notify_all();
    }

    /// False when the queue is closed and empty.
    bool Pop(CBatch& batch)
    {
        std::unique_lock lock(m_Mutex);
        m_Changed.wait(lock, [this] { return m_bClosed || !m_Batches.empty(); });
        if (m_Batches.empty())
            return false;
        batch = std::move(m_Batches.front());
        m_Batches.pop_front();
        m_Changed.notify_all();
        return true;
    }

    void Finished()
    {
        const std::lock_guard lock(m_Mutex);
        --m_nUnfinished;
        m_Changed.notify_all();
    }

    /// Waits until everything that was pushed is finished.
    void WaitFinished()
    {
        std::unique_lock lock(m_Mutex);
        m_Changed.wait(lock, [this] { return m_nUnfinished == 0; });
    }

private:
    const std::size_t m_nCapacity;
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::deque<CBatch> m_Batches;
    std::size_t m_nUnfinished = 0;
    bool m_bClosed = false;
};
