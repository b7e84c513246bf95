#include "GenicamTransport.h"

#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <iterator>

#include "DeviceListing.h"
#include "FormatText.h"
#include "GenicamCamera.h"
#include "Log.h"
#include "LossReporter.h"

namespace Zevrin {

namespace {

constexpr std::size_t kMaxCameras = 1024;  // remembered; more answers are an attack, or another network's

/// Takes the camera that is meant out of the list. Its address may have changed while it was away. Of two
/// devices with one id Aravis shows only one.
boost::shared_ptr<GenicamCamera> TakeMatch(const DeviceListing& listing,
                                           std::vector<boost::shared_ptr<GenicamCamera>>* pCameras) {
    const auto found = std::find_if(pCameras->begin(), pCameras->end(), [&](const auto& pCamera) {
        const DeviceListing known = pCamera->GetListing();
        return known.interfaceType == listing.interfaceType && known.id == listing.id;
    });
    if (found == pCameras->end()) {
        return nullptr;
    }
    const auto pCamera = *found;
    pCameras->erase(found);
    return pCamera;
}

}  // namespace

GenicamTransport::GenicamTransport() : m_pReporter(boost::make_shared<LossReporter>()) {}

GenicamTransport::~GenicamTransport() {
    m_pReporter->Stop();  // while the cameras are here: the last of them must not go on one of its threads
}

void GenicamTransport::SetTopologyListener(TopologyListener* pListener) {
    m_pReporter->SetListener(pListener);
}

Error GenicamTransport::Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) {
    Error error = m_pReporter->Start();
    if (error != ERR_OK) {
        return error;
    }
    const std::vector<DeviceListing> listings = ListDevices();
    boost::lock_guard<boost::mutex> lock(m_mutex);
    std::vector<CameraHandle> absent = m_cameras;
    pCameras->clear();
    for (const DeviceListing& listing : listings) {
        CameraHandle pCamera = TakeMatch(listing, &absent);
        if (pCamera) {
            pCamera->SetListing(listing);
        } else if (m_cameras.size() >= kMaxCameras) {
            Log().warn("The camera at {} is left out: {} are known already.", Printable(listing.address),
                       kMaxCameras);
            continue;
        } else {
            pCamera = boost::make_shared<GenicamCamera>(listing, m_pReporter);
            m_cameras.push_back(pCamera);
        }
        pCameras->push_back(pCamera);
    }
    // One answer may get lost: a camera under control is there for as long as its heartbeat says so.
    std::copy_if(absent.begin(), absent.end(), std::back_inserter(*pCameras),
                 [](const CameraHandle& pCamera) { return pCamera->IsControlled(); });
    return Error();
}

}  // namespace Zevrin
