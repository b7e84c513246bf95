#pragma once

#include <boost/thread/mutex.hpp>
#include <string>
#include <vector>

#include "zevrin/InterfaceType.h"

namespace Zevrin {

/// A device as discovery tells it. Texts are the device's own, shortened to a bounded length.
struct DeviceListing {
    InterfaceType interfaceType = INTERFACE_UNKNOWN;
    std::string id;  ///< made of vendor, model and serial number; what Aravis opens it by
    std::string physicalId;
    std::string address;
    std::string vendorName;
    std::string modelName;
    std::string serialNumber;
};

/// Looks for GigE Vision and USB3 Vision devices, for about a second.
std::vector<DeviceListing> ListDevices();

/// Aravis keeps one list of devices for the process: held while it is made, read, or used for opening.
boost::mutex& GetDeviceListMutex();

/// The number by which the library knows a device: its serial number where that is a decimal number of 32
/// bits, else the FNV-1a hash of the text, which is the same on every machine and never 0.
unsigned int MakeSerialNumber(const std::string& text);

/// A copy that is not endless; empty for null.
std::string BoundedText(const char* text);

}  // namespace Zevrin
