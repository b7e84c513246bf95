#include "WriteQueue.h"

#include <algorithm>
#include <utility>

namespace ZevrinTool {

bool WriteQueue::Push(Shot&& shot) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const unsigned long long bytes = shot.image.GetDataSize();
        const bool hasRoom = m_fill.frames == 0 || m_fill.bytes + bytes <= m_limits.bytes;
        if (m_closed || m_frames[shot.camera] >= m_limits.framesPerCamera || !hasRoom) {
            return false;
        }
        ++m_frames[shot.camera];
        ++m_fill.frames;
        m_fill.bytes += bytes;
        m_highest.frames = std::max(m_highest.frames, m_fill.frames);
        m_highest.bytes = std::max(m_highest.bytes, m_fill.bytes);
        m_waiting.push_back(std::move(shot));
    }
    m_changed.notify_one();
    return true;
}

bool WriteQueue::Pop(Shot* pShot) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_closed || !m_waiting.empty(); });
    if (m_waiting.empty()) {
        return false;
    }
    *pShot = std::move(m_waiting.front());
    m_waiting.pop_front();
    return true;
}

void WriteQueue::Finish(std::size_t camera, std::size_t bytes) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_frames[camera];
    --m_fill.frames;
    m_fill.bytes -= bytes;
}

void WriteQueue::Close() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
    }
    m_changed.notify_all();
}

std::vector<unsigned long long> WriteQueue::Discard() {
    Close();
    std::deque<Shot> given;  // their buffers go back to the streams outside the lock
    std::vector<unsigned long long> counts(m_frames.size());
    const std::lock_guard<std::mutex> lock(m_mutex);
    given.swap(m_waiting);
    for (const Shot& shot : given) {
        ++counts[shot.camera];
        --m_frames[shot.camera];
        --m_fill.frames;
        m_fill.bytes -= shot.image.GetDataSize();
    }
    return counts;
}

bool WriteQueue::IsClosed() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_closed;
}

QueueFill WriteQueue::GetFill() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_fill;
}

QueueFill WriteQueue::GetHighest() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_highest;
}

}  // namespace ZevrinTool
