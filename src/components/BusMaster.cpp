#include "BusMaster.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <limits>
#include <utility>

#include "Failure.h"
#include "FormatText.h"
#include "Log.h"

namespace Zevrin {

namespace {

std::vector<CameraIdentity> IdentitiesOf(const std::vector<boost::shared_ptr<HardwareInterface>>& cameras) {
    std::vector<CameraIdentity> identities;
    for (const auto& pCamera : cameras) {
        identities.push_back(pCamera->GetIdentity());
    }
    return identities;
}

}  // namespace

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
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_isEnding = true;
        m_deliveryWanted.notify_all();
    }
    if (m_deliverer.joinable()) {
        const boost::this_thread::disable_interruption notInterrupted;
        m_deliverer.join();
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
    std::vector<Handle> present;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        for (const Entry& entry : m_entries) {
            if (entry.isPresent) {
                present.push_back(entry.pHardware);
            }
        }
    }
    *pCameras = IdentitiesOf(present);
    return pCameras->empty() ? error : Error();
}

std::vector<CameraIdentity> BusMaster::GetDuplicates() const {
    std::vector<Handle> duplicates;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        duplicates = m_duplicates;
    }
    return IdentitiesOf(duplicates);
}

Error BusMaster::Rescan() {
    return Discover(nullptr);
}

Error BusMaster::EnsureDiscovered() {
    return m_discovered ? Error() : Discover(nullptr);
}

/// Asks the transports in their order, whatever the others answer, and no further than the camera that is
/// wanted: one in the process is not kept waiting for a broadcast. The last failure is the result. A look
/// that began after it was asked for, and went all the way, answers all who have waited for theirs.
Error BusMaster::Discover(const unsigned int* pWantedSerialNumber) {
    const unsigned long long begunBefore = m_looks;
    Error result;
    {
        boost::lock_guard<boost::mutex> lock(m_discoveryMutex);
        if (m_completeLook > begunBefore) {
            return m_completeResult;
        }
        const unsigned long long look = ++m_looks;
        Handle pWanted;
        auto transport = m_transports.begin();
        while (transport != m_transports.end() && !pWanted) {
            const Error error = DiscoverOn(**transport++);
            result = error != ERR_OK ? error : result;
            if (pWantedSerialNumber != nullptr && Find(*pWantedSerialNumber, &pWanted) != ERR_OK) {
                pWanted.reset();
            }
        }
        if (transport == m_transports.end()) {
            m_discovered = true;
            m_completeLook = look;
            m_completeResult = result;
        }
    }
    DeliverChanges();
    return result;
}

Error BusMaster::DiscoverOn(Transport& transport) {
    unsigned long long knownSince = 0;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        knownSince = m_changeCount;
    }
    std::vector<Handle> cameras;
    Error error = transport.Discover(&cameras);
    if (error != ERR_OK) {
        Log().warn("{}: {}", transport.GetName(), error.GetDescription());
    }
    for (const Handle& pCamera : cameras) {
        Remember(pCamera, &transport, knownSince);
    }
    if (error == ERR_OK) {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        for (Entry& entry : m_entries) {
            const bool isListed = std::find(cameras.begin(), cameras.end(), entry.pHardware) != cameras.end();
            if (entry.pTransport == &transport && entry.isPresent && !isListed &&
                entry.changedAt <= knownSince) {
                SetPresence(&entry, false);
            }
        }
    }
    return error;
}

/// The camera is there, unless it is known to have gone after `knownSince`.
void BusMaster::Remember(const Handle& pCamera, const Transport* pTransport, unsigned long long knownSince) {
    const CameraIdentity identity = pCamera->GetIdentity();
    boost::lock_guard<boost::mutex> lock(m_mutex);
    Entry* pEntry = FindEntry(identity.serialNumber);
    if (pEntry == nullptr) {
        m_entries.emplace_back();
        pEntry = &m_entries.back();
        pEntry->serialNumber = identity.serialNumber;
        pEntry->pHardware = pCamera;
    } else if (pEntry->pHardware != pCamera) {
        if (pEntry->isPresent) {
            if (std::find(m_duplicates.begin(), m_duplicates.end(), pCamera) == m_duplicates.end()) {
                m_duplicates.push_back(pCamera);
                Log().warn("camera {} at {} is left out: its serial number is taken", identity.serialNumber,
                           Printable(identity.address));
            }
            return;
        }
        if (std::find(m_formerHandles.begin(), m_formerHandles.end(), pEntry->pHardware) ==
            m_formerHandles.end()) {
            m_formerHandles.push_back(pEntry->pHardware);
        }
        pEntry->pHardware = pCamera;
        m_duplicates.erase(std::remove(m_duplicates.begin(), m_duplicates.end(), pCamera),
                           m_duplicates.end());
    } else if (pEntry->isPresent || pEntry->changedAt > knownSince) {
        pEntry->pTransport = pTransport != nullptr ? pTransport : pEntry->pTransport;
        return;
    }
    pEntry->pTransport = pTransport;
    SetPresence(pEntry, true);
}

