#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/smart_ptr/weak_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <vector>

#include "SimulatedCamera.h"
#include "Transport.h"

namespace Zevrin {

/// Where the simulations of the process and its transports meet. Neither needs the other: simulations come
/// and go while no transport looks, and the other way round.
/// Threads: any.
class SimulatedCameras {
  public:
    using Handle = boost::shared_ptr<SimulatedCamera>;

    /// The one of this process.
    static boost::shared_ptr<SimulatedCameras> GetInstance();

    /// Held while the topology changes and the change is reported, so that reports arrive in the order of the
    /// changes. Recursive: a listener may change the topology.
    boost::recursive_mutex& GetTopologyMutex() { return m_topologyMutex; }

    /// Gives each camera a handle, that of a former camera of the same serial number where there is one.
    std::vector<Handle> Add(const std::vector<boost::shared_ptr<SimulatedDevice>>& devices);

    /// The handles stay where somebody keeps them, vacant.
    void Remove(const std::vector<Handle>& handles);

    std::vector<boost::shared_ptr<HardwareInterface>> GetPresent() const;

    // Reports; with the topology mutex held.

    void ReportArrived(const Handle& camera);
    void ReportLost(const Handle& camera);
    void ReportBusReset(const std::vector<Handle>& cameras);

    void AddListener(TopologyListener* pListener);
    void RemoveListener(TopologyListener* pListener);

  private:
    Handle TakeVacant(unsigned int serialNumber);

    boost::recursive_mutex m_topologyMutex;  // guards m_listeners
    std::vector<TopologyListener*> m_listeners;

    mutable boost::mutex m_mutex;  // guards what follows
    std::vector<Handle> m_handles;
    std::vector<boost::weak_ptr<SimulatedCamera>> m_vacant;
};

/// The simulated cameras of this process.
class SimulatedTransport : public Transport {
  public:
    /// The first one lets the cameras of the environment variable ZEVRIN_SIMULATE come to be.
    SimulatedTransport();
    ~SimulatedTransport() override;

    const char* GetName() const override { return "simulated"; }

    /// Errors: ERR_TRANSPORT_FAILED (the environment's description is wrong; the others are found).
    Error Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) override;
    void SetTopologyListener(TopologyListener* pListener) override;

  private:
    const boost::shared_ptr<SimulatedCameras> m_pCameras;
    TopologyListener* m_pListener = nullptr;  // guarded by the topology mutex
};

}  // namespace Zevrin
