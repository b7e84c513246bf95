#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace Zevrin {

/// Carries Ethernet frames between a camera and this machine, loses some of the camera's stream packets, and
/// answers requests for them in the camera's place, since Aravis' fake camera does not. What is sent again
/// can be lost again.
class LossyLink {
  public:
    /// @param nearEnd, farEnd  handles that give and take whole frames
    /// @param lossRatio        0 to 1
    LossyLink(int nearEnd, int farEnd, double lossRatio);
    ~LossyLink();
    LossyLink(const LossyLink&) = delete;
    LossyLink& operator=(const LossyLink&) = delete;

    unsigned int GetLost() const { return m_lost; }
    unsigned int GetRequested() const { return m_requested; }

  private:
    using Bytes = std::vector<unsigned char>;
    using PacketId = std::pair<std::uint32_t, std::uint32_t>;  // of the block and in it

    void Carry();
    void Send(const Bytes& frame);
    void Deliver(const Bytes& frame);
    void Resend(const unsigned char* pRequest);

    const int m_nearEnd;
    const int m_farEnd;
    int m_end = -1;  // readable: the thread is to end
    std::mt19937 m_random;
    std::bernoulli_distribution m_isLost;
    std::map<PacketId, Bytes> m_sent;
    std::deque<PacketId> m_order;  // in which they were sent
    std::atomic<unsigned int> m_lost{0};
    std::atomic<unsigned int> m_requested{0};
    std::thread m_thread;
};

}  // namespace Zevrin
