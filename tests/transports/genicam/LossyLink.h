#pragma once

#include <atomic>
#include <map>
#include <thread>
#include <utility>
#include <vector>

namespace Zevrin {

/// Carries Ethernet frames between a camera and this machine, loses some of the packets of its images, and
/// answers requests for them in the camera's place, since Aravis' fake camera does not.
class LossyLink {
  public:
    /// @param nearEnd, farEnd  handles that give and take whole frames
    /// @param interval       of so many packets of pixels one is lost
    /// @param imageInterval  of so many images one is lost as a whole; 0: none
    LossyLink(int nearEnd, int farEnd, unsigned int interval, unsigned int imageInterval);
    ~LossyLink();
    LossyLink(const LossyLink&) = delete;
    LossyLink& operator=(const LossyLink&) = delete;

    unsigned int GetLost() const { return m_lost; }
    unsigned int GetRequested() const { return m_requested; }

  private:
    using Bytes = std::vector<unsigned char>;

    void Carry();
    void Send(const Bytes& frame);
    void Deliver(const Bytes& frame);

    const int m_nearEnd;
    const int m_farEnd;
    const unsigned int m_interval;
    const unsigned int m_imageInterval;
    const int m_end;  // readable: the thread is to end
    unsigned int m_passed = 0;
    std::map<std::pair<unsigned int, unsigned int>, Bytes> m_kept;  // lost ones, by image and packet
    std::atomic<unsigned int> m_lost{0};
    std::atomic<unsigned int> m_requested{0};
    std::thread m_thread;
};

}  // namespace Zevrin
