#pragma once

#include <atomic>
#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "GenerationTable.h"
#include "HardwareInterface.h"
#include "Transport.h"
#include "zevrin/Error.h"

namespace Zevrin {

/// Knows the cameras of all transports by serial number, and the generation under which each is known.
/// Reached through `Singleton<BusMaster>`.
///
/// Built without touching a bus: cameras are looked for when one is first asked for, and again only when
/// `Rescan` is called, when a serial number is unknown or away, or when a transport reports a change.
/// A camera once known keeps its handle for the bus manager's life, also while it is away; it keeps its
/// generation count too, which rises when it goes, when it returns, and with every reset of its bus.
/// Threads: any.
class BusMaster : private TopologyListener {
  public:
    BusMaster();
    /// With transports of the caller's choice.
    explicit BusMaster(std::vector<std::unique_ptr<Transport>> transports);
    virtual ~BusMaster();
    BusMaster(const BusMaster&) = delete;
    BusMaster& operator=(const BusMaster&) = delete;

    /// The bus generation of a camera; 0 for a serial number that was never known. Takes no lock and
    /// touches no bus.
    unsigned int GetGeneration(unsigned int serialNumber) const noexcept {
        return m_generations.Get(serialNumber);
    }

    /// The camera's handle, which stays the bus manager's. Looks for cameras when none were looked for yet.
    /// Errors: ERR_CAMERA_NOT_FOUND, ERR_CAMERA_LOST (known, and away), ERR_INVALID_PARAMETER.
    Error GetHwInterfaceFromSerialNumber(unsigned int serialNumber, HardwareInterface** ppHardware);

    /// A shared handle to keep; looks for the camera again when it is not known or away.
    /// Errors: as above.
    Error AcquireHardware(unsigned int serialNumber, boost::shared_ptr<HardwareInterface>* ppHardware);

    /// The cameras that are there, in order of discovery; looks for them when none were looked for yet.
    /// Errors: a transport's, when no other transport found a camera.
    Error GetCameras(std::vector<CameraIdentity>* pCameras);

    /// Cameras that were found and left out since their serial number was taken.
    std::vector<CameraIdentity> GetDuplicates() const;

    /// Looks for cameras again, on every transport. May take as long as a network broadcast.
    Error Rescan();

    /// Told of each change, in order, with the camera's identity and whether it is there; null ends that, and
    /// then no call is under way when this returns (unless it is called from within one). Called from any
    /// thread, one call at a time, with no lock held: it may use the bus manager. Of a loss it is told on a
    /// thread of the bus manager, so that nobody who is to learn of that waits for the listener.
    using ChangeListener = std::function<void(const CameraIdentity&, bool isPresent)>;
    void SetChangeListener(const void* pOwner, ChangeListener listener);

  private:
    using Handle = boost::shared_ptr<HardwareInterface>;

    struct Entry {
        unsigned int serialNumber = 0;
        Handle pHardware;
        bool isPresent = false;
        const Transport* pTransport = nullptr;  ///< that listed it; null until one has
        unsigned long long changedAt = 0;       ///< m_changeCount when it last came or went
    };
    struct Change {
        Handle pHardware;
        bool isPresent = false;
    };

    void OnCameraArrived(const Handle& pCamera) override;
    void OnCameraLost(const Handle& pCamera) override;
    void OnBusReset(const std::vector<Handle>& cameras) override;

    Error EnsureDiscovered();
    Error Discover(const unsigned int* pWantedSerialNumber);
    Error DiscoverOn(Transport& transport);
    void Remember(const Handle& pCamera, const Transport* pTransport, unsigned long long knownSince);
    void SetPresence(Entry* pEntry, bool isPresent);
    Error Find(unsigned int serialNumber, Handle* ppHardware) const;
    const Entry* FindEntry(unsigned int serialNumber) const;
    Entry* FindEntry(unsigned int serialNumber);
    Entry* FindEntry(const HardwareInterface* pHardware);
    void DeliverChanges();
    void DeliverChangesAside();
    void RunDelivery();

    GenerationTable m_generations;

    boost::mutex m_discoveryMutex;          // one look at the buses at a time; guards the two that follow it
    unsigned long long m_completeLook = 0;  // the last one at all buses
    Error m_completeResult;
    std::atomic<unsigned long long> m_looks{0};  // begun so far
    std::atomic<bool> m_discovered{false};
    std::vector<std::unique_ptr<Transport>> m_transports;  // set by the constructor

    mutable boost::mutex m_mutex;  // guards what follows; not held while a transport or a listener is called
    std::vector<Entry> m_entries;
    std::vector<Handle> m_duplicates;
    std::vector<Handle>
        m_formerHandles;  // replaced by another of the same number; kept for those who use them
    unsigned long long m_changeCount = 0;
    std::deque<Change> m_changes;  // to be told to the listeners
    std::map<const void*, ChangeListener> m_listeners;
    bool m_isDelivering = false;
    const void* m_pRunningListener = nullptr;  // its owner
    boost::thread::id m_deliveringThread;
    boost::condition_variable m_delivered;
    bool m_isDeliveryWanted = false;  // of m_deliverer
    bool m_isEnding = false;
    boost::condition_variable m_deliveryWanted;
    boost::thread m_deliverer;  // from the first loss on
};

}  // namespace Zevrin
