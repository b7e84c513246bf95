#include "BusMaster.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <utility>

#include "Failure.h"
#include "FormatText.h"
#include "Log.h"

namespace Zevrin {

BusMaster::BusMaster() : BusMaster(CreateTransports()) {}

BusMaster::BusMaster(std::vector<std::unique_ptr<Transport>> transports)
    : m_transports(std::move(transports)) {
    for (const auto& pTransport : m_transports) {
        pTransport->SetTopologyListener(this);
    }
}

BusMaster::~BusMaster() {
    for (const auto& pTransport : m_transports) {
        pTransport->SetTopologyListener(nullptr);
    }
}

Error BusMaster::GetHwInterfaceFromSerialNumber(unsigned int serialNumber, HardwareInterface** ppHardware) {
    if (ppHardware == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The handle of camera %u needs a place to go to.",
                       serialNumber);
    }
    boost::shared_ptr<HardwareInterface> pHardware;
    Error error = Find(serialNumber, &pHardware);
    if (error == ERR_CAMERA_NOT_FOUND) {
        const Error discovered = EnsureDiscovered();
        error = Find(serialNumber, &pHardware);
        if (error == ERR_CAMERA_NOT_FOUND && discovered != ERR_OK) {
            error = discovered;
        }
    }
    if (error == ERR_OK) {
        *ppHardware = pHardware.get();  // m_entries keeps it
    }
    return error;
}

Error BusMaster::AcquireHardware(unsigned int serialNumber,
                                 boost::shared_ptr<HardwareInterface>* ppHardware) {
    if (ppHardware == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The handle of camera %u needs a place to go to.",
                       serialNumber);
    }
    if (Find(serialNumber, ppHardware) == ERR_OK) {
        return Error();
    }
    const Error discovered = Discover(&serialNumber);
    Error error = Find(serialNumber, ppHardware);
    return error == ERR_CAMERA_NOT_FOUND && discovered != ERR_OK ? discovered : error;
}

Error BusMaster::GetCameras(std::vector<CameraIdentity>* pCameras) {
    if (pCameras == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The list of cameras needs a place to go to.");
    }
    Error error = EnsureDiscovered();
    std::vector<CameraIdentity> cameras;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        for (const Entry& entry : m_entries) {
            if (entry.isPresent) {
                cameras.push_back(entry.pHardware->GetIdentity());
            }
        }
    }
    *pCameras = std::move(cameras);
    return pCameras->empty() ? error : Error();
}

std::vector<CameraIdentity> BusMaster::GetDuplicates() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    std::vector<CameraIdentity> duplicates;
    for (const auto& pHardware : m_duplicates) {
        duplicates.push_back(pHardware->GetIdentity());
    }
    return duplicates;
}

Error BusMaster::Rescan() {
    return Discover(nullptr);
}

Error BusMaster::EnsureDiscovered() {
    return m_discovered ? Error() : Discover(nullptr);
}

/// Asks the transports in their order, whatever the others answer, and no further than the camera that is
/// wanted: one in the process is not kept waiting for a broadcast. The last failure is the result.
Error BusMaster::Discover(const unsigned int* pWantedSerialNumber) {
    Error result;
    std::vector<CameraIdentity> arrived;
    {
        boost::lock_guard<boost::mutex> lock(m_discoveryMutex);
        bool found = false;
        for (auto transport = m_transports.begin(); transport != m_transports.end() && !found; ++transport) {
            std::vector<boost::shared_ptr<HardwareInterface>> cameras;
            const Error error = (*transport)->Discover(&cameras);
            if (error != ERR_OK) {
                Log().warn("{}: {}", (*transport)->GetName(), error.GetDescription());
                result = error;
            }
            for (const auto& pCamera : cameras) {
                if (Remember(pCamera)) {
                    arrived.push_back(pCamera->GetIdentity());
                }
            }
            boost::shared_ptr<HardwareInterface> pWanted;
            found = pWantedSerialNumber != nullptr && Find(*pWantedSerialNumber, &pWanted) == ERR_OK;
        }
        m_discovered = m_discovered || !found;
    }
    for (const CameraIdentity& identity : arrived) {
        Notify(identity, true);
    }
    return result;
}

