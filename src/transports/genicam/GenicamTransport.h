#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <memory>
#include <vector>

#include "Transport.h"

namespace Zevrin {

class GenicamCamera;
class LossReporter;

/// GigE Vision and USB3 Vision cameras, through Aravis. Needs no GLib main loop.
class GenicamTransport : public Transport {
  public:
    GenicamTransport();
    ~GenicamTransport() override;

    const char* GetName() const override { return "genicam"; }

    /// Takes about a second. A camera under control is among the result whether it answers or not: its
    /// heartbeat tells when it is lost.
    Error Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) override;
    void SetTopologyListener(TopologyListener* pListener) override;

  private:
    using CameraHandle = boost::shared_ptr<GenicamCamera>;

    const boost::shared_ptr<LossReporter> m_pReporter;

    boost::mutex m_mutex;  // guards m_cameras
    std::vector<CameraHandle> m_cameras;
};

}  // namespace Zevrin
