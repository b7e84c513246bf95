#pragma once

#include <boost/smart_ptr/make_shared.hpp>
#include <cstdio>

#include "Failure.h"
#include "Registers.h"
#include "RememberingHardware.h"
#include "SettingsMemory.h"
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
    /// Makes the access unless it is lost.
    template <typename Operation>
    Error Take(const std::string& access, const Operation& operation) {
        accesses.push_back(access);
        if (accesses.size() == lost && !meanwhile) {
            return Failure(ERR_TIMEOUT, "Access %zu is lost.", lost);
        }
        if (accesses.size() == lost) {
            meanwhile();
        }
        return operation();
    }
    template <typename Operation>
    Error TakeRegister(const char* kind, unsigned int low, const Operation& operation) {
        char text[16];
        std::snprintf(text, sizeof text, "%s%X", kind, low - kUsualCommandRegisters);
        return Take(text, operation);
    }
};
inline Meter g_meter;

/// A simulated camera behind the meter. What is not metered goes the way of the library's own decorator.
class MeteredHardware : public RememberingHardware {
    using Base = RememberingHardware;

  public:
    explicit MeteredHardware(const boost::shared_ptr<HardwareInterface>& pInner)
        : RememberingHardware(pInner, boost::make_shared<SettingsMemory>()) {
        g_meter.pDevice = boost::dynamic_pointer_cast<SimulatedCamera>(pInner)->GetDevice();
    }
    Error Open() override {
        return g_meter.Take("Open", [&] {
            ++g_meter.opened;
            return Base::Open();
        });
    }
    void Close() override {
        --g_meter.opened;
        Base::Close();
    }
    Error ReadQuadlets(unsigned short high, unsigned int low, unsigned int* pValues,
                       unsigned int count) override {
        return g_meter.TakeRegister("r", low, [&] { return Base::ReadQuadlets(high, low, pValues, count); });
    }
    Error WriteQuadlets(unsigned short high, unsigned int low, const unsigned int* pValues,
                        unsigned int count, bool broadcast) override {
        return g_meter.TakeRegister(
            "w", low, [&] { return Base::WriteQuadlets(high, low, pValues, count, broadcast); });
    }
#define METERED(name, operation, type)                                                    \
    Error operation(type value) override {                                                \
        return g_meter.Take(name, [&] { return RememberingHardware::operation(value); }); \
    }
    METERED("BusTime", GetBusTime, TimeStamp*)
    METERED("PortErrors", GetPortErrors, unsigned int*)
    METERED("StreamFormat", GetStreamFormat, StreamFormat*)
    METERED("EventNames", GetEventNames, std::vector<std::string>*)
    Error StartStream(const ZevrinConfig& config, const boost::shared_ptr<FrameQueue>& pQueue) override {
        return g_meter.Take("StartStream", [&] { return Base::StartStream(config, pQueue); });
    }
    Error SetEventSink(EventSink* pSink) override {
        const auto set = [&] { return Base::SetEventSink(pSink); };
        return pSink != nullptr ? g_meter.Take("EventSink", set) : set();
    }
};

class MeteredTransport : public Transport {
  public:
    const char* GetName() const override { return "metered"; }
    Error Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) override {
        return g_meter.Take("Discover", [&] {
            std::vector<boost::shared_ptr<HardwareInterface>> cameras;
            const Error error = m_inner.Discover(&cameras);
            m_pCamera = m_pCamera ? m_pCamera : boost::make_shared<MeteredHardware>(cameras.at(0));
            *pCameras = {m_pCamera};
            return error;
        });
    }
    void SetTopologyListener(TopologyListener*) override {}

  private:
    SimulatedTransport m_inner;
    boost::shared_ptr<HardwareInterface> m_pCamera;
};

}  // namespace Zevrin
