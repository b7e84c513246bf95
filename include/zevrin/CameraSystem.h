#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <functional>
#include <string>
#include <vector>

#include "zevrin/Error.h"
#include "zevrin/Export.h"
#include "zevrin/InterfaceType.h"

namespace Zevrin {

class IidcCamera;

/// A camera as the library knows it before it is connected. Texts are printable.
struct CameraListing {
    unsigned int serialNumber = 0;                    ///< what `Connect` takes
    InterfaceType interfaceType = INTERFACE_UNKNOWN;  ///< how it is reached
    std::string vendorName;                           ///< who made it
    std::string modelName;                            ///< what it is called
    std::string address;                              ///< on its bus or network
};

/// The way in: which cameras there are, and a connected camera object for one of them.
///
/// All objects of this class in a process share one bus manager. It remembers the cameras that it found
/// for as long as an object of this class or a camera object lives; the first look at a network takes
/// about a second.
/// Threads: any.
class ZEVRIN_API CameraSystem {
  public:
    CameraSystem();
    ~CameraSystem();
    CameraSystem(const CameraSystem&) = delete;
    CameraSystem& operator=(const CameraSystem&) = delete;

    /// The cameras that are there, in order of discovery; looks for them the first time only.
    /// Errors: ERR_TRANSPORT_FAILED, when no camera was found either; ERR_INVALID_PARAMETER.
    Error List(std::vector<CameraListing>* pCameras);

    /// Cameras that were found and left out since their serial number was taken.
    std::vector<CameraListing> GetLeftOut() const;

    /// Looks for cameras again.
    /// Errors: ERR_TRANSPORT_FAILED.
    Error Rescan();

    /// A new camera object, connected.
    /// Errors: ERR_CAMERA_NOT_FOUND, ERR_CAMERA_LOST, ERR_ACCESS_DENIED, ERR_TRANSPORT_FAILED,
    /// ERR_INVALID_PARAMETER.
    Error Connect(unsigned int serialNumber, boost::shared_ptr<IidcCamera>* ppCamera);

    /// `listener` is told of every camera that comes (true) or goes (false), on a thread of the library,
    /// one call at a time. Null ends that; no call is under way when this returns. Not to be called, nor
    /// this object destroyed, from within the listener.
    void Watch(std::function<void(const CameraListing& camera, bool isPresent)> listener);
};

}  // namespace Zevrin