/// With the lock held.
void BusMaster::SetPresence(Entry* pEntry, bool isPresent) {
    pEntry->isPresent = isPresent;
    pEntry->changedAt = ++m_changeCount;
    m_generations.Raise(pEntry->serialNumber);
    m_changes.push_back({pEntry->pHardware, isPresent});
}

void BusMaster::OnCameraArrived(const Handle& pCamera) {
    Remember(pCamera, nullptr, std::numeric_limits<unsigned long long>::max());
    DeliverChanges();
}

void BusMaster::OnCameraLost(const Handle& pCamera) {
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_duplicates.erase(std::remove(m_duplicates.begin(), m_duplicates.end(), pCamera),
                           m_duplicates.end());
        Entry* pEntry = FindEntry(pCamera.get());
        if (pEntry != nullptr && pEntry->isPresent) {
            SetPresence(pEntry, false);
        }
    }
    DeliverChangesAside();
}

void BusMaster::OnBusReset(const std::vector<Handle>& cameras) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    for (const Handle& pCamera : cameras) {
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
    const boost::this_thread::disable_interruption notInterrupted;
    boost::unique_lock<boost::mutex> lock(m_mutex);
    if (listener) {
        m_listeners[pOwner] = std::move(listener);
        return;
    }
    m_listeners.erase(pOwner);
    m_delivered.wait(lock, [&] {
        return m_pRunningListener != pOwner || m_deliveringThread == boost::this_thread::get_id();
    });
}

/// A transport reports all its losses on one thread, and wakes whoever waits for the camera thereafter: a
/// listener that is slow, or waits for one of them, must hold up neither.
void BusMaster::DeliverChangesAside() {
    try {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (!m_deliverer.joinable()) {
            m_deliverer = boost::thread([this] { RunDelivery(); });
        }
        m_isDeliveryWanted = true;
        m_deliveryWanted.notify_all();
        return;
    } catch (const boost::thread_resource_error&) {
        Log().warn("The system refuses a thread that tells of lost cameras.");
    }
    DeliverChanges();
}

void BusMaster::RunDelivery() {
    for (;;) {
        {
            boost::unique_lock<boost::mutex> lock(m_mutex);
            m_deliveryWanted.wait(lock, [this] { return m_isEnding || m_isDeliveryWanted; });
            if (m_isEnding) {
                return;
            }
            m_isDeliveryWanted = false;
        }
        DeliverChanges();
    }
}

/// One thread tells all changes, also those that are added meanwhile, so that they stay in order.
void BusMaster::DeliverChanges() {
    boost::unique_lock<boost::mutex> lock(m_mutex);
    if (m_isDelivering) {
        return;
    }
    m_isDelivering = true;
    m_deliveringThread = boost::this_thread::get_id();
    while (!m_changes.empty()) {
        const Change change = m_changes.front();
        m_changes.pop_front();
        std::vector<const void*> owners;
        for (const auto& listener : m_listeners) {
            owners.push_back(listener.first);
        }
        for (const void* pOwner : owners) {
            const auto found = m_listeners.find(pOwner);
            if (found == m_listeners.end()) {
                continue;  // taken away meanwhile
            }
            const ChangeListener listener = found->second;
            m_pRunningListener = pOwner;
            lock.unlock();
            listener(change.pHardware->GetIdentity(), change.isPresent);
            lock.lock();
            m_pRunningListener = nullptr;
            m_delivered.notify_all();
        }
    }
    m_isDelivering = false;
    m_deliveringThread = boost::thread::id();
}

}  // namespace Zevrin
