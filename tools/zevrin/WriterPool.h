#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace ZevrinTool {

/// Threads that work through what grab threads hand over, so that no stream has to wait for a disk. What
/// waits is bounded by its bytes; more is refused at once.
class WriterPool {
  public:
    explicit WriterPool(std::size_t maxBytes);
    ~WriterPool();
    WriterPool(const WriterPool&) = delete;
    WriterPool& operator=(const WriterPool&) = delete;

    /// @param bytes  held by the work until it is done
    /// False when that is more than may wait. The work must not throw.
    bool Offer(std::size_t bytes, std::function<void()> work);

    /// Waits until all is done. Nothing is to be offered any more.
    void Finish();

  private:
    struct Job {
        std::size_t bytes;
        std::function<void()> work;
    };
    void Run();

    const std::size_t m_maxBytes;
    std::mutex m_mutex;  // guards all below but the threads
    std::condition_variable m_changed;
    std::deque<Job> m_jobs;
    std::size_t m_bytes = 0;  // of the jobs that wait or are worked on
    bool m_isFinishing = false;
    std::vector<std::thread> m_threads;
};

}  // namespace ZevrinTool
