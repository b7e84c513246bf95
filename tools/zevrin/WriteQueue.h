#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include <zevrin/Image.h>

namespace ZevrinTool {

/// A frame on its way to a file. It is the stream's own buffer: nothing is copied.
struct Shot {
    std::size_t camera = 0;  ///< its place among the cameras of the recording
    unsigned long long number = 0;
    unsigned long long burst = 0;  ///< 0: there are no bursts
    std::string file;              ///< its name in the folder
    Zevrin::Image image;
};

/// What may wait to be written.
struct QueueLimits {
    unsigned int framesPerCamera = 32;
    unsigned long long bytes = 512ULL << 20;  ///< of all cameras
};

/// What waits or is being written.
struct QueueFill {
    unsigned int frames = 0;
    unsigned long long bytes = 0;
};

/// Frames between the threads that take them from the cameras and those that write them. A frame counts from
/// when it is put in until it has been written, for so long it holds a buffer of its stream. Whoever finds it
/// full drops the frame: a camera cannot wait. Threads: any.
class WriteQueue {
  public:
    WriteQueue(const QueueLimits& limits, std::size_t cameras) : m_limits(limits), m_frames(cameras) {}

    /// False when there is no room, and after `Close` and `Discard`; the shot stays with the caller. A single
    /// frame always has room, however large it is.
    bool Push(Shot&& shot);

    /// Waits for the oldest frame. False when the queue is closed and nothing waits any more.
    bool Pop(Shot* pShot);

    /// The frame that `Pop` gave has been written, or given up.
    void Finish(std::size_t camera, std::size_t bytes);

    /// Nothing comes any more; what waits is still written.
    void Close();

    /// Nothing comes any more, and what waits is given up: so many frames of each camera.
    std::vector<unsigned long long> Discard();

    bool IsClosed() const;
    QueueFill GetFill() const;
    QueueFill GetHighest() const;

  private:
    const QueueLimits m_limits;
    mutable std::mutex m_mutex;  // guards what follows
    std::condition_variable m_changed;
    std::deque<Shot> m_waiting;
    std::vector<unsigned int> m_frames;  // of each camera
    QueueFill m_fill;
    QueueFill m_highest;
    bool m_closed = false;
};

}  // namespace ZevrinTool
