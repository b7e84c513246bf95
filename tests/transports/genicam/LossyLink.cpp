#include "LossyLink.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>

namespace Zevrin {

namespace {

constexpr unsigned int kControlPort = 3956;      // GVCP
constexpr unsigned int kResendCommand = 0x0040;  // PACKETRESEND_CMD
constexpr std::size_t kResendSize = 20;
constexpr std::size_t kStreamHeaderSize = 8;
constexpr std::uint32_t kPacketIdMask = 0xFFFFFF;
constexpr std::size_t kMaxKept = 4096;
constexpr std::size_t kMaxFrame = 65536;

std::uint32_t ReadNumber(const unsigned char* pBytes, std::size_t size) {
    std::uint32_t number = 0;
    for (std::size_t index = 0; index < size; ++index) {
        number = number << 8 | pBytes[index];
    }
    return number;
}

struct Datagram {
    unsigned int sourcePort = 0;
    unsigned int port = 0;
    const unsigned char* pData = nullptr;  ///< null: the frame holds no UDP datagram
    std::size_t size = 0;
};

Datagram FindDatagram(const std::vector<unsigned char>& frame) {
    constexpr std::size_t kEthernet = 14;
    constexpr std::size_t kUdp = 8;
    const unsigned char* const pIp = frame.data() + kEthernet;
    if (frame.size() < kEthernet + 20 + kUdp || ReadNumber(frame.data() + 12, 2) != 0x0800 || pIp[9] != 17) {
        return Datagram();
    }
    const unsigned char* const pUdp = pIp + (pIp[0] & 0x0F) * 4;
    const unsigned char* const pData = pUdp + kUdp;
    const unsigned char* const pEnd = frame.data() + frame.size();
    if (pData > pEnd) {
        return Datagram();
    }
    return {ReadNumber(pUdp, 2), ReadNumber(pUdp + 2, 2), pData, static_cast<std::size_t>(pEnd - pData)};
}

}  // namespace

LossyLink::LossyLink(int nearEnd, int farEnd, double lossRatio)
    : m_nearEnd(nearEnd),
      m_farEnd(farEnd),
      m_end(eventfd(0, EFD_CLOEXEC)),
      m_isLost(lossRatio),
      m_thread([this] { Carry(); }) {}

LossyLink::~LossyLink() {
    eventfd_write(m_end, 1);
    m_thread.join();
    close(m_end);
}

void LossyLink::Carry() {
    std::array<pollfd, 3> events{{{m_nearEnd, POLLIN, 0}, {m_farEnd, POLLIN, 0}, {m_end, POLLIN, 0}}};
    while (poll(events.data(), events.size(), -1) >= 0 && events[2].revents == 0) {
        for (const pollfd& event : {events[0], events[1]}) {
            if (event.revents == 0) {
                continue;
            }
            Bytes frame(kMaxFrame);
            const ssize_t size = read(event.fd, frame.data(), frame.size());
            frame.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
            if (event.fd == m_nearEnd) {
                Send(frame);
            } else {
                Deliver(frame);
            }
        }
    }
}

/// To the camera.
void LossyLink::Send(const Bytes& frame) {
    const Datagram datagram = FindDatagram(frame);
    if (datagram.port == kControlPort && datagram.size >= kResendSize &&
        ReadNumber(datagram.pData + 2, 2) == kResendCommand) {
        Resend(datagram.pData);
    } else if (write(m_farEnd, frame.data(), frame.size()) < 0) {
        ++m_lost;
    }
}

/// From the camera.
void LossyLink::Deliver(const Bytes& frame) {
    const Datagram datagram = FindDatagram(frame);
    if (datagram.sourcePort != kControlPort && datagram.size >= kStreamHeaderSize) {
        const std::uint32_t block = ReadNumber(datagram.pData + 2, 2);
        m_order.emplace_back(block, ReadNumber(datagram.pData + 4, 4) & kPacketIdMask);
        m_sent[m_order.back()] = frame;
        if (m_order.size() > kMaxKept) {
            m_sent.erase(m_order.front());
            m_order.pop_front();
        }
        if (m_isLost(m_random)) {
            ++m_lost;
            return;
        }
    }
    if (write(m_nearEnd, frame.data(), frame.size()) < 0) {
        ++m_lost;
    }
}

void LossyLink::Resend(const unsigned char* pRequest) {
    const std::uint32_t block = ReadNumber(pRequest + 10, 2);
    const std::uint32_t last = ReadNumber(pRequest + 16, 4) & kPacketIdMask;
    for (auto found = m_sent.lower_bound({block, ReadNumber(pRequest + 12, 4) & kPacketIdMask});
         found != m_sent.end() && found->first.first == block && found->first.second <= last; ++found) {
        ++m_requested;
        if (m_isLost(m_random)) {
            ++m_lost;
        } else if (write(m_nearEnd, found->second.data(), found->second.size()) < 0) {
            ++m_lost;
        }
    }
}

}  // namespace Zevrin
