#include "LossyLink.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstddef>

#include "Gvcp.h"

namespace Zevrin {

namespace {

constexpr unsigned int kResendCommand = 0x0040;  // PACKETRESEND_CMD
constexpr std::size_t kResendSize = 20;
constexpr std::size_t kStreamHeaderSize = 8;
constexpr unsigned int kPacketIdMask = 0xFFFFFF;
constexpr unsigned int kPixels = 3;  // a packet's format; leader and trailer have others
constexpr std::size_t kMaxFrame = 65536;

struct Datagram {
    unsigned int sourcePort = 0;
    unsigned int port = 0;
    const unsigned char* pData = nullptr;
    std::size_t size = 0;  ///< 0: the frame holds no UDP datagram
};

Datagram FindDatagram(const std::vector<unsigned char>& frame) {
    constexpr std::size_t kEthernet = 14;
    constexpr std::size_t kIp = 20;  // without options, which nobody here sends
    constexpr std::size_t kUdp = 8;
    const unsigned char* const pUdp = frame.data() + kEthernet + kIp;
    if (frame.size() < kEthernet + kIp + kUdp || ReadBig16(&frame[12]) != 0x0800 || frame[23] != 17) {
        return Datagram();
    }
    return {ReadBig16(pUdp), ReadBig16(pUdp + 2), pUdp + kUdp, frame.size() - kEthernet - kIp - kUdp};
}

}  // namespace

LossyLink::LossyLink(int nearEnd, int farEnd, unsigned int interval, unsigned int imageInterval)
    : m_nearEnd(nearEnd),
      m_farEnd(farEnd),
      m_interval(interval),
      m_imageInterval(imageInterval),
      m_end(eventfd(0, EFD_CLOEXEC)),
      m_thread([this] { Carry(); }) {}

LossyLink::~LossyLink() {
    eventfd_write(m_end, 1);
    m_thread.join();
    close(m_end);
}

void LossyLink::Carry() {
    pollfd events[] = {{m_nearEnd, POLLIN, 0}, {m_farEnd, POLLIN, 0}, {m_end, POLLIN, 0}};
    while (poll(events, 3, -1) >= 0 && events[2].revents == 0) {
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
    if (datagram.port != kGvcpPort || datagram.size < kResendSize ||
        ReadBig16(datagram.pData + 2) != kResendCommand) {
        m_lost += write(m_farEnd, frame.data(), frame.size()) < 0 ? 1 : 0;
        return;
    }
    const unsigned int image = ReadBig16(datagram.pData + 10);
    const auto first = m_kept.lower_bound({image, ReadBig32(datagram.pData + 12) & kPacketIdMask});
    const auto end = m_kept.upper_bound({image, ReadBig32(datagram.pData + 16) & kPacketIdMask});
    for (auto kept = first; kept != end; ++kept) {
        ++m_requested;
        m_lost += write(m_nearEnd, kept->second.data(), kept->second.size()) < 0 ? 1 : 0;
    }
}

/// From the camera.
void LossyLink::Deliver(const Bytes& frame) {
    const Datagram datagram = FindDatagram(frame);
    const bool isStream = datagram.sourcePort != kGvcpPort && datagram.size >= kStreamHeaderSize;
    const unsigned int image = isStream ? ReadBig16(datagram.pData + 2) : 0;
    const bool isPixels = isStream && (datagram.pData[4] & 0x0F) == kPixels;
    if (isStream && m_imageInterval != 0 && image % m_imageInterval == 0) {
        ++m_lost;
    } else if (isPixels && ++m_passed % m_interval == 0) {
        m_kept[{image, ReadBig32(datagram.pData + 4) & kPacketIdMask}] = frame;
        ++m_lost;
    } else {
        m_lost += write(m_nearEnd, frame.data(), frame.size()) < 0 ? 1 : 0;
    }
}

}  // namespace Zevrin
