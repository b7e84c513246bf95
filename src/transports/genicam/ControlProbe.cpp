#include "ControlProbe.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>

#include "Gvcp.h"

namespace Zevrin {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kQuestionInterval(200);
constexpr unsigned int kQuestions = 5;
constexpr unsigned int kAnswersTaken = 16;  // late ones prove as much

/// Connected, so that only the device's own packets are received.
FileHandle Connect(const std::string& address) {
    sockaddr_in device{};
    device.sin_family = AF_INET;
    device.sin_port = htons(kGvcpPort);
    if (inet_pton(AF_INET, address.c_str(), &device.sin_addr) != 1) {
        return FileHandle();
    }
    FileHandle handle(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const bool isConnected =
        handle.IsOpen() &&
        connect(handle.Get(), reinterpret_cast<const sockaddr*>(&device), sizeof device) == 0;
    return isConnected ? std::move(handle) : FileHandle();
}

}  // namespace

ControlProbe::ControlProbe(const std::string& address) : m_socket(Connect(address)) {}

void ControlProbe::Send(unsigned int command, const unsigned char* payload, std::size_t size) {
    m_requestId = static_cast<unsigned short>(m_requestId == 0xFFFF ? 1 : m_requestId + 1);  // never 0
    std::vector<unsigned char> packet(kGvcpHeaderSize);
    packet[0] = kGvcpKey;
    packet[1] = kGvcpAskForAnswer;
    WriteBig16(command, &packet[2]);
    WriteBig16(static_cast<unsigned int>(size), &packet[4]);
    WriteBig16(m_requestId, &packet[6]);
    packet.insert(packet.end(), payload, payload + size);
    // A question that cannot be sent has no answer; nor has one to a port that nobody serves.
    const auto sent = send(m_socket.Get(), packet.data(), packet.size(), 0);
    static_cast<void>(sent);
}

void ControlProbe::Ask() {
    std::array<unsigned char, 4> address{};
    WriteBig16(GvcpRegister::kVersion, &address[2]);
    Send(GvcpCommand::kReadRegister, address.data(), address.size());
}

bool ControlProbe::TakeAnswer() {
    std::array<unsigned char, kGvcpMaxPacketSize> packet;
    const auto size = recv(m_socket.Get(), packet.data(), packet.size(), 0);
    if (size < static_cast<ssize_t>(kGvcpHeaderSize)) {
        return false;
    }
    const unsigned int age = (m_requestId - ReadBig16(&packet[6])) & 0xFFFFU;
    return ReadBig16(&packet[2]) == GvcpCommand::kReadRegister + kGvcpAcknowledgeStep && age < kAnswersTaken;
}

bool ControlProbe::WaitForAnswer(std::chrono::milliseconds limit, int wakeHandle) {
    return Awaits(limit, wakeHandle, [this] { return TakeAnswer(); });
}

bool ControlProbe::ReadMemory(unsigned int address, unsigned int size, std::vector<unsigned char>* pBytes) {
    std::array<unsigned char, 8> question{};
    WriteBig16(address >> 16, question.data());
    WriteBig16(address & 0xFFFF, &question[2]);
    WriteBig16(size, &question[6]);
    std::vector<unsigned char> packet;
    const auto take = [&] { return TakeAcknowledge(GvcpCommand::kReadMemory, &packet); };
    bool isAnswered = false;
    for (unsigned int count = 0; m_socket.IsOpen() && !isAnswered && count < kQuestions; ++count) {
        Send(GvcpCommand::kReadMemory, question.data(), question.size());
        isAnswered = Awaits(kQuestionInterval, -1, take);
    }
    const std::size_t begin = kGvcpHeaderSize + 4;  // after the address
    if (!isAnswered || packet.size() != begin + size || ReadBig16(packet.data()) != 0 ||
        ReadBig32(&packet[kGvcpHeaderSize]) != address) {
        return false;
    }
    pBytes->assign(packet.begin() + begin, packet.end());
    return true;
}

bool ControlProbe::ReadRegister(unsigned int address, unsigned int* pValue) {
    std::array<unsigned char, 4> question{};
    WriteBig16(address >> 16, question.data());
    WriteBig16(address & 0xFFFF, &question[2]);
    std::vector<unsigned char> packet;
    Send(GvcpCommand::kReadRegister, question.data(), question.size());
    if (!Awaits(kQuestionInterval, -1,
                [&] { return TakeAcknowledge(GvcpCommand::kReadRegister, &packet); }) ||
        packet.size() != kGvcpHeaderSize + sizeof(*pValue) || ReadBig16(packet.data()) != 0) {
        return false;
    }
    *pValue = ReadBig32(&packet[kGvcpHeaderSize]);
    return true;
}

/// Of the last question, which was this command.
bool ControlProbe::TakeAcknowledge(unsigned int command, std::vector<unsigned char>* pPacket) {
    pPacket->resize(kGvcpMaxPacketSize);
    const auto received = recv(m_socket.Get(), pPacket->data(), pPacket->size(), 0);
    pPacket->resize(static_cast<std::size_t>(std::max<ssize_t>(received, 0)));
    return pPacket->size() >= kGvcpHeaderSize &&
           ReadBig16(&(*pPacket)[2]) == command + kGvcpAcknowledgeStep &&
           ReadBig16(&(*pPacket)[6]) == m_requestId;
}

/// Until `take` finds the packet that has arrived to be the answer.
bool ControlProbe::Awaits(std::chrono::milliseconds limit, int wakeHandle,
                          const std::function<bool()>& take) {
    const auto deadline = Clock::now() + limit;
    for (;;) {
        // Rounded up: the last fraction of a millisecond is not spent in a hurry.
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        std::array<pollfd, 2> events{{{m_socket.Get(), POLLIN, 0}, {wakeHandle, POLLIN, 0}}};
        const int ready = poll(events.data(), events.size(), static_cast<int>(std::max<long long>(left, 0)));
        if (ready > 0 && events[1].revents != 0) {
            return false;
        }
        if (ready > 0 && take()) {
            return true;
        }
        if (left <= 0) {
            return false;
        }
    }
}

bool ControlProbe::Finds() {
    for (unsigned int question = 0; m_socket.IsOpen() && question < kQuestions; ++question) {
        Ask();
        if (WaitForAnswer(kQuestionInterval, -1)) {
            return true;
        }
    }
    return false;
}

std::string ControlProbe::GetOwnAddress() const {
    sockaddr_in own{};
    socklen_t size = sizeof own;
    char text[INET_ADDRSTRLEN] = {};
    if (!m_socket.IsOpen() || getsockname(m_socket.Get(), reinterpret_cast<sockaddr*>(&own), &size) != 0 ||
        inet_ntop(AF_INET, &own.sin_addr, text, sizeof text) == nullptr) {
        return std::string();
    }
    return text;
}

}  // namespace Zevrin
