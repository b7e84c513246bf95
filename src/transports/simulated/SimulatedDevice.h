#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <map>
#include <vector>

#include "CameraEvents.h"
#include "CameraSettings.h"
#include "Description.h"
#include "ExposureSequencer.h"
#include "HardwareInterface.h"
#include "Pins.h"
#include "RegisterFile.h"
#include "SimulatedBus.h"
#include "SimulatedStream.h"
#include "Tones.h"

namespace Zevrin {

/// The camera itself: its registers, its exposures, the frames and events that it sends.
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
    bool IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const;
    void StopStream(const boost::shared_ptr<FrameQueue>& pQueue);

    /// Breaks the stream and stops everything; false when the camera was away already.
    bool Unplug();

    /// Power-up; false when the camera was there already.
    bool Replug();

    /// Tells of a change of the bus.
    void ReportLink();

    /// A level from outside at one of the pins; for so many microseconds, or, with 0, until further notice.
    void SetInput(unsigned int pin, bool isHigh, unsigned long long microseconds);
    bool IsPinHigh(unsigned int pin) const;

    void SetFaults(const FaultDescription& faults);
    void SetTiming(const SimulatedTiming& timing);
    SimulatedFrameCounts GetFrameCounts() const;

    /// Where events go from here on; null: nowhere.
    void SetEventOutlet(boost::shared_ptr<EventOutlet> pOutlet);

    void OnEvent(const BusEvent& event);

    // With the bus's mutex held: what the registers' behaviour is made of.

    const RegisterFile& GetRegisters() const { return m_registers; }
    RegisterFile& GetRegisters() { return m_registers; }
    ExposureSequencer& GetSequencer() { return m_sequencer; }
    const ExposureSequencer& GetSequencer() const { return m_sequencer; }
    Pins& GetPins() { return m_pins; }
    const Pins& GetPins() const { return m_pins; }
    ImageSetup GetImageSetup() const { return ReadImageSetup(m_registers, m_description); }
    double GetUptime() const;       ///< seconds since power-up
    double GetTemperature() const;  ///< kelvin
    double GetClockErrorPpm() const { return m_clockErrorPpm; }

    void StartTransmission();
    void StopTransmission();

    /// @param word  stands in the register until the shots are done
    void StartShots(unsigned int count, unsigned int word);
    void StopShots();

    void ResetToFactory();
    void SaveChannel(unsigned int channel);
    void LoadChannel(unsigned int channel);
    void TouchLut() { m_pLut.reset(); }

    void AdjustSettings();
    boost::shared_ptr<const Exposure> MakeExposure(unsigned long long begin, unsigned long long duration);
    void Emit(CameraEvent event, unsigned long long time, unsigned int number);

  private:
    Error CheckPlugged() const;
    Error BeginAccess(bool isWrite, unsigned short addressHigh, unsigned int addressLow);
    RegisterFile* Locate(unsigned int addressLow, unsigned int* pOffset);
    Error CheckQuadlet(bool isWrite, unsigned int addressLow);
    unsigned int ReadQuadlet(unsigned int addressLow);
    void WriteQuadlet(unsigned int addressLow, unsigned int value);
    unsigned long long PassLatency(bool isWrite);
    void FinishWrite();

    bool MayTransmit() const;
    void BeginSending(unsigned int frames);
    void CountLost(unsigned int frames);
    void ChangeInput(unsigned int pin, bool isHigh);
    void OnExposureEnd(const BusEvent& event);
    void OnDelayedFrame(const BusEvent& event);
    PictureSettings MakePicture(const ImageSetup& setup, double exposure);
    ToneSettings MakeToneSettings(double exposure);
    void FlushEvents();

    SimulatedBus& m_bus;
    const CameraDescription m_description;
    const CameraIdentity m_identity;
    SimulatedStream m_stream;

    // Guarded by the bus's mutex.
    RegisterFile m_coreRegisters;
    RegisterFile m_registers;                                   ///< the command registers
    std::map<unsigned int, RegisterFile::Settings> m_channels;  ///< saved ones; they survive power loss
    ExposureSequencer m_sequencer;
    Pins m_pins;
    bool m_isPlugged = true;
    unsigned long long m_poweredUp = 0;  ///< nanoseconds of the bus clock
    double m_clockErrorPpm;
    unsigned int m_portErrors = 0;
    unsigned long long m_writeTime = 0;       ///< when the write that is under way arrived
    boost::shared_ptr<const LutBank> m_pLut;  ///< the active bank; null once that has changed
    boost::shared_ptr<EventOutlet> m_pOutlet;
    std::vector<RawDeviceEvent> m_pendingEvents;
};

}  // namespace Zevrin
