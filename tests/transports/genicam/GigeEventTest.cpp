#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <thread>

#include "EventPackets.h"
#include "GigeFixture.h"

namespace Zevrin {
namespace {

using Bytes = std::vector<unsigned char>;

// Written out by hand from the standard. EVENT_CMD, answer wanted, request 0x0102: end of exposure of block 7
// on stream channel 0, at 0x0000000100000002 ticks.
const Bytes kExposureEnd = {0x42, 0x01, 0x00, 0xC0, 0x00, 0x10, 0x01, 0x02,  //
                            0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x07,  //
                            0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x02};
const Bytes kExposureEndAnswer = {0x00, 0x00, 0x00, 0xC1, 0x00, 0x00, 0x01, 0x02};

// EVENTDATA_CMD, answer wanted, request 0x0103: the device's own event 0x9001, with four bytes of data.
const Bytes kOverheat = {0x42, 0x01, 0x00, 0xC2, 0x00, 0x14, 0x01, 0x03,  //
                         0x00, 0x00, 0x90, 0x01, 0xFF, 0xFF, 0x00, 0x00,  //
                         0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0A,  //
                         0xDE, 0xAD, 0xBE, 0xEF};
const Bytes kOverheatAnswer = {0x00, 0x00, 0x00, 0xC3, 0x00, 0x00, 0x01, 0x03};

// EVENT_CMD, no answer wanted, request 0x0104: two events, start and end of exposure, of block 8.
const Bytes kTwoEvents = {0x42, 0x00, 0x00, 0xC0, 0x00, 0x20, 0x01, 0x04,  //
                          0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x08,  //
                          0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01,  //
                          0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x08,  //
                          0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02};

Bytes Changed(Bytes bytes, std::size_t index, unsigned char value) {
    bytes[index] = value;
    return bytes;
}

Bytes Cut(Bytes bytes, std::size_t size) {
    bytes.resize(size);
    return bytes;
}

/// An EVENT_CMD with flag 0x10 has 64-bit block ids, and records of another length.
const struct {
    const char* what;
    Bytes bytes;
} kMalformed[] = {
    {"nothing", {}},
    {"less than a header", Cut(kExposureEnd, 7)},
    {"a header alone", Cut(kExposureEnd, 8)},
    {"cut within the event", Cut(kExposureEnd, 23)},
    {"cut within the data", Cut(kOverheat, 27)},
    {"more than its length", Cut(kExposureEnd, 25)},
    {"a length that wraps", Changed(Changed(kExposureEnd, 4, 0xFF), 5, 0xF8)},
    {"another key", Changed(kExposureEnd, 0, 0x43)},
    {"an acknowledge", Changed(kExposureEnd, 3, 0xC1)},
    {"a command that is no event", Changed(kExposureEnd, 3, 0x80)},
    {"extended ids", Changed(kExposureEnd, 1, 0x11)},
    {"no event", {0x42, 0x00, 0x00, 0xC0, 0x00, 0x00, 0x01, 0x02}},
    {"one and a half events", Changed(Cut(kTwoEvents, 32), 5, 0x18)},
    {"data without an event", Changed(Cut(kOverheat, 12), 5, 0x04)},
};

TEST(EventPackets, GoldenBytesAreRead) {
    EventCommand command;
    ASSERT_EQ(ParseEventCommand(kExposureEnd.data(), kExposureEnd.size(), &command), nullptr);
    EXPECT_EQ(command.requestId, 0x0102U);
    EXPECT_TRUE(command.isAnswerWanted);
    ASSERT_EQ(command.events.size(), 1U);
    EXPECT_EQ(command.events[0].id, 3U);
    EXPECT_EQ(command.events[0].blockId, 7U);
    EXPECT_EQ(command.events[0].timeStamp, 0x100000002ULL);
    EXPECT_EQ(command.events[0].dataSize, 0U);
    const auto answer = MakeEventAcknowledge(command);
    EXPECT_EQ(Bytes(answer.begin(), answer.end()), kExposureEndAnswer);

    ASSERT_EQ(ParseEventCommand(kOverheat.data(), kOverheat.size(), &command), nullptr);
    ASSERT_EQ(command.events.size(), 1U);
    EXPECT_EQ(command.events[0].id, 0x9001U);
    EXPECT_EQ(command.events[0].streamChannel, 0xFFFFU);
    EXPECT_EQ(Bytes(command.events[0].data, command.events[0].data + command.events[0].dataSize),
              (Bytes{0xDE, 0xAD, 0xBE, 0xEF}));

    ASSERT_EQ(ParseEventCommand(kTwoEvents.data(), kTwoEvents.size(), &command), nullptr);
    EXPECT_FALSE(command.isAnswerWanted);
    ASSERT_EQ(command.events.size(), 2U);
    EXPECT_EQ(command.events[1].id, 3U);
}

TEST(EventPackets, MalformedOnesAreRefused) {
    for (const auto& row : kMalformed) {
        const Bytes exact(row.bytes);  // so that a sanitizer sees a read past the end
        EventCommand command;
        command.requestId = 77;
        EXPECT_NE(ParseEventCommand(exact.data(), exact.size(), &command), nullptr) << row.what;
        EXPECT_EQ(command.requestId, 77U) << row.what;
    }
}

/// The sending end of the message channel. Answers are waited for.
class Peer {
  public:
    explicit Peer(const char* address) : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in own = MakeName(address, 0);
        EXPECT_EQ(bind(m_socket, reinterpret_cast<sockaddr*>(&own), sizeof own), 0);
    }
    ~Peer() { close(m_socket); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void Send(unsigned int port, const Bytes& bytes) {
        const sockaddr_in host = MakeName("127.0.0.1", port);
        sendto(m_socket, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&host),
               sizeof host);
    }
    Bytes Receive() {
        pollfd event{m_socket, POLLIN, 0};
        Bytes bytes(64);
        const bool isThere = poll(&event, 1, 30000) == 1;
        bytes.resize(isThere ? static_cast<std::size_t>(recv(m_socket, bytes.data(), bytes.size(), 0)) : 0);
        return bytes;
    }

