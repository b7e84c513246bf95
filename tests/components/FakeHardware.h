#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "FrameQueue.h"
#include "HardwareInterface.h"
#include "Transport.h"

namespace Zevrin {

/// A camera that is just a memory, and whose frames the test sends by hand.
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

    /// The next call of the operation of this name fails with this error.
    void FailNext(const std::string& operation, const Error& error);

    /// One frame of the stream that runs, whose first bytes are `firstQuadlet`, big-endian.
    void SendFrame(unsigned int firstQuadlet = 0, bool isComplete = true);
    /// One of any kind; its number and size are filled in.
    void SendFrame(FrameInfo info, const std::vector<unsigned char>& bytes);
    void BreakStream(const Error& reason) { GetQueue()->Fail(reason); }
    bool IsStreaming() const { return GetQueue() != nullptr; }

    unsigned int Register(unsigned int offset) const { return Base(0xF00000U + offset); }

    /// Registers that count from the command registers and from the initial register space, without an
    /// access by the library.
    struct Cell {
        unsigned int offset;
        unsigned int value;
    };
    void SetRegisters(std::initializer_list<Cell> cells) { SetBlock(0xF00000U, cells); }
    void SetBlock(unsigned int block, std::initializer_list<Cell> cells);
    unsigned int Base(unsigned int offset) const;

    /// The n-th access from now on fails with ERR_TIMEOUT, counted from 1; 0: none does.
    void FailAccess(unsigned int n);
    /// Reads and writes since `FailAccess` was called.
    unsigned int GetAccesses() const { return m_accesses; }

    using Memory = std::map<unsigned long long, unsigned int>;
    /// While nobody else uses the camera.
    const Memory& GetMemory() const { return m_memory; }
    void SetMemory(const Memory& memory) { m_memory = memory; }

    /// What a register holds after `value` was written to this low address, for registers with a will of
    /// their own.
    std::function<unsigned int(unsigned int low, unsigned int value)> m_onWrite;

    /// Reading a register that was never set fails, as it may on a camera that lacks a feature.
    bool m_hasOnlyWhatWasSet = false;

    /// Tells the sink, on the calling thread.
    void SendEvent(const RawDeviceEvent& event);
    bool HasSink() const { return m_pSink != nullptr; }
    std::vector<std::string> m_eventNames;

    CameraIdentity m_identity;
    StreamFormat m_format = {4, 2, PIXEL_FORMAT_MONO8, BAYER_NONE, 8};
    StreamCounters m_counters;
    std::atomic<int> m_openCount{0};
    std::atomic<unsigned int> m_sent{0};
    unsigned int m_broadcasts = 0;
    std::function<void()> m_beforeWrite;

  private:
    Error Take(const std::string& operation);
    Error TakeAccess(const std::string& operation);
    boost::shared_ptr<FrameQueue> GetQueue() const;

    mutable boost::mutex m_mutex;  // guards what follows
    Memory m_memory;
    std::atomic<unsigned int> m_accesses{0};
    unsigned int m_failingAccess = 0;
    std::map<std::string, Error> m_failures;
    boost::shared_ptr<FrameQueue> m_pQueue;

    mutable boost::mutex m_sinkMutex;  // held while the sink is told; guards it
    std::atomic<EventSink*> m_pSink{nullptr};
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
