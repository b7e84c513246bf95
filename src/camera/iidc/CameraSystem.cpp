#include "zevrin/CameraSystem.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <utility>

#include "BusMaster.h"
#include "Failure.h"
#include "FormatText.h"
#include "IidcCamera.h"
#include "Log.h"
#include "Singleton.h"

namespace Zevrin {

namespace {

CameraListing MakeListing(const CameraIdentity& identity) {
    CameraListing listing;
    listing.serialNumber = identity.serialNumber;
    listing.interfaceType = identity.interfaceType;
    listing.vendorName = Printable(identity.vendorName);
    listing.modelName = Printable(identity.modelName);
    listing.address = Printable(identity.address);
    return listing;
}

std::vector<CameraListing> MakeListings(const std::vector<CameraIdentity>& identities) {
    std::vector<CameraListing> listings;
    for (const CameraIdentity& identity : identities) {
        listings.push_back(MakeListing(identity));
    }
    return listings;
}

}  // namespace

CameraSystem::CameraSystem() {
    Log();  // complains of a level that is none, also where nothing is ever logged
    Singleton<BusMaster>::getInstance();
}

CameraSystem::~CameraSystem() {
    Watch(nullptr);
    Singleton<BusMaster>::releaseInstance();
}

Error CameraSystem::List(std::vector<CameraListing>* pCameras) {
    if (pCameras == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The list of cameras needs a place to go to.");
    }
    const SingletonHold<BusMaster> busMaster;
    std::vector<CameraIdentity> cameras;
    Error error = busMaster->GetCameras(&cameras);
    *pCameras = MakeListings(cameras);
    return error;
}

std::vector<CameraListing> CameraSystem::GetLeftOut() const {
    const SingletonHold<BusMaster> busMaster;
    return MakeListings(busMaster->GetDuplicates());
}

Error CameraSystem::Rescan() {
    const SingletonHold<BusMaster> busMaster;
    return busMaster->Rescan();
}

Error CameraSystem::Connect(unsigned int serialNumber, boost::shared_ptr<IidcCamera>* ppCamera) {
    if (ppCamera == nullptr) {
        return Failure(ERR_INVALID_PARAMETER, "The object of camera %u needs a place to go to.",
                       serialNumber);
    }
    auto pCamera = boost::make_shared<IidcCamera>();
    Error error = pCamera->Connect(serialNumber);
    if (error == ERR_OK) {
        *ppCamera = std::move(pCamera);
    }
    return error;
}

void CameraSystem::Watch(std::function<void(const CameraListing&, bool)> listener) {
    const SingletonHold<BusMaster> busMaster;
    if (listener) {
        busMaster->SetChangeListener(
            this, [listener = std::move(listener)](const CameraIdentity& identity, bool isPresent) {
                listener(MakeListing(identity), isPresent);
            });
    } else {
        busMaster->SetChangeListener(this, nullptr);
    }
}

}  // namespace Zevrin