  private:
    static sockaddr_in MakeName(const char* address, unsigned int port) {
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_port = htons(static_cast<std::uint16_t>(port));
        inet_pton(AF_INET, address, &name.sin_addr);
        return name;
    }
    int m_socket;
};

/// What callbacks were told, in order.
class Told {
  public:
    EventOptions For(const char* name) {
        EventOptions options;
        options.eventName = name;
        options.userData = this;
        options.callback = [](const DeviceEvent* pEvent) {
            auto* const pThis = static_cast<Told*>(const_cast<void*>(pEvent->userData));
            char text[96];
            std::snprintf(text, sizeof text, "%s %x %llu +%u", pEvent->name, pEvent->id, pEvent->timeStamp,
                          pEvent->dataSize);
            const std::lock_guard<std::mutex> lock(pThis->m_mutex);
            pThis->m_texts.emplace_back(text);
            pThis->m_changed.notify_all();
        };
        return options;
    }
    std::vector<std::string> Wait(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, kPatience, [&] { return m_texts.size() >= count; });
        return m_texts;
    }

  private:
    std::mutex m_mutex;  // guards the texts
    std::condition_variable m_changed;
    std::vector<std::string> m_texts;
};

// The standard's registers, and those of the description below.
constexpr unsigned int kMessageChannels = 0x0900;
constexpr unsigned int kPort = 0x0B00;
constexpr unsigned int kDestination = 0x0B10;
constexpr unsigned int kNotificationOf = 0x4100;  // + 4 * value of the selector

constexpr char kEventDescription[] = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Events" VendorName="Test" StandardNameSpace="None" SchemaMajorVersion="1"
    SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
    ProductGuid="0" VersionGuid="0" xmlns="http://www.genicam.org/GenApi/Version_1_1">
  <Enumeration Name="EventSelector">
    <EnumEntry Name="ExposureStart"><Value>0</Value></EnumEntry>
    <EnumEntry Name="ExposureEnd"><Value>1</Value></EnumEntry>
    <EnumEntry Name="Overheat"><Value>2</Value></EnumEntry>
    <EnumEntry Name="Nameless"><Value>3</Value></EnumEntry>
    <pValue>Selected</pValue>
  </Enumeration>
  <Integer Name="Selected"><pValue>SelectedRegister</pValue></Integer>
  <IntReg Name="SelectedRegister"><Address>0x4000</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Endianess>BigEndian</Endianess></IntReg>
  <Enumeration Name="EventNotification">
    <EnumEntry Name="Off"><Value>0</Value></EnumEntry>
    <EnumEntry Name="On"><Value>1</Value></EnumEntry>
    <pValue>NotificationRegister</pValue>
  </Enumeration>
  <IntReg Name="NotificationRegister"><Address>0x4100</Address><pIndex Offset="4">Selected</pIndex>
    <Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>BigEndian</Endianess></IntReg>
  <Integer Name="EventOverheat"><Value>0x9001</Value></Integer>
  <Port Name="Device"/>
</RegisterDescription>
)";

class GigeEvents : public GigeTest {
  protected:
    void SetUp() override {
        m_description = testing::TempDir() + "zevrin-events-" + std::to_string(getpid()) + ".xml";
        std::ofstream(m_description) << kEventDescription;
        Serve();
    }
    ~GigeEvents() override { std::remove(m_description.c_str()); }

    /// The fake camera itself has no message channel.
    void Serve() {
        StartFakeCamera({"--genicam", m_description});
        TestCamera preparing;
        ASSERT_OK(preparing.Connect(kSerialNumber));
        const unsigned int one = 1;
        ASSERT_OK(preparing.WriteRegisterBlock(0, kMessageChannels, &one, 1));
    }