/// Whether the camera is there now and was not before.
bool BusMaster::Remember(const boost::shared_ptr<HardwareInterface>& pCamera) {
    const CameraIdentity identity = pCamera->GetIdentity();
    boost::lock_guard<boost::mutex> lock(m_mutex);
    Entry* pEntry = FindEntry(identity.serialNumber);
    if (pEntry == nullptr) {
        m_entries.push_back({identity.serialNumber, pCamera, true});
    } else if (pEntry->pHardware != pCamera) {
        if (std::find(m_duplicates.begin(), m_duplicates.end(), pCamera) == m_duplicates.end()) {
            m_duplicates.push_back(pCamera);
            Log().warn("camera {} at {} is left out: its serial number is taken", identity.serialNumber,
                       Printable(identity.address));
        }
        return false;
    } else if (pEntry->isPresent) {
        return false;
    } else {
        pEntry->isPresent = true;
    }
    m_generations.Raise(identity.serialNumber);
    return true;
}

void BusMaster::OnCameraArrived(const boost::shared_ptr<HardwareInterface>& pCamera) {
    if (Remember(pCamera)) {
        Notify(pCamera->GetIdentity(), true);
    }
}

void BusMaster::OnCameraLost(const boost::shared_ptr<HardwareInterface>& pCamera) {
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        Entry* pEntry = FindEntry(pCamera.get());
        if (pEntry == nullptr || !pEntry->isPresent) {
            return;
        }
        pEntry->isPresent = false;
        m_generations.Raise(pEntry->serialNumber);
    }
    Notify(pCamera->GetIdentity(), false);
}

void BusMaster::OnBusReset(const std::vector<boost::shared_ptr<HardwareInterface>>& cameras) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    for (const auto& pCamera : cameras) {
        if (const Entry* pEntry = FindEntry(pCamera.get())) {
            m_generations.Raise(pEntry->serialNumber);
        }
    }
}

Error BusMaster::Find(unsigned int serialNumber, boost::shared_ptr<HardwareInterface>* ppHardware) const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    const Entry* pEntry = FindEntry(serialNumber);
    if (pEntry == nullptr) {
        return Failure(ERR_CAMERA_NOT_FOUND, "There is no camera with serial number %u.", serialNumber);
    }
    if (!pEntry->isPresent) {
        return Failure(ERR_CAMERA_LOST, "The camera with serial number %u has gone away.", serialNumber);
    }
    *ppHardware = pEntry->pHardware;
    return Error();
}

const BusMaster::Entry* BusMaster::FindEntry(unsigned int serialNumber) const {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const Entry& entry) { return entry.serialNumber == serialNumber; });
    return found != m_entries.end() ? &*found : nullptr;
}

BusMaster::Entry* BusMaster::FindEntry(unsigned int serialNumber) {
    return const_cast<Entry*>(std::as_const(*this).FindEntry(serialNumber));
}

BusMaster::Entry* BusMaster::FindEntry(const HardwareInterface* pHardware) {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const Entry& entry) { return entry.pHardware.get() == pHardware; });
    return found != m_entries.end() ? &*found : nullptr;
}

void BusMaster::SetChangeListener(const void* pOwner, ChangeListener listener) {
    boost::lock_guard<boost::mutex> lock(m_listenerMutex);
    if (listener) {
        m_listeners[pOwner] = std::move(listener);
    } else {
        m_listeners.erase(pOwner);
    }
}

void BusMaster::Notify(const CameraIdentity& identity, bool isPresent) {
    boost::lock_guard<boost::mutex> lock(m_listenerMutex);
    for (const auto& listener : m_listeners) {
        listener.second(identity, isPresent);
    }
}

}  // namespace Zevrin
