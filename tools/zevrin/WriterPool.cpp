#include "WriterPool.h"

#include <algorithm>

namespace ZevrinTool {

WriterPool::WriterPool(std::size_t maxBytes) : m_maxBytes(maxBytes) {
    const unsigned int count = std::max(std::thread::hardware_concurrency(), 2U);
    try {
        for (unsigned int i = 0; i < count; ++i) {
            m_threads.emplace_back([this] { Run(); });
        }
    } catch (...) {
        Finish();  // those that there are
        throw;
    }
}

WriterPool::~WriterPool() {
    Finish();
}

bool WriterPool::Offer(std::size_t bytes, std::function<void()> work) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (bytes > m_maxBytes - m_bytes) {
        return false;
    }
    m_bytes += bytes;
    m_jobs.push_back({bytes, std::move(work)});
    m_changed.notify_one();
    return true;
}

void WriterPool::Finish() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isFinishing = true;
    }
    m_changed.notify_all();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    m_threads.clear();
}

void WriterPool::Run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isFinishing || !m_jobs.empty(); });
        if (m_jobs.empty()) {
            return;
        }
        Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job.work();
        job.work = nullptr;
        lock.lock();
        m_bytes -= job.bytes;
    }
}

}  // namespace ZevrinTool
