#include "SimulatedTransport.h"

#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <cstdlib>
#include <utility>

#include "Failure.h"
#include "FormatText.h"
#include "zevrin/Simulation.h"

namespace Zevrin {

using Lock = boost::lock_guard<boost::mutex>;
using TopologyLock = boost::lock_guard<boost::recursive_mutex>;

namespace {

/// The simulation that the environment asks for; made once, gone with the process.
class EnvironmentSimulation {
  public:
    EnvironmentSimulation() {
        const char* text = std::getenv("ZEVRIN_SIMULATE");
        if (text != nullptr && *text != '\0') {
            const Error error = Simulation::FromText(text, &m_pSimulation);
            if (error != ERR_OK) {
                m_error = FailureBecause(ERR_TRANSPORT_FAILED, error,
                                         "The environment variable ZEVRIN_SIMULATE cannot be followed: %s",
                                         error.GetDescription());
            }
        }
    }

    const Error& GetError() const { return m_error; }

  private:
    boost::shared_ptr<Simulation> m_pSimulation;
    Error m_error;
};

const Error& GetEnvironmentError() {
    static const EnvironmentSimulation environment;
    return environment.GetError();
}

}  // namespace

boost::shared_ptr<SimulatedCameras> SimulatedCameras::GetInstance() {
    static const boost::shared_ptr<SimulatedCameras> pInstance = boost::make_shared<SimulatedCameras>();
    return pInstance;
}

SimulatedCameras::Handle SimulatedCameras::TakeVacant(unsigned int serialNumber) {
    for (auto place = m_vacant.begin(); place != m_vacant.end();) {
        const Handle handle = place->lock();
        if (handle && handle->GetIdentity().serialNumber != serialNumber) {
            ++place;
            continue;
        }
        place = m_vacant.erase(place);
        if (handle) {
            return handle;
        }
    }
    return nullptr;
}

std::vector<SimulatedCameras::Handle> SimulatedCameras::Add(
    const std::vector<boost::shared_ptr<SimulatedDevice>>& devices) {
    std::vector<Handle> handles;
    const Lock lock(m_mutex);
    for (const auto& pDevice : devices) {
        Handle handle = TakeVacant(pDevice->GetIdentity().serialNumber);
        if (handle) {
            handle->Attach(pDevice);
        } else {
            handle = boost::make_shared<SimulatedCamera>(pDevice);
        }
        handles.push_back(handle);
        m_handles.push_back(handle);
    }
    return handles;
}

void SimulatedCameras::Remove(const std::vector<Handle>& handles) {
    const Lock lock(m_mutex);
    for (const Handle& handle : handles) {
        handle->Detach();
        m_handles.erase(std::remove(m_handles.begin(), m_handles.end(), handle), m_handles.end());
        m_vacant.emplace_back(handle);
    }
}

std::vector<boost::shared_ptr<HardwareInterface>> SimulatedCameras::GetPresent() const {
    std::vector<Handle> handles;
    {
        const Lock lock(m_mutex);
        handles = m_handles;
    }
    std::vector<boost::shared_ptr<HardwareInterface>> present;
    for (const Handle& handle : handles) {
        if (handle->IsPresent()) {
            present.push_back(handle);
        }
    }
    return present;
}

void SimulatedCameras::ReportArrived(const Handle& camera) {
    const std::vector<TopologyListener*> listeners = m_listeners;
    for (TopologyListener* pListener : listeners) {
        pListener->OnCameraArrived(camera);
    }
}

void SimulatedCameras::ReportLost(const Handle& camera) {
    const std::vector<TopologyListener*> listeners = m_listeners;
    for (TopologyListener* pListener : listeners) {
        pListener->OnCameraLost(camera);
    }
}

void SimulatedCameras::ReportBusReset(const std::vector<Handle>& cameras) {
    const std::vector<TopologyListener*> listeners = m_listeners;
    for (TopologyListener* pListener : listeners) {
        pListener->OnBusReset({cameras.begin(), cameras.end()});
    }
}

void SimulatedCameras::AddListener(TopologyListener* pListener) {
    const TopologyLock lock(m_topologyMutex);
    m_listeners.push_back(pListener);
}

void SimulatedCameras::RemoveListener(TopologyListener* pListener) {
    const TopologyLock lock(m_topologyMutex);
    m_listeners.erase(std::remove(m_listeners.begin(), m_listeners.end(), pListener), m_listeners.end());
}

SimulatedTransport::SimulatedTransport() : m_pCameras(SimulatedCameras::GetInstance()) {
    static_cast<void>(
        GetEnvironmentError());  // now, since nothing may be reported while cameras are discovered
}

SimulatedTransport::~SimulatedTransport() {
    SetTopologyListener(nullptr);
}

Error SimulatedTransport::Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) {
    *pCameras = m_pCameras->GetPresent();
    return GetEnvironmentError();
}

void SimulatedTransport::SetTopologyListener(TopologyListener* pListener) {
    const TopologyLock lock(m_pCameras->GetTopologyMutex());
    if (m_pListener != nullptr) {
        m_pCameras->RemoveListener(m_pListener);
    }
    m_pListener = pListener;
    if (pListener != nullptr) {
        m_pCameras->AddListener(pListener);
    }
}

}  // namespace Zevrin