    unsigned int Look(unsigned int address) {
        unsigned int value = 0xDEADBEEF;
        EXPECT_EQ(Read(address, &value).GetType(), ERR_OK);
        return value;
    }

    std::string m_description;
    Told m_told;
};

TEST_F(GigeEvents, AreSwitchedOnReceivedOnceAcknowledgedAndSwitchedOff) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    EventOptions end = m_told.For("ExposureEnd");
    EventOptions overheat = m_told.For("Overheat");
    EventOptions nameless = m_told.For("Nameless");
    ASSERT_OK(m_camera.RegisterEvent(&end));
    ASSERT_OK(m_camera.RegisterEvent(&overheat));
    EXPECT_EQ(m_camera.RegisterEvent(&nameless).GetType(), ERR_FAILED) << "its number is nowhere told";
    const unsigned int port = Look(kPort);
    EXPECT_EQ(Look(kDestination), 0x7F000001U);
    EXPECT_EQ(Look(kNotificationOf), 0U);
    EXPECT_EQ(Look(kNotificationOf + 4), 1U);
    EXPECT_EQ(Look(kNotificationOf + 8), 1U);

    Peer camera("127.0.0.1");
    Peer stranger("127.0.0.2");
    stranger.Send(port, Changed(kExposureEnd, 7, 0x77));
    for (const auto& row : kMalformed) {
        camera.Send(port, row.bytes);
    }
    camera.Send(port, kExposureEnd);
    EXPECT_EQ(camera.Receive(), kExposureEndAnswer);
    camera.Send(port, kExposureEnd);  // the answer was lost
    EXPECT_EQ(camera.Receive(), kExposureEndAnswer);
    camera.Send(port, kTwoEvents);  // of which one is registered
    camera.Send(port, kOverheat);
    EXPECT_EQ(camera.Receive(), kOverheatAnswer);
    EXPECT_EQ(m_told.Wait(3), (std::vector<std::string>{"ExposureEnd 3 4294967298 +0", "ExposureEnd 3 2 +0",
                                                        "Overheat 9001 10 +4"}));

    ASSERT_OK(m_camera.DeregisterEvent(&end));
    EXPECT_EQ(Look(kNotificationOf + 4), 0U);
    EXPECT_EQ(Look(kNotificationOf + 8), 1U);
    EXPECT_EQ(Look(kPort), port);
    ASSERT_OK(m_camera.DeregisterAllEvents());
    EXPECT_EQ(Look(kNotificationOf + 8), 0U);
    EXPECT_EQ(Look(kPort), 0U);
    EventOptions all = m_told.For(nullptr);
    ASSERT_OK(m_camera.RegisterAllEvents(&all));
    EXPECT_EQ(Look(kNotificationOf) + Look(kNotificationOf + 4) + Look(kNotificationOf + 8), 3U);
}

TEST_F(GigeEvents, ComeAgainWithTheCamera) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    EventOptions end = m_told.For("ExposureEnd");
    ASSERT_OK(m_camera.RegisterEvent(&end));
    const auto waitForLoss = [&] {
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        unsigned int value = 0;
        while (Read(kPort, &value) != ERR_INVALID_GENERATION && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    };
    m_pFakeCamera->Signal(SIGKILL);
    waitForLoss();
    Serve();
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    EXPECT_EQ(Look(kNotificationOf + 4), 1U);
    Peer camera("127.0.0.1");
    camera.Send(Look(kPort), kExposureEnd);
    EXPECT_EQ(camera.Receive(), kExposureEndAnswer);
    EXPECT_EQ(m_told.Wait(1).size(), 1U);

    // The same by a policy, with a camera that was silent for a while.
    ReconnectPolicy policy;
    policy.limitMs = 60000;
    ASSERT_OK(m_camera.SetReconnectPolicy(&policy));
    const unsigned int port = Look(kPort);
    m_pFakeCamera->Signal(SIGSTOP);
    waitForLoss();
    m_pFakeCamera->Signal(SIGCONT);
    ASSERT_OK(m_camera.WaitForReconnection(60000));
    EXPECT_NE(Look(kPort), port);
    camera.Send(Look(kPort), kExposureEnd);
    EXPECT_EQ(camera.Receive(), kExposureEndAnswer);
    EXPECT_EQ(m_told.Wait(2).size(), 2U);
}

using GigeEventTest = GigeTest;

TEST_F(GigeEventTest, CameraWithoutEventsSaysSo) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    EXPECT_TRUE(m_camera.InterfaceSupportsEvents());
    Told told;
    EventOptions options = told.For("ExposureEnd");
    EXPECT_EQ(m_camera.RegisterEvent(&options).GetType(), ERR_FAILED);
    EXPECT_EQ(m_camera.RegisterAllEvents(&options).GetType(), ERR_FAILED);
}

}  // namespace
}  // namespace Zevrin
