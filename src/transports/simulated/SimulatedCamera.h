#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <string>
#include <vector>

#include "CameraEvents.h"
#include "HardwareInterface.h"
#include "SimulatedDevice.h"

namespace Zevrin {

/// The library's handle on a simulated camera. It outlives the camera, which goes with its simulation, and
/// may then become the handle on the next camera of that serial number.
class SimulatedCamera : public HardwareInterface {
  public:
    explicit SimulatedCamera(boost::shared_ptr<SimulatedDevice> pDevice);

    // For the simulation.

    /// The camera's place is empty and another camera may take it.
    bool IsVacant() const;
    void Attach(boost::shared_ptr<SimulatedDevice> pDevice);
    void Detach();

    /// The camera goes away, shortly before its device is unplugged: nobody finds or opens it from here on,
    /// and who has opened it has to open it again when it has come back.
    void Leave();
    void Return();

    /// Null when vacant.
    boost::shared_ptr<SimulatedDevice> GetDevice() const;
    bool IsPresent() const;

    int GetInterfaceType() const override { return m_interfaceType; }
    CameraIdentity GetIdentity() const override;
    Error Open() override;
    void Close() override;
    RegisterBases GetRegisterBases() const override;
    Error ReadQuadlets(unsigned short addressHigh, unsigned int addressLow, unsigned int* pValues,
                       unsigned int count) override;
    Error WriteQuadlets(unsigned short addressHigh, unsigned int addressLow, const unsigned int* pValues,
                        unsigned int count, bool broadcast) override;
    Error GetBusTime(TimeStamp* pTimeStamp) override;
    Error GetPortErrors(unsigned int* pCount) override;
    Error GetStreamFormat(StreamFormat* pFormat) override;
    Error StartStream(const ZevrinConfig& config, const boost::shared_ptr<FrameQueue>& pQueue) override;
    bool IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const override;
    void StopStream(const boost::shared_ptr<FrameQueue>& pQueue) override;
    StreamCounters GetStreamCounters() const override { return StreamCounters(); }

    /// Only cameras on interfaces that have events have them.
    Error GetEventNames(std::vector<std::string>* pNames) override;
    Error SetEventSink(EventSink* pSink) override;

  private:
    Error CheckEvents() const;
    Error Use(boost::shared_ptr<SimulatedDevice>* ppDevice) const;
    template <typename Operation>
    Error Using(Operation operation) const;

    const boost::shared_ptr<EventOutlet> m_pOutlet;
    std::atomic<int> m_interfaceType{INTERFACE_UNKNOWN};

    mutable boost::mutex m_mutex;  // guards what follows
    CameraIdentity m_identity;
    boost::shared_ptr<SimulatedDevice> m_pDevice;
    unsigned int m_openCount = 0;
    bool m_hasControl = false;
    bool m_hasLeft = false;
};

}  // namespace Zevrin
