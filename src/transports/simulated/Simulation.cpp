#include "zevrin/Simulation.h"

#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "Description.h"
#include "DeviceLayout.h"
#include "Failure.h"
#include "FormatText.h"
#include "SimulatedTransport.h"

namespace Zevrin {

using TopologyLock = boost::lock_guard<boost::recursive_mutex>;

namespace {

constexpr std::size_t kMaxDescriptionSize = 16U << 20;
constexpr unsigned long long kNanosecondsPerMicrosecond = 1000;
constexpr unsigned long long kMaxAdvanceUs = 1ULL << 50;

struct CloseFile {
    void operator()(std::FILE* pFile) const {
        std::fclose(pFile);  // read only: nothing can be lost
    }
};

Error ReadFile(const std::string& path, std::string* pText) {
    const auto fail = [&](const char* reason) {
        return Failure(ERR_FILE_FAILED, "The description %s cannot be read: %s.", Printable(path).c_str(),
                       reason);
    };
    errno = 0;
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        return fail(std::strerror(errno));
    }
    char buffer[4096];
    std::size_t count = 0;
    while ((count = std::fread(buffer, 1, sizeof(buffer), file.get())) != 0) {
        pText->append(buffer, count);
        if (pText->size() > kMaxDescriptionSize) {
            return fail("it is larger than 16 megabytes");
        }
    }
    return std::ferror(file.get()) != 0 ? fail(std::strerror(errno)) : Error();
}

}  // namespace

/// The buses of one simulation and the handles of their cameras.
class Simulation::World {
  public:
    explicit World(const WorldDescription& description)
        : m_pCameras(SimulatedCameras::GetInstance()),
          m_pClock(boost::make_shared<SimulatedClock>(description.isClockManual)) {
        for (const BusDescription& bus : description.buses) {
            const auto number = static_cast<unsigned int>(m_buses.size());
            m_buses.push_back(boost::make_shared<SimulatedBus>(bus, number, m_pClock));
        }
        const TopologyLock lock(m_pCameras->GetTopologyMutex());
        for (const auto& pBus : m_buses) {
            std::vector<boost::shared_ptr<SimulatedDevice>> devices;
            for (const auto& pDevice : pBus->GetDevices()) {
                devices.emplace_back(pBus, pDevice.get());  // shares the bus
            }
            m_handles.push_back(m_pCameras->Add(devices));
        }
        for (const auto& handles : m_handles) {
            for (const auto& handle : handles) {
                m_pCameras->ReportArrived(handle);
            }
        }
    }

    ~World() {
        const TopologyLock lock(m_pCameras->GetTopologyMutex());
        for (const auto& handles : m_handles) {
            for (const auto& handle : handles) {
                TakeAway(handle);
            }
        }
        for (const auto& pBus : m_buses) {
            pBus->Stop();
        }
        for (const auto& handles : m_handles) {
            m_pCameras->Remove(handles);
        }
    }

    World(const World&) = delete;
    World& operator=(const World&) = delete;

    Error Unplug(unsigned int serialNumber) {
        return Changing(serialNumber, [this](const Handle& camera) { return TakeAway(camera); });
    }

    /// As on a real bus, the reset comes before the camera can be found: a connection to it that is made at
    /// once does not go stale by its own arrival.
    Error Replug(unsigned int serialNumber) {
        return Changing(
            serialNumber, [](const Handle& camera) { return camera->GetDevice()->Replug(); },
            [this](const Handle& camera) {
                camera->Return();
                camera->GetDevice()->ReportLink();
                m_pCameras->ReportArrived(camera);
            });
    }

    Error ResetBus(unsigned int serialNumber) {
        return Changing(serialNumber, [](const Handle&) { return true; });
    }

    void AdvanceClock(unsigned long long microseconds) {
        if (m_pClock->IsManual()) {
            m_pClock->Pass(m_pClock->GetTime(),
                           std::min(microseconds, kMaxAdvanceUs) * kNanosecondsPerMicrosecond);
        }
    }

    Error Find(unsigned int serialNumber, boost::shared_ptr<SimulatedDevice>* ppDevice) const {
        for (const auto& handles : m_handles) {
            for (const auto& handle : handles) {
                if (handle->GetIdentity().serialNumber == serialNumber) {
                    *ppDevice = handle->GetDevice();
                    return Error();
                }
            }
        }
        return Failure(ERR_CAMERA_NOT_FOUND, "This simulation has no camera with serial number %u.",
                       serialNumber);
    }

