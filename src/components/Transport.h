#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <memory>
#include <vector>

#include "HardwareInterface.h"
#include "zevrin/Error.h"

namespace Zevrin {

/// What a transport tells the bus manager by itself.
///
/// A report comes on any thread, also on one that has just changed the topology by hand. The transport may
/// hold the lock that keeps its reports in the order of the changes: a report may look at cameras, and
/// neither calls `SetTopologyListener` nor waits for a thread that does or that changes the topology.
class TopologyListener {
  public:
    virtual ~TopologyListener() = default;
    /// The camera is there: new, or back. Known cameras that never went away are ignored.
    virtual void OnCameraArrived(const boost::shared_ptr<HardwareInterface>& pCamera) = 0;
    virtual void OnCameraLost(const boost::shared_ptr<HardwareInterface>& pCamera) = 0;
    /// A bus was reset: these are all its cameras.
    virtual void OnBusReset(const std::vector<boost::shared_ptr<HardwareInterface>>& cameras) = 0;
};

/// One bus technology: finds cameras and reports changes of the topology.
///
/// A camera keeps one `HardwareInterface` for the transport's whole life, also when it goes away and
/// comes back.
class Transport {
  public:
    virtual ~Transport() = default;

    /// Such as "simulated"; a string literal.
    virtual const char* GetName() const = 0;

    /// Looks at the bus and stores the cameras that are there now, those that are open included; one that
    /// is missing is taken to have gone. May take as long as a network broadcast. The bus manager never
    /// calls it twice at once. Nothing is reported to the listener from within.
    /// Errors: ERR_TRANSPORT_FAILED.
    virtual Error Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) = 0;

    /// From here on `pListener` is told of changes; null ends that, and when the call returns no report
    /// is under way.
    virtual void SetTopologyListener(TopologyListener* pListener) = 0;
};

/// The transports that this build has, in the order in which they are asked; defined beside them.
std::vector<std::unique_ptr<Transport>> CreateTransports();

}  // namespace Zevrin
