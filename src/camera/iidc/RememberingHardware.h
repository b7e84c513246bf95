#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>

#include "HardwareInterface.h"

namespace Zevrin {

class SettingsMemory;

/// A camera's handle as one camera object's components have it: what they write is remembered.
class RememberingHardware : public HardwareInterface {
  public:
    RememberingHardware(boost::shared_ptr<HardwareInterface> pHardware,
                        boost::shared_ptr<SettingsMemory> pMemory);

    const boost::shared_ptr<HardwareInterface>& GetHardware() const { return m_pHardware; }

    int GetInterfaceType() const override { return m_pHardware->GetInterfaceType(); }
    CameraIdentity GetIdentity() const override { return m_pHardware->GetIdentity(); }
    Error Open() override { return m_pHardware->Open(); }
    void Close() override { m_pHardware->Close(); }
    RegisterBases GetRegisterBases() const override { return m_pHardware->GetRegisterBases(); }
    Error ReadQuadlets(unsigned short addressHigh, unsigned int addressLow, unsigned int* pValues,
                       unsigned int count) override {
        return m_pHardware->ReadQuadlets(addressHigh, addressLow, pValues, count);
    }
    Error WriteQuadlets(unsigned short addressHigh, unsigned int addressLow, const unsigned int* pValues,
                        unsigned int count, bool broadcast) override;
    Error GetBusTime(TimeStamp* pTimeStamp) override { return m_pHardware->GetBusTime(pTimeStamp); }
    Error GetPortErrors(unsigned int* pCount) override { return m_pHardware->GetPortErrors(pCount); }
    Error GetStreamFormat(StreamFormat* pFormat) override { return m_pHardware->GetStreamFormat(pFormat); }
    Error StartStream(const ZevrinConfig& config, const boost::shared_ptr<FrameQueue>& pQueue) override {
        return m_pHardware->StartStream(config, pQueue);
    }
    bool IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const override {
        return m_pHardware->IsStreaming(pQueue);
    }
    void StopStream(const boost::shared_ptr<FrameQueue>& pQueue) override { m_pHardware->StopStream(pQueue); }
    StreamCounters GetStreamCounters() const override { return m_pHardware->GetStreamCounters(); }
    Error GetEventNames(std::vector<std::string>* pNames) override {
        return m_pHardware->GetEventNames(pNames);
    }
    Error SetEventSink(EventSink* pSink) override { return m_pHardware->SetEventSink(pSink); }
    Error SetEventNotification(const std::string& name, bool on) override {
        return m_pHardware->SetEventNotification(name, on);
    }

  private:
    const boost::shared_ptr<HardwareInterface> m_pHardware;
    const boost::shared_ptr<SettingsMemory> m_pMemory;
};

}  // namespace Zevrin
