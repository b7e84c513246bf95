#include "DeviceOpening.h"

#include <boost/thread/lock_guard.hpp>

#include "AravisError.h"
#include "Failure.h"
#include "FormatText.h"
#include "Gvcp.h"

namespace Zevrin {
namespace {

// Bootstrap registers of GigE Vision.
constexpr guint64 kPhysicalIdAddress = 0x0008;  // 16 bits of the MAC address, then 32
constexpr guint64 kSerialNumberAddress = 0x00D8;
constexpr unsigned int kSerialNumberSize = 16;

/// GigE Vision devices are opened by address, which leaves the list of devices alone: a silent one is not
/// waited for by others. By their id Aravis would look for them again, for a second.
ArvDevice* OpenByAddress(const std::string& ownAddress, const std::string& address, GError** ppReport) {
    const GObjectHandle<GInetAddress> pOwn(g_inet_address_new_from_string(ownAddress.c_str()));
    const GObjectHandle<GInetAddress> pDevice(g_inet_address_new_from_string(address.c_str()));
    return arv_gv_device_new(pOwn.get(), pDevice.get(), ppReport);
}

ArvDevice* OpenById(const std::string& id, GError** ppReport) {
    boost::lock_guard<boost::mutex> lock(GetDeviceListMutex());
    return arv_open_device(id.c_str(), ppReport);
}

/// The MAC address, in the form in which Aravis lists it, also for the serial number of a device that has
/// none.
std::string ReadPhysicalId(ArvDevice* pDevice) {
    guint32 high = 0;
    guint32 low = 0;
    AravisError error;
    arv_device_read_register(pDevice, kPhysicalIdAddress, &high, error.Out());
    arv_device_read_register(pDevice, kPhysicalIdAddress + sizeof high, &low, error.Out());
    return FormatText("%02x:%02x:%02x:%02x:%02x:%02x", high >> 8 & 0xFF, high & 0xFF, low >> 24,
                      low >> 16 & 0xFF, low >> 8 & 0xFF, low & 0xFF);
}

/// An address may have gone to another device since the network was looked at.
Error CheckSerialNumber(ArvDevice* pDevice, const DeviceListing& listing) {
    char text[kSerialNumberSize + 1] = {};
    AravisError error;
    arv_device_read_memory(pDevice, kSerialNumberAddress, kSerialNumberSize, text, error.Out());
    const std::string serialNumber = !error.IsSet() && *text == '\0' ? ReadPhysicalId(pDevice) : text;
    if (!error.IsSet() && listing.serialNumber != serialNumber) {
        return Failure(ERR_CAMERA_LOST, "At %s there is now another camera, with the serial number '%s'.",
                       Printable(listing.address).c_str(), Printable(serialNumber).c_str());
    }
    return Error();
}

/// Aravis opens a device that it may only read from, too. The privilege is not read to find out: some devices
/// take that for the heartbeat of a program that has died.
Error CheckControl(ArvDevice* pDevice, const DeviceListing& listing) {
    if (arv_gv_device_is_controller(ARV_GV_DEVICE(pDevice))) {
        return Error();
    }
    AravisError error;
    guint32 version = 0;
    arv_device_read_register(pDevice, GvcpRegister::kVersion, &version, error.Out());
    if (error.IsSet()) {
        return Failure(error.GetType(ERR_TRANSPORT_FAILED), "The camera at %s does not answer: %s.",
                       Printable(listing.address).c_str(), error.GetText().c_str());
    }
    return Failure(ERR_ACCESS_DENIED, "Another program controls the camera at %s.",
                   Printable(listing.address).c_str());
}

}  // namespace

Error OpenListedDevice(const DeviceListing& listing, const std::string& ownAddress,
                       GObjectHandle<ArvDevice>* ppDevice) {
    AravisError report;
    ppDevice->reset(ownAddress.empty() ? OpenById(listing.id, report.Out())
                                       : OpenByAddress(ownAddress, listing.address, report.Out()));
    if (!*ppDevice) {
        const ErrorType type = report.GetType(ERR_TRANSPORT_FAILED);
        return Failure(type == ERR_TIMEOUT ? ERR_CAMERA_LOST : type, "The camera at %s cannot be opened: %s.",
                       Printable(listing.address).c_str(), report.GetText().c_str());
    }
    if (!ARV_IS_GV_DEVICE(ppDevice->get())) {
        return Error();
    }
    const Error error = CheckSerialNumber(ppDevice->get(), listing);
    return error == ERR_OK ? CheckControl(ppDevice->get(), listing) : error;
}

}  // namespace Zevrin