    Error FindPin(unsigned int serialNumber, unsigned int pin,
                  boost::shared_ptr<SimulatedDevice>* ppDevice) const {
        if (pin >= kPinCount) {
            return Failure(ERR_VALUE_OUT_OF_RANGE, "There is no pin %u; pins are 0 to %u.", pin,
                           kPinCount - 1);
        }
        return Find(serialNumber, ppDevice);
    }

  private:
    using Handle = SimulatedCameras::Handle;

    /// First the report, so that whoever is woken by the end of the stream finds the generation raised and
    /// can connect again.
    bool TakeAway(const Handle& camera) {
        if (!camera->IsPresent()) {
            return false;
        }
        camera->Leave();
        m_pCameras->ReportLost(camera);
        return camera->GetDevice()->Unplug();
    }

    /// Changes a camera; when that changed something, its bus is reset, and `afterwards` is called.
    template <typename Change>
    Error Changing(
        unsigned int serialNumber, Change change,
        const std::function<void(const Handle&)>& afterwards = [](const Handle&) {}) {
        const TopologyLock lock(m_pCameras->GetTopologyMutex());
        for (const auto& handles : m_handles) {
            for (const auto& handle : handles) {
                if (handle->GetIdentity().serialNumber == serialNumber) {
                    if (change(handle)) {
                        ReportReset(handles);
                        afterwards(handle);
                    }
                    return Error();
                }
            }
        }
        boost::shared_ptr<SimulatedDevice> pNone;
        return Find(serialNumber, &pNone);
    }

    void ReportReset(const std::vector<Handle>& bus) {
        std::vector<Handle> present;
        std::copy_if(bus.begin(), bus.end(), std::back_inserter(present),
                     [](const Handle& handle) { return handle->IsPresent(); });
        for (const Handle& handle : present) {
            handle->GetDevice()->ReportLink();
        }
        m_pCameras->ReportBusReset(present);
    }

    const boost::shared_ptr<SimulatedCameras> m_pCameras;
    const boost::shared_ptr<SimulatedClock> m_pClock;
    std::vector<boost::shared_ptr<SimulatedBus>> m_buses;
    std::vector<std::vector<Handle>> m_handles;  // by bus
};

Simulation::Simulation(boost::shared_ptr<World> pWorld) : m_pWorld(std::move(pWorld)) {}

Simulation::~Simulation() = default;

namespace {

Error CheckTarget(const boost::shared_ptr<Simulation>* ppSimulation) {
    return ppSimulation != nullptr ? Error()
                                   : Failure(ERR_INVALID_PARAMETER,
                                             "The simulation needs a place to go to: the pointer is null.");
}

}  // namespace

Error Simulation::FromDescription(const WorldDescription& description,
                                  boost::shared_ptr<Simulation>* ppSimulation) {
    try {
        ppSimulation->reset(new Simulation(boost::make_shared<World>(description)));
    } catch (const boost::thread_resource_error&) {
        return Failure(ERR_FAILED, "The system refuses a thread for a simulated bus.");
    }
    return Error();
}

Error Simulation::FromCount(unsigned int cameraCount, boost::shared_ptr<Simulation>* ppSimulation) {
    WorldDescription description;
    Error error = CheckTarget(ppSimulation);
    if (error == ERR_OK) {
        error = DescribeCount(cameraCount, &description);
    }
    return error != ERR_OK ? error : FromDescription(description, ppSimulation);
}

Error Simulation::FromJson(const std::string& text, boost::shared_ptr<Simulation>* ppSimulation) {
    WorldDescription description;
    Error error = CheckTarget(ppSimulation);
    if (error == ERR_OK) {
        error = ParseWorld(text, &description);
    }
    return error != ERR_OK ? error : FromDescription(description, ppSimulation);
}

Error Simulation::FromFile(const std::string& path, boost::shared_ptr<Simulation>* ppSimulation) {
    std::string text;
    Error error = ReadFile(path, &text);
    if (error != ERR_OK) {
        return error;
    }
    error = FromJson(text, ppSimulation);
    if (error == ERR_INVALID_DESCRIPTION) {
        return FailureBecause(ERR_INVALID_DESCRIPTION, error, "%s: %s", Printable(path).c_str(),
                              error.GetDescription());
    }
    return error;
}

