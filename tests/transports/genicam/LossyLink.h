#pragma once

#include <atomic>
#include <map>
#include <thread>
#include <vector>

namespace Zevrin {

/// Carries Ethernet frames between a camera and this machine, loses the second packet of pixels of each of
/// the camera's images, and answers requests for it in the camera's place, since Aravis' fake camera does
/// not.
class LossyLink {
  public:
    /// @param nearEnd, farEnd  handles that give and take whole frames
    LossyLink(int nearEnd, int farEnd);
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
    const int m_end;                       // readable: the thread is to end
    std::map<unsigned int, Bytes> m_kept;  // what was lost, by the number of its image
    std::atomic<unsigned int> m_lost{0};
    std::atomic<unsigned int> m_requested{0};
    std::thread m_thread;
};

}  // namespace Zevrin
