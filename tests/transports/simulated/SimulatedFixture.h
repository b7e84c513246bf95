#pragma once

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <cstdlib>

#include "FrameQueue.h"
#include "HardwareInterface.h"
#include "SimulatedTransport.h"
#include "support/Checks.h"
#include "zevrin/Simulation.h"

namespace Zevrin {

/// Whoever is away, is not searched for in the network. Before any object that looks for cameras.
inline const int g_isOffTheNetwork = setenv("ZEVRIN_TRANSPORTS", "simulated", 1);

inline boost::shared_ptr<Simulation> MakeSimulation(const std::string& json) {
    boost::shared_ptr<Simulation> pSimulation;
    EXPECT_TRUE(IsOk(Simulation::FromJson(json, &pSimulation)));
    return pSimulation;
}

/// The handle on the camera as discovery gives it, opened; the first one of the serial number.
inline boost::shared_ptr<HardwareInterface> OpenCamera(unsigned int serialNumber) {
    SimulatedTransport transport;
    std::vector<boost::shared_ptr<HardwareInterface>> cameras;
    EXPECT_TRUE(IsOk(transport.Discover(&cameras)));
    for (const auto& pCamera : cameras) {
        if (pCamera->GetIdentity().serialNumber == serialNumber) {
            EXPECT_TRUE(IsOk(pCamera->Open()));
            return pCamera;
        }
    }
    ADD_FAILURE() << "camera " << serialNumber << " was not discovered";
    return nullptr;
}

constexpr unsigned int kCommandBase = 0xF0F00000;

inline unsigned int ReadCommand(HardwareInterface& camera, unsigned int offset) {
    unsigned int value = 0xDEADBEEF;
    EXPECT_TRUE(IsOk(camera.ReadQuadlets(kRegisterSpace, kCommandBase + offset, &value, 1)))
        << "register 0x" << std::hex << offset;
    return value;
}

inline void WriteCommand(HardwareInterface& camera, unsigned int offset, unsigned int value) {
    EXPECT_TRUE(IsOk(camera.WriteQuadlets(kRegisterSpace, kCommandBase + offset, &value, 1, false)))
        << "register 0x" << std::hex << offset;
}

/// A queue that listens to a camera for as long as it lives.
class Listening {
  public:
    explicit Listening(HardwareInterface& camera, unsigned int bufferCount = 64)
        : m_camera(camera), m_pCounters(boost::make_shared<FrameCounters>()) {
        StreamFormat format;
        EXPECT_TRUE(IsOk(camera.GetStreamFormat(&format)));
        m_pQueue = boost::make_shared<FrameQueue>(bufferCount, format.payloadSize, GRAB_IN_ORDER, false,
                                                  nullptr, m_pCounters);
        EXPECT_TRUE(IsOk(camera.StartStream(ZevrinConfig(), m_pQueue)));
    }
    ~Listening() { Stop(); }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

    void Stop() {
        m_camera.StopStream(m_pQueue);
        m_pQueue->Close();
    }

    FrameQueue& Queue() { return *m_pQueue; }
    const FrameCounters& Counters() const { return *m_pCounters; }

    /// What has become of the frames, all together.
    unsigned int CountAll() const {
        return m_pCounters->delivered + m_pCounters->corrupt + m_pCounters->dropped +
               m_pCounters->driverDropped;
    }

    /// Gives every waiting frame to `look` and then back.
    template <typename Look>
    unsigned int Drain(Look look) {
        Frame* pFrame = nullptr;
        unsigned int count = 0;
        for (; m_pQueue->Retrieve(&pFrame, 0) == ERR_OK; ++count) {
            look(*pFrame);
            m_pQueue->Release(pFrame);
        }
        return count;
    }
    unsigned int Drain() {
        return Drain([](const Frame&) {});
    }

  private:
    HardwareInterface& m_camera;
    const boost::shared_ptr<FrameCounters> m_pCounters;
    boost::shared_ptr<FrameQueue> m_pQueue;
};

constexpr unsigned int kTransmissionRegister = 0x614;
constexpr unsigned int kOn = 0x80000000;
constexpr unsigned long long kSecond = 1000000;  // microseconds

/// A word in a picture.
inline unsigned int ReadQuadlet(const unsigned char* pByte) {
    return static_cast<unsigned int>(pByte[0]) << 24 | pByte[1] << 16U | pByte[2] << 8U | pByte[3];
}

/// The time stamp in a picture, in ticks of 1/24576000 s: 3072 to a cycle of 125 us.
inline unsigned int ReadStamp(const Frame& frame) {
    const unsigned int word = ReadQuadlet(frame.data);
    return ((word >> 25) * 8000 + (word >> 12 & 0x1FFF)) * 3072 + (word & 0xFFF);
}

/// The present time of a camera's bus in the same ticks.
inline unsigned int ReadBusTicks(HardwareInterface& camera) {
    TimeStamp now;
    EXPECT_TRUE(IsOk(camera.GetBusTime(&now)));
    return (now.cycleSeconds * 8000 + now.cycleCount) * 3072 + now.cycleOffset;
}

}  // namespace Zevrin