Error Simulation::FromText(const std::string& countOrPath, boost::shared_ptr<Simulation>* ppSimulation) {
    constexpr std::size_t kMaxDigits = 9;
    constexpr std::size_t kMaxShownDigits = 30;
    if (countOrPath.empty() || countOrPath.find_first_not_of("0123456789") != std::string::npos) {
        return FromFile(countOrPath, ppSimulation);
    }
    if (countOrPath.size() > kMaxDigits) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "%s cameras cannot be simulated; it must be 1 to %u.",
                       Printable(countOrPath, kMaxShownDigits).c_str(), kMaxCamerasPerBus);
    }
    return FromCount(static_cast<unsigned int>(std::stoul(countOrPath)), ppSimulation);
}

Error Simulation::Unplug(unsigned int serialNumber) {
    return m_pWorld->Unplug(serialNumber);
}

Error Simulation::Replug(unsigned int serialNumber) {
    return m_pWorld->Replug(serialNumber);
}

Error Simulation::ResetBus(unsigned int serialNumber) {
    return m_pWorld->ResetBus(serialNumber);
}

void Simulation::AdvanceClock(unsigned long long microseconds) {
    m_pWorld->AdvanceClock(microseconds);
}

Error Simulation::SetInput(unsigned int serialNumber, unsigned int pin, bool isHigh) {
    return DrivePin(serialNumber, pin, isHigh, 0);
}

Error Simulation::PulseInput(unsigned int serialNumber, unsigned int pin, unsigned long long microseconds) {
    if (microseconds == 0 || microseconds > kMaxAdvanceUs) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "The pulse is to last %llu us; it must be 1 to %llu.",
                       microseconds, kMaxAdvanceUs);
    }
    return DrivePin(serialNumber, pin, true, microseconds);
}

Error Simulation::DrivePin(unsigned int serialNumber, unsigned int pin, bool isHigh,
                           unsigned long long microseconds) {
    boost::shared_ptr<SimulatedDevice> pDevice;
    Error error = m_pWorld->FindPin(serialNumber, pin, &pDevice);
    if (error == ERR_OK) {
        pDevice->SetInput(pin, isHigh, microseconds);
    }
    return error;
}

Error Simulation::GetPin(unsigned int serialNumber, unsigned int pin, bool* pIsHigh) const {
    if (pIsHigh == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The level of a pin of camera %u needs a place to go to.",
                       serialNumber);
    }
    boost::shared_ptr<SimulatedDevice> pDevice;
    Error error = m_pWorld->FindPin(serialNumber, pin, &pDevice);
    if (error == ERR_OK) {
        *pIsHigh = pDevice->IsPinHigh(pin);
    }
    return error;
}

Error Simulation::SetTiming(unsigned int serialNumber, const SimulatedTiming& timing) {
    const struct {
        const char* what;
        unsigned int value;
    } latencies[] = {{"time of a read", timing.readLatencyUs},
                     {"time of a write", timing.writeLatencyUs},
                     {"jitter", timing.jitterUs}};
    for (const auto& latency : latencies) {
        if (latency.value > kMaxLatencyUs) {
            return Failure(ERR_VALUE_OUT_OF_RANGE, "The %s of camera %u is %u us; it must be 0 to %u.",
                           latency.what, serialNumber, latency.value, kMaxLatencyUs);
        }
    }
    if (!(std::abs(timing.clockErrorPpm) <= kMaxClockErrorPpm)) {
        return Failure(ERR_VALUE_OUT_OF_RANGE, "The clock error of camera %u is %g ppm; it must be %g to %g.",
                       serialNumber, timing.clockErrorPpm, -kMaxClockErrorPpm, kMaxClockErrorPpm);
    }
    boost::shared_ptr<SimulatedDevice> pDevice;
    Error error = m_pWorld->Find(serialNumber, &pDevice);
    if (error == ERR_OK) {
        pDevice->SetTiming(timing);
    }
    return error;
}

Error Simulation::GetFrameCounts(unsigned int serialNumber, SimulatedFrameCounts* pCounts) const {
    if (pCounts == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The frame counts of camera %u need a record to go to.",
                       serialNumber);
    }
    boost::shared_ptr<SimulatedDevice> pDevice;
    Error error = m_pWorld->Find(serialNumber, &pDevice);
    if (error == ERR_OK) {
        *pCounts = pDevice->GetFrameCounts();
    }
    return error;
}

Error Simulation::SetFaults(unsigned int serialNumber, const std::string& json) {
    boost::shared_ptr<SimulatedDevice> pDevice;
    Error error = m_pWorld->Find(serialNumber, &pDevice);
    FaultDescription faults;
    if (error == ERR_OK) {
        error = ParseFaults(json, &faults);
    }
    if (error == ERR_OK) {
        pDevice->SetFaults(faults);
    }
    return error;
}

}  // namespace Zevrin
