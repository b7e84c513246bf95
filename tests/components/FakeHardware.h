#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "FrameQueue.h"
#include "HardwareInterface.h"
#include "Transport.h"

namespace Zevrin {

/// A camera that is just a memory, and whose frames and events the test sends by hand.
class FakeHardware : public HardwareInterface {
  public:
    explicit FakeHardware(unsigned int serialNumber = 1) { m_identity.serialNumber = serialNumber; }

    int GetInterfaceType() const override { return INTERFACE_UNKNOWN; }
    CameraIdentity GetIdentity() const override { return m_identity; }
    Error Open() override { return ++m_openCount, Error(); }
    void Close() override { --m_openCount; }
    RegisterBases GetRegisterBases() const override { return {0xF0000000U, 0xF0F00000U}; }
    Error ReadQuadlets(unsigned short high, unsigned int low, unsigned int* pValues,
                       unsigned int count) override;
    Error WriteQuadlets(unsigned short high, unsigned int low, const unsigned int* pValues,
                        unsigned int count, bool broadcast) override;
    Error GetBusTime(TimeStamp*) override { return Error(); }
    Error GetPortErrors(unsigned int*) override { return Error(); }
    Error GetStreamFormat(StreamFormat* pFormat) override { return *pFormat = m_format, Error(); }
    Error StartStream(const ZevrinConfig& config, const boost::shared_ptr<FrameQueue>& pQueue) override;
    bool IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const override {
        return pQueue != nullptr && GetQueue() == pQueue;
    }
    void StopStream(const boost::shared_ptr<FrameQueue>& pQueue) override;
    StreamCounters GetStreamCounters() const override { return m_counters; }
    Error GetEventNames(std::vector<std::string>* pNames) override;
    Error SetEventSink(EventSink* pSink) override;

    /// The queue that the stream fills; null when none runs.
    boost::shared_ptr<FrameQueue> GetQueue() const;
    bool IsStreaming() const { return GetQueue() != nullptr; }
    /// One frame of the stream that runs, whose first bytes are `firstQuadlet`, big-endian.
    void SendFrame(unsigned int firstQuadlet = 0);
    /// One of any kind; its number and size are filled in.
    void SendFrame(FrameInfo info, const std::vector<unsigned char>& bytes);

    /// Tells the sink, on the calling thread.
    void SendEvent(const RawDeviceEvent& event);
    bool HasSink() const;

    /// Registers without an access by the library; offsets count from the command registers.
    unsigned int Register(unsigned int offset) const;
    void SetRegister(unsigned int offset, unsigned int value) { m_memory[KeyOf(offset)] = value; }

    using Memory = std::map<unsigned long long, unsigned int>;
    static unsigned long long KeyOf(unsigned int offset) { return 0xFFFFF0F00000ULL + offset; }

    // To be set while nobody else uses the camera.

    Memory m_memory;
    /// Reading a register that was never set fails, as it may on a camera that lacks a feature.
    bool m_hasOnlyWhatWasSet = false;
    /// What a register holds after `value` was written to this low address, for registers with a will of
    /// their own.
    std::function<unsigned int(unsigned int low, unsigned int value)> m_onWrite;
    /// Called with the name of each access ("Read", "Write") and each operation of events; what it returns is
    /// that operation's failure.
    std::function<Error(const std::string& operation)> m_before;

    std::vector<std::string> m_eventNames;
    CameraIdentity m_identity;
    StreamFormat m_format = {4, 2, PIXEL_FORMAT_MONO8, BAYER_NONE, 8};
    StreamCounters m_counters;
    std::atomic<int> m_openCount{0};
    std::atomic<unsigned int> m_sent{0};
    unsigned int m_broadcasts = 0;

  private:
    Error Before(const char* operation) { return m_before ? m_before(operation) : Error(); }

    mutable boost::recursive_mutex
        m_mutex;  // guards the memory and what follows; held while the sink is told
    boost::shared_ptr<FrameQueue> m_pQueue;
    EventSink* m_pSink = nullptr;
};

/// A transport with the cameras that the test gives it.
class FakeTransport : public Transport {
  public:
    const char* GetName() const override { return "fake"; }
    Error Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) override;
    void SetTopologyListener(TopologyListener* pListener) override { m_pListener = pListener; }

    std::vector<boost::shared_ptr<HardwareInterface>> m_cameras;
    Error m_failure;
    std::function<void()> m_onDiscover;  ///< runs when the list has been made
    int m_discoveries = 0;
    TopologyListener* m_pListener = nullptr;
};

}  // namespace Zevrin
