#include "EventListener.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "Failure.h"
#include "FormatText.h"
#include "Log.h"

namespace Zevrin {

namespace {

constexpr std::size_t kRemembered = 64;  // commands; a device repeats one before it sends many others

}  // namespace

EventListener::EventListener(const std::string& ownAddress, const std::string& deviceAddress,
                             std::function<void(const EventRecord&)> deliver)
    : m_ownAddress(ownAddress),
      m_deviceAddress(deviceAddress),
      m_deliver(std::move(deliver)),
      m_recent(kRemembered) {}

EventListener::~EventListener() {
    const boost::this_thread::disable_interruption notInterrupted;
    if (m_thread.joinable()) {
        eventfd_write(m_end.Get(), 1);
        m_thread.join();
    }
}

Error EventListener::Start() {
    sockaddr_in own{};
    own.sin_family = AF_INET;
    socklen_t size = sizeof own;
    in_addr device{};
    m_socket = FileHandle(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    m_end = FileHandle(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    const bool isReady = m_socket.IsOpen() && m_end.IsOpen() &&
                         inet_pton(AF_INET, m_ownAddress.c_str(), &own.sin_addr) == 1 &&
                         inet_pton(AF_INET, m_deviceAddress.c_str(), &device) == 1 &&
                         bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&own), size) == 0 &&
                         getsockname(m_socket.Get(), reinterpret_cast<sockaddr*>(&own), &size) == 0;
    if (!isReady) {
        return Failure(ERR_EVENT_FAILED, "No port can be had for events of the camera at %s: %s.",
                       Printable(m_deviceAddress).c_str(), std::strerror(errno));
    }
    m_device = device.s_addr;
    m_address = ntohl(own.sin_addr.s_addr);
    m_port = ntohs(own.sin_port);
    try {
        m_thread = boost::thread([this] { Run(); });
    } catch (const boost::thread_resource_error&) {
        return Failure(ERR_EVENT_FAILED, "The system refuses a thread that listens for device events.");
    }
    return Error();
}

void EventListener::Run() {
    std::array<pollfd, 2> events{{{m_socket.Get(), POLLIN, 0}, {m_end.Get(), POLLIN, 0}}};
    for (;;) {
        if (poll(events.data(), events.size(), -1) <= 0) {
            continue;
        }
        if (events[1].revents != 0) {
            return;
        }
        Receive();
    }
}

void EventListener::Receive() {
    std::array<unsigned char, kGvcpMaxPacketSize + 1> packet;  // one more shows that it was longer
    sockaddr_in sender{};
    socklen_t senderSize = sizeof sender;
    const ssize_t size = recvfrom(m_socket.Get(), packet.data(), packet.size(), 0,
                                  reinterpret_cast<sockaddr*>(&sender), &senderSize);
    if (size < 0 || sender.sin_addr.s_addr != m_device) {
        return;
    }
    EventCommand command;
    const char* const defect = ParseEventCommand(packet.data(), static_cast<std::size_t>(size), &command);
    if (defect != nullptr) {
        ++m_malformed;
        if ((m_malformed & (m_malformed - 1)) == 0) {
            Log().warn(
                "A packet of {} bytes on the message channel of the camera at {} is ignored, {} so "
                "far: {}.",
                size, Printable(m_deviceAddress), m_malformed, defect);
        }
        return;
    }
    if (command.isAnswerWanted) {  // also again: the device did not get the first one
        const auto answer = MakeEventAcknowledge(command);
        const auto sent = sendto(m_socket.Get(), answer.data(), answer.size(), 0,
                                 reinterpret_cast<const sockaddr*>(&sender), senderSize);
        static_cast<void>(sent);  // a lost one is asked for again
    }
    if (!IsRepetition(command.requestId)) {
        std::for_each(command.events.begin(), command.events.end(), m_deliver);
    }
}

bool EventListener::IsRepetition(unsigned int requestId) {
    if (std::find(m_recent.begin(), m_recent.end(), requestId) != m_recent.end()) {
        return true;
    }
    m_recent.push_back(requestId);
    return false;
}

}  // namespace Zevrin
