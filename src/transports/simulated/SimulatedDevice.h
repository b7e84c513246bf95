#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <vector>

#include "Description.h"
#include "Faults.h"
#include "Format7Registers.h"
#include "HardwareInterface.h"
#include "RegisterFile.h"
#include "SimulatedBus.h"
#include "TestPicture.h"
#include "zevrin/Simulation.h"

namespace Zevrin {

/// A frame from the start of its exposure until it has been sent, with the settings that it was taken with.
struct Exposure {
    PictureSettings picture;
    std::size_t size = 0;  ///< bytes
    TimeStamp timeStamp;   ///< of the start of exposure, on the bus clock
    std::vector<unsigned int> embedded;
    bool isDelayed = false;
};

/// The camera itself: its registers, its exposures, the frames that it sends.
///
/// Lives as long as its bus, also while it is unplugged.
class SimulatedDevice {
  public:
    SimulatedDevice(SimulatedBus& bus, const CameraDescription& description, unsigned int busNumber,
                    unsigned int node);
    SimulatedDevice(const SimulatedDevice&) = delete;
    SimulatedDevice& operator=(const SimulatedDevice&) = delete;

    // Any thread, without the bus's mutex.

    const CameraDescription& GetDescription() const { return m_description; }
    const CameraIdentity& GetIdentity() const { return m_identity; }
    unsigned long long GetTime() const { return m_bus.GetTime(); }

    Error ReadQuadlets(unsigned short addressHigh, unsigned int addressLow, unsigned int* pValues,
                       unsigned int count);
    Error WriteQuadlets(unsigned short addressHigh, unsigned int addressLow, const unsigned int* pValues,
                        unsigned int count, bool broadcast);
    Error GetBusTime(TimeStamp* pTimeStamp);
    Error GetPortErrors(unsigned int* pCount);
    Error GetStreamFormat(StreamFormat* pFormat);
    Error StartStream(const boost::shared_ptr<FrameQueue>& pQueue);
    void StopStream();

    bool IsPlugged() const;

    /// Breaks the stream and stops everything; false when the camera was away already.
    bool Unplug();

    /// Power-up; false when the camera was there already.
    bool Replug();

    void SetFaults(const FaultDescription& faults);
    SimulatedFrameCounts GetFrameCounts() const;

    void OnEvent(const BusEvent& event);

    // With the bus's mutex held: what the registers' behaviour is made of.

    const RegisterFile& GetRegisters() const { return m_registers; }
    RegisterFile& GetRegisters() { return m_registers; }
    ImageSetup GetImageSetup() const;
    void StartTransmission();
    void StopTransmission();
    void ResetToFactory();

  private:
    Error CheckPlugged() const;
    Error BeginAccess(bool isWrite, unsigned short addressHigh, unsigned int addressLow);
    RegisterFile* Locate(unsigned int addressLow, unsigned int* pOffset);
    Error CheckQuadlet(bool isWrite, unsigned int addressLow);
    unsigned int ReadQuadlet(unsigned int addressLow);
    void WriteQuadlet(unsigned int addressLow, unsigned int value);
    void WaitLatency(bool isWrite);

    void PowerUp();
    void ScheduleExposure(unsigned long long now);
    void BeginExposure(const BusEvent& event);
    boost::shared_ptr<const Exposure> MakeExposure(unsigned long long time);
    void OnFrameSent(const BusEvent& event);
    boost::shared_ptr<FrameQueue> TakeFate(const BusEvent& event, FrameFate* pFate);
    void Deliver(FrameQueue& queue, const Exposure& exposure, bool isComplete);
    boost::shared_ptr<FrameQueue> DetachStream();

    SimulatedBus& m_bus;
    const CameraDescription m_description;
    const CameraIdentity m_identity;

    // Guarded by the bus's mutex.
    RegisterFile m_coreRegisters;
    RegisterFile m_registers;  ///< the command registers
    Faults m_faults;
    bool m_isPlugged = true;
    unsigned int m_portErrors = 0;
    SimulatedFrameCounts m_counts;
    bool m_isSending = false;
    unsigned int m_sendingEpoch = 0;  ///< moves on whenever what was due is void
    unsigned long long m_gridOrigin = 0;
    unsigned int m_frameNumber = 0;
    boost::shared_ptr<FrameQueue> m_pQueue;
    unsigned int m_streamEpoch = 0;
    unsigned int m_delayedFrames = 0;  ///< sent to m_pQueue, not arrived yet

    boost::mutex m_fillMutex;  // held while a queue is used; taken before the bus's mutex; guards m_picture
    TestPicture m_picture;
};

}  // namespace Zevrin
