#pragma once

#include <boost/smart_ptr/make_shared.hpp>
#include <cstdio>

#include "Failure.h"
#include "Registers.h"
#include "SimulatedTransport.h"
#include "support/Checks.h"

namespace Zevrin {

/// What reaches the camera, and which of it gets lost on the way. A register access is "r" or "w" and the
/// register's offset in hexadecimal; all else goes by the transport's operation.
struct Meter {
    std::vector<std::string> accesses;
    std::size_t lost = 0;             ///< counted from 1; 0: none
    std::function<void()> meanwhile;  ///< happens to the camera at that access, which is then made
    int opened = 0;
    boost::shared_ptr<SimulatedDevice> pDevice;

    void Start(std::size_t lostAccess) {
        accesses.clear();
        lost = lostAccess;
    }
    Error Take(const std::string& access) {
        accesses.push_back(access);
        if (accesses.size() != lost) {
            return Error();
        }
        if (meanwhile) {
            meanwhile();
            return Error();
        }
        return Failure(ERR_TIMEOUT, "Access %zu is lost.", lost);
    }
    Error TakeRegister(const char* kind, unsigned int low) {
        char text[16];
        std::snprintf(text, sizeof text, "%s%X", kind, low - kUsualCommandRegisters);
        return Take(text);
    }
};
inline Meter g_meter;

/// A simulated camera behind the meter.
class MeteredHardware : public HardwareInterface {
  public:
    explicit MeteredHardware(boost::shared_ptr<HardwareInterface> pInner) : m_pInner(std::move(pInner)) {
        g_meter.pDevice = boost::dynamic_pointer_cast<SimulatedCamera>(m_pInner)->GetDevice();
    }
    int GetInterfaceType() const override { return m_pInner->GetInterfaceType(); }
    CameraIdentity GetIdentity() const override { return m_pInner->GetIdentity(); }
    Error Open() override {
        return Through(g_meter.Take("Open"), [&] {
            ++g_meter.opened;
            return m_pInner->Open();
        });
    }
    void Close() override {
        --g_meter.opened;
        m_pInner->Close();
    }
    RegisterBases GetRegisterBases() const override { return m_pInner->GetRegisterBases(); }
    Error ReadQuadlets(unsigned short high, unsigned int low, unsigned int* pValues,
                       unsigned int count) override {
        return Through(g_meter.TakeRegister("r", low),
                       [&] { return m_pInner->ReadQuadlets(high, low, pValues, count); });
    }
    Error WriteQuadlets(unsigned short high, unsigned int low, const unsigned int* pValues,
                        unsigned int count, bool broadcast) override {
        return Through(g_meter.TakeRegister("w", low),
                       [&] { return m_pInner->WriteQuadlets(high, low, pValues, count, broadcast); });
    }
    Error GetBusTime(TimeStamp* pTime) override {
        return Through(g_meter.Take("BusTime"), [&] { return m_pInner->GetBusTime(pTime); });
    }
    Error GetPortErrors(unsigned int* pCount) override {
        return Through(g_meter.Take("PortErrors"), [&] { return m_pInner->GetPortErrors(pCount); });
    }
    Error GetStreamFormat(StreamFormat* pFormat) override {
        return Through(g_meter.Take("StreamFormat"), [&] { return m_pInner->GetStreamFormat(pFormat); });
    }
    Error StartStream(const ZevrinConfig& config, const boost::shared_ptr<FrameQueue>& pQueue) override {
        return Through(g_meter.Take("StartStream"), [&] { return m_pInner->StartStream(config, pQueue); });
    }
    bool IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const override {
        return m_pInner->IsStreaming(pQueue);
    }
    void StopStream(const boost::shared_ptr<FrameQueue>& pQueue) override { m_pInner->StopStream(pQueue); }
    StreamCounters GetStreamCounters() const override { return m_pInner->GetStreamCounters(); }
    Error GetEventNames(std::vector<std::string>* pNames) override {
        return Through(g_meter.Take("EventNames"), [&] { return m_pInner->GetEventNames(pNames); });
    }
    Error SetEventSink(EventSink* pSink) override {
        return Through(pSink != nullptr ? g_meter.Take("EventSink") : Error(),
                       [&] { return m_pInner->SetEventSink(pSink); });
    }

  private:
    template <typename Operation>
    static Error Through(const Error& error, const Operation& operation) {
        return error != ERR_OK ? error : operation();
    }
    const boost::shared_ptr<HardwareInterface> m_pInner;
};

class MeteredTransport : public Transport {
  public:
    const char* GetName() const override { return "metered"; }
    Error Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) override {
        Error error = g_meter.Take("Discover");
        if (error == ERR_OK && !m_pCamera) {
            std::vector<boost::shared_ptr<HardwareInterface>> cameras;
            error = m_inner.Discover(&cameras);
            m_pCamera = boost::make_shared<MeteredHardware>(cameras.at(0));
        }
        *pCameras = {m_pCamera};
        return error;
    }
    void SetTopologyListener(TopologyListener*) override {}

  private:
    SimulatedTransport m_inner;
    boost::shared_ptr<HardwareInterface> m_pCamera;
};

}  // namespace Zevrin
