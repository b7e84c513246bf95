#include <csignal>
#include <cstdio>

#include "GigeFixture.h"

namespace Zevrin {
namespace {

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
const Bytes kMalformed[] = {
    {},                                                // nothing
    Cut(kExposureEnd, 7),                              // less than a header
    Cut(kExposureEnd, 8),                              // a header alone
    Cut(kExposureEnd, 23),                             // cut within the event
    Cut(kOverheat, 27),                                // cut within the data
    Cut(kExposureEnd, 25),                             // more than its length
    Changed(Changed(kExposureEnd, 4, 0xFF), 5, 0xF8),  // a length that wraps
    Changed(kExposureEnd, 0, 0x43),                    // another key
    Changed(kExposureEnd, 3, 0xC1),                    // an acknowledge
    Changed(kExposureEnd, 3, 0x80),                    // a command that is no event
    Changed(kExposureEnd, 1, 0x11),                    // extended ids
    {0x42, 0x00, 0x00, 0xC0, 0x00, 0x00, 0x01, 0x02},  // no event
    Changed(Cut(kTwoEvents, 32), 5, 0x18),             // one and a half events
    Changed(Cut(kOverheat, 12), 5, 0x04),              // data without an event
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
            for (unsigned int byte = 0; byte < pEvent->dataSize; ++byte) {
                pThis->m_texts.back() += " " + std::to_string(pEvent->data[byte]);
            }
        };
        return options;
    }
    std::vector<std::string> Wait(std::size_t count) {
        std::vector<std::string> texts;
        EXPECT_TRUE(Await([&] {
            const std::lock_guard<std::mutex> lock(m_mutex);
            texts = m_texts;
            return texts.size() >= count;
        }));
        return texts;
    }

  private:
    std::mutex m_mutex;  // guards the texts
    std::vector<std::string> m_texts;
};

// The standard's registers, and one of the description.
constexpr unsigned int kMessageChannels = 0x0900;
constexpr unsigned int kPort = 0x0B00;
constexpr unsigned int kDestination = 0x0B10;
constexpr unsigned int kNotificationOf = 0x4100;  // + 4 * value of the selector

class GigeEvents : public GigeTest {
  protected:
    void SetUp() override { Serve(); }

    /// The fake camera itself has no message channel.
    void Serve() {
        StartDescribed("events.xml");
        TestCamera preparing;
        ASSERT_OK(preparing.Connect(kSerialNumber));
        ASSERT_OK(preparing.WriteMemory(kMessageChannels, 1));
    }
    unsigned int Look(unsigned int address) {
        unsigned int value = 0xDEADBEEF;
        EXPECT_OK(m_camera.ReadMemory(address, &value));
        return value;
    }
    /// Of the three events whose numbers are told.
    std::string LookAtNotifications() {
        std::string text;
        for (unsigned int event = 0; event < 3; ++event) {
            text += std::to_string(Look(kNotificationOf + 4 * event));
        }
        return text;
    }
    void ExpectEvents(std::size_t count) {
        m_peer.Send(Look(kPort), kExposureEnd);
        EXPECT_EQ(m_peer.Receive(), kExposureEndAnswer);
        EXPECT_EQ(m_told.Wait(count).size(), count);
    }

    Peer m_peer;
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
    EXPECT_EQ(LookAtNotifications(), "011");

    Peer stranger("127.0.0.2");
    stranger.Send(port, Changed(kExposureEnd, 7, 0x77));
    for (const Bytes& bytes : kMalformed) {
        m_peer.Send(port, bytes);
    }
    m_peer.Send(port, kExposureEnd);
    EXPECT_EQ(m_peer.Receive(), kExposureEndAnswer);
    m_peer.Send(port, kExposureEnd);  // the answer was lost
    EXPECT_EQ(m_peer.Receive(), kExposureEndAnswer);
    m_peer.Send(port, kTwoEvents);  // of which one is registered
    m_peer.Send(port, kOverheat);
    EXPECT_EQ(m_peer.Receive(), kOverheatAnswer);
    EXPECT_EQ(m_told.Wait(3), (std::vector<std::string>{"ExposureEnd 3 4294967298 +0", "ExposureEnd 3 2 +0",
                                                        "Overheat 9001 10 +4 222 173 190 239"}));

    ASSERT_OK(m_camera.DeregisterEvent(&end));
    EXPECT_EQ(LookAtNotifications(), "001");
    EXPECT_EQ(Look(kPort), port);
    ASSERT_OK(m_camera.DeregisterAllEvents());
    EXPECT_EQ(LookAtNotifications(), "000");
    EXPECT_EQ(Look(kPort), 0U);
    EventOptions all = m_told.For(nullptr);
    ASSERT_OK(m_camera.RegisterAllEvents(&all));
    EXPECT_EQ(LookAtNotifications(), "111");
}

TEST_F(GigeEvents, ComeAgainWithTheCamera) {
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    EventOptions end = m_told.For("ExposureEnd");
    ASSERT_OK(m_camera.RegisterEvent(&end));
    const auto isLost = [this] {
        unsigned int value = 0;
        return m_camera.ReadMemory(kPort, &value) == ERR_INVALID_GENERATION;
    };
    m_pFakeCamera->Signal(SIGKILL);
    EXPECT_TRUE(Await(isLost));
    Serve();
    ASSERT_OK(m_camera.Connect(kSerialNumber));
    EXPECT_EQ(LookAtNotifications(), "010");
    ExpectEvents(1);

    // The same by a policy, with a camera that was silent for a while.
    m_camera.ReconnectByItself();
    const unsigned int port = Look(kPort);
    m_pFakeCamera->Signal(SIGSTOP);
    EXPECT_TRUE(Await(isLost));
    m_pFakeCamera->Signal(SIGCONT);
    ASSERT_OK(m_camera.WaitForReconnection(kPatienceMs));
    EXPECT_NE(Look(kPort), port);
    ExpectEvents(2);
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
