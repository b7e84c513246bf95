#pragma once

#include <algorithm>
#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Failure.h"
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
                       unsigned int count) override {
        Error error = Before("Read");
        const Lock lock(m_mutex);
        for (unsigned int index = 0; error == ERR_OK && index < count; ++index) {
            const auto found = m_memory.find(Key(high, low + 4 * index));
            if (found == m_memory.end() && m_hasOnlyWhatWasSet) {
                error = Failure(ERR_READ_REGISTER_FAILED, "There is no register 0x%08X.", low + 4 * index);
            } else {
                pValues[index] = found != m_memory.end() ? found->second : 0;
            }
        }
        return error;
    }
    Error WriteQuadlets(unsigned short high, unsigned int low, const unsigned int* pValues,
                        unsigned int count, bool broadcast) override {
        Error error = Before("Write");
        const Lock lock(m_mutex);
        for (unsigned int index = 0; error == ERR_OK && index < count; ++index) {
            const unsigned int address = low + 4 * index;
            m_memory[Key(high, address)] = m_onWrite ? m_onWrite(address, pValues[index]) : pValues[index];
        }
        m_broadcasts += broadcast ? 1 : 0;
        return error;
    }
    Error GetBusTime(TimeStamp*) override { return Error(); }
    Error GetPortErrors(unsigned int*) override { return Error(); }
    Error GetStreamFormat(StreamFormat* pFormat) override { return *pFormat = m_format, Error(); }
    Error StartStream(const ZevrinConfig&, const boost::shared_ptr<FrameQueue>& pQueue) override {
        const Lock lock(m_mutex);
        m_pQueue = pQueue;
        return Error();
    }
    bool IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const override {
        return pQueue != nullptr && GetQueue() == pQueue;
    }
    void StopStream(const boost::shared_ptr<FrameQueue>& pQueue) override {
        const Lock lock(m_mutex);
        m_pQueue = m_pQueue == pQueue ? nullptr : m_pQueue;
    }
    StreamCounters GetStreamCounters() const override { return m_counters; }
    Error GetEventNames(std::vector<std::string>* pNames) override {
        *pNames = m_eventNames;
        return Before("GetEventNames");
    }
    Error SetEventSink(EventSink* pSink) override {
        Error error = Before("SetEventSink");
        const Lock lock(m_mutex);
        if (error == ERR_OK && pSink != nullptr && m_pSink != nullptr) {
            error = Failure(ERR_EVENT_FAILED, "Another sink is there.");
        }
        m_pSink = error == ERR_OK ? pSink : m_pSink;
        return error;
    }

    /// The queue that the stream fills; null when none runs.
    boost::shared_ptr<FrameQueue> GetQueue() const {
        const Lock lock(m_mutex);
        return m_pQueue;
    }
    bool IsStreaming() const { return GetQueue() != nullptr; }

    /// One frame of the stream that runs, whose first bytes are `firstQuadlet`, big-endian.
    void SendFrame(unsigned int firstQuadlet = 0) {
        FrameInfo info;
        info.width = info.stride = m_format.width;
        info.height = m_format.height;
        info.pixelFormat = m_format.pixelFormat;
        std::vector<unsigned char> bytes(m_format.payloadSize);
        for (unsigned int byte = 0; byte < 4; ++byte) {
            bytes[byte] = static_cast<unsigned char>(firstQuadlet >> (24 - 8 * byte));
        }
        SendFrame(info, bytes);
    }
    /// One of any kind; its number and size are filled in.
    void SendFrame(FrameInfo info, const std::vector<unsigned char>& bytes) {
        const boost::shared_ptr<FrameQueue> pQueue = GetQueue();
        info.frameId += m_sent++;
        info.receivedSize = bytes.size();
        Frame* const pFrame = pQueue->BeginFill();
        if (pFrame == nullptr) {
            pQueue->CountDriverDropped(1);
            return;
        }
        std::copy(bytes.begin(), bytes.end(), pFrame->data);
        pFrame->info = info;
        pQueue->EndFill(pFrame);
    }

    /// Tells the sink, on the calling thread.
    void SendEvent(const RawDeviceEvent& event) {
        const Lock lock(m_mutex);
        if (m_pSink != nullptr) {
            m_pSink->OnDeviceEvent(event);
        }
    }
    bool HasSink() const {
        const Lock lock(m_mutex);
        return m_pSink != nullptr;
    }

    using Memory = std::map<unsigned long long, unsigned int>;
    /// Where a register is in the memory; offsets count from the command registers.
    static unsigned long long KeyOf(unsigned int offset) { return Key(0xFFFF, 0xF0F00000U) + offset; }
    void SetRegister(unsigned int offset, unsigned int value) { m_memory[KeyOf(offset)] = value; }
    unsigned int Register(unsigned int offset) const {
        const Lock lock(m_mutex);
        const auto found = m_memory.find(KeyOf(offset));
        return found != m_memory.end() ? found->second : 0;
    }

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
    using Lock = boost::lock_guard<boost::recursive_mutex>;

    static unsigned long long Key(unsigned short high, unsigned int low) { return (0ULL + high) << 32 | low; }
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
    Error Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) override {
        ++m_discoveries;
        *pCameras = m_cameras;
        if (m_onDiscover) {
            m_onDiscover();
        }
        return m_failure;
    }
    void SetTopologyListener(TopologyListener* pListener) override { m_pListener = pListener; }

    std::vector<boost::shared_ptr<HardwareInterface>> m_cameras;
    Error m_failure;
    std::function<void()> m_onDiscover;  ///< runs when the list has been made
    int m_discoveries = 0;
    TopologyListener* m_pListener = nullptr;
};

}  // namespace Zevrin
