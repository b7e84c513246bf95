#include "GenicamDevice.h"

#include <endian.h>

#include <algorithm>
#include <boost/chrono/duration.hpp>
#include <boost/chrono/system_clocks.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/thread.hpp>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "AravisError.h"
#include "Failure.h"
#include "FormatText.h"

namespace Zevrin {

namespace {

// Bootstrap registers of GigE Vision.
constexpr guint64 kPhysicalIdAddress = 0x0008;  // 16 bits of the MAC address, then 32
constexpr guint64 kSerialNumberAddress = 0x00D8;
constexpr unsigned int kSerialNumberSize = 16;
constexpr guint64 kControlPrivilegeAddress = 0x0A00;
constexpr unsigned int kControlledMask = 0x3;  // control access or exclusive access is granted

constexpr unsigned int kMaxQuadletsOfRun = 128;  // GVCP carries at most 540 bytes, address included

constexpr boost::chrono::seconds kLongestSignal(10);

/// GigE Vision devices are opened by address: by their id Aravis would look for them again, for a second.
const std::string& GetOpeningName(const DeviceListing& listing) {
    return listing.interfaceType == INTERFACE_GIGE ? listing.address : listing.id;
}

GObjectHandle<ArvDevice> OpenByName(const std::string& name, AravisError* pError) {
    boost::lock_guard<boost::mutex> lock(GetDeviceListMutex());
    return GObjectHandle<ArvDevice>(arv_open_device(name.c_str(), pError->Out()));
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

/// Aravis opens a device that it may only read from, too.
Error CheckControl(ArvDevice* pDevice, const DeviceListing& listing) {
    if (arv_gv_device_is_controller(ARV_GV_DEVICE(pDevice))) {
        return Error();
    }
    AravisError error;
    guint32 privilege = 0;
    arv_device_read_register(pDevice, kControlPrivilegeAddress, &privilege, error.Out());
    if (error.IsSet()) {
        return Failure(error.GetType(ERR_TRANSPORT_FAILED), "The camera at %s does not answer: %s.",
                       Printable(listing.address).c_str(), error.GetText().c_str());
    }
    if ((privilege & kControlledMask) != 0) {
        return Failure(ERR_ACCESS_DENIED, "Another program controls the camera at %s.",
                       Printable(listing.address).c_str());
    }
    return Failure(ERR_TRANSPORT_FAILED, "The camera at %s does not grant control.",
                   Printable(listing.address).c_str());
}

}  // namespace

boost::mutex GenicamDevice::m_lossMutex;

Error GenicamDevice::Open(const DeviceListing& listing, std::function<void()> onLost,
                          boost::shared_ptr<GenicamDevice>* ppDevice) {
    AravisError report;
    GObjectHandle<ArvDevice> pDevice = OpenByName(GetOpeningName(listing), &report);
    if (!pDevice) {
        const ErrorType type = report.GetType(ERR_TRANSPORT_FAILED);
        return Failure(type == ERR_TIMEOUT ? ERR_CAMERA_LOST : type, "The camera at %s cannot be opened: %s.",
                       Printable(listing.address).c_str(), report.GetText().c_str());
    }
    if (ARV_IS_GV_DEVICE(pDevice.get())) {
        Error error = CheckSerialNumber(pDevice.get(), listing);
        if (error == ERR_OK) {
            error = CheckControl(pDevice.get(), listing);
        }
        if (error != ERR_OK) {
            return error;
        }
    }
    *ppDevice = boost::make_shared<GenicamDevice>(std::move(pDevice));
    (*ppDevice)->WatchControl(std::move(onLost));
    return Error();
}

GenicamDevice::GenicamDevice(GObjectHandle<ArvDevice> pDevice)
    : m_pDevice(std::move(pDevice)),
      m_isGigE(ARV_IS_GV_DEVICE(m_pDevice.get())),
      m_pWatch(boost::make_shared<Watch>()) {}

GenicamDevice::~GenicamDevice() {
    if (m_signalHandler != 0) {
        g_signal_handler_disconnect(m_pDevice.get(), m_signalHandler);
    }
    WaitForSoleReference();
    {
        boost::lock_guard<boost::mutex> lock(m_lossMutex);
        m_pWatch->hasDeviceEnded = true;
    }
    m_pDevice.reset();
}

/// A thread that is telling of a loss has a reference for as long as it tells. Were that the last one, the
/// device would end on that thread, which it waits for.
void GenicamDevice::WaitForSoleReference() const {
    const auto deadline = boost::chrono::steady_clock::now() + kLongestSignal;
    while (g_atomic_int_get(&G_OBJECT(m_pDevice.get())->ref_count) > 1 &&
           boost::chrono::steady_clock::now() < deadline) {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(1));
    }
}

void GenicamDevice::WatchControl(std::function<void()> onLost) {
    WatchHandle* pHandle = nullptr;
    {
        boost::lock_guard<boost::mutex> lock(m_lossMutex);
        m_pWatch->onLost = std::move(onLost);
        pHandle =
            std::make_unique<WatchHandle>(m_pWatch).release();  // the connection's own, which it deletes
    }
    m_signalHandler = g_signal_connect_data(
        m_pDevice.get(), "control-lost", G_CALLBACK(&GenicamDevice::OnControlLost), pHandle,
        [](gpointer pData, GClosure*) { delete static_cast<WatchHandle*>(pData); }, GConnectFlags{});
    if (ARV_IS_GV_DEVICE(m_pDevice.get()) && !arv_gv_device_is_controller(ARV_GV_DEVICE(m_pDevice.get()))) {
        OnControlLost(m_pDevice.get(), pHandle);  // before anyone listened
    }
}

void GenicamDevice::OnControlLost(ArvDevice* pDevice, gpointer pData) {
    std::function<void()> onLost;
    {
        boost::lock_guard<boost::mutex> lock(m_lossMutex);
        const WatchHandle pWatch = *static_cast<WatchHandle*>(pData);
        if (pWatch->hasDeviceEnded) {
            // GLib took its reference too late to keep the device, whose end waits for this thread; giving it
            // back must not end the device once more.
            g_object_ref(pDevice);
            return;
        }
        pWatch->isLost = true;
        onLost.swap(pWatch->onLost);
    }
    if (onLost) {
        onLost();
    }
}

Error GenicamDevice::MakeLostError() {
    return Failure(ERR_CAMERA_LOST, "The camera has gone away, or another program has taken it over.");
}

Error GenicamDevice::Access(ErrorType otherwise, const char* what,
                            const std::function<void(ArvDevice*, GError**)>& call) {
    if (IsLost()) {
        return MakeLostError();  // without waiting for an access that will time out
    }
    boost::lock_guard<boost::recursive_mutex> lock(m_accessMutex);
    if (IsLost()) {
        return MakeLostError();
    }
    AravisError report;
    call(m_pDevice.get(), report.Out());
    if (!report.IsSet()) {
        return Error();
    }
    if (IsLost()) {
        return MakeLostError();
    }
    return Failure(report.GetType(otherwise), "%s failed: %s.", what, report.GetText().c_str());
}

Error GenicamDevice::AccessFeature(const char* feature,
                                   const std::function<void(ArvDevice*, GError**)>& call) {
    return Access(ERR_TRANSPORT_FAILED, FormatText("Access to the feature %s", feature).c_str(), call);
}

bool GenicamDevice::Offers(const char* feature) {
    gboolean isOffered = FALSE;
    const Error error = AccessFeature(feature, [&](ArvDevice* pDevice, GError** ppReport) {
        isOffered = arv_device_is_feature_available(pDevice, feature, ppReport);
    });
    return error == ERR_OK && isOffered;
}

Error GenicamDevice::Execute(const char* feature) {
    return AccessFeature(feature, [&](ArvDevice* pDevice, GError** ppReport) {
        arv_device_execute_command(pDevice, feature, ppReport);
    });
}

Error GenicamDevice::GetInteger(const char* feature, long long* pValue) {
    return AccessFeature(feature, [&](ArvDevice* pDevice, GError** ppReport) {
        *pValue = arv_device_get_integer_feature_value(pDevice, feature, ppReport);
    });
}

Error GenicamDevice::SetInteger(const char* feature, long long value) {
    return AccessFeature(feature, [&](ArvDevice* pDevice, GError** ppReport) {
        arv_device_set_integer_feature_value(pDevice, feature, value, ppReport);
    });
}

Error GenicamDevice::GetText(const char* feature, std::string* pText) {
    return AccessFeature(feature, [&](ArvDevice* pDevice, GError** ppReport) {
        *pText = BoundedText(arv_device_get_string_feature_value(pDevice, feature, ppReport));
    });
}

Error GenicamDevice::SetText(const char* feature, const char* text) {
    return AccessFeature(feature, [&](ArvDevice* pDevice, GError** ppReport) {
        arv_device_set_string_feature_value(pDevice, feature, text, ppReport);
    });
}

Error GenicamDevice::ReadMemory(unsigned int address, unsigned int* pValues, unsigned int count) {
    return AccessMemory(false, address, pValues, count);
}

Error GenicamDevice::WriteMemory(unsigned int address, const unsigned int* pValues, unsigned int count) {
    std::vector<unsigned int> values(pValues, pValues + count);
    return AccessMemory(true, address, values.data(), count);
}

/// Single quadlets go as registers, which every device has; runs go as memory, in its own byte order.
Error GenicamDevice::AccessMemory(bool write, unsigned int address, unsigned int* pValues,
                                  unsigned int count) {
    const ErrorType otherwise = write ? ERR_WRITE_REGISTER_FAILED : ERR_READ_REGISTER_FAILED;
    // The memory of GigE Vision is big-endian, that of USB3 Vision little-endian.
    const auto swap = [this](unsigned int value) { return m_isGigE ? htobe32(value) : htole32(value); };
    Error error;
    for (unsigned int done = 0; done < count && error == ERR_OK;) {
        const unsigned int length = std::min(count - done, kMaxQuadletsOfRun);
        const unsigned int start = address + done * static_cast<unsigned int>(sizeof(unsigned int));
        const guint32 size = length * static_cast<guint32>(sizeof(unsigned int));
        unsigned int* const pRun = pValues + done;
        const std::string what =
            FormatText("%s device memory at 0x%08X (%u bytes)", write ? "Writing" : "Reading", start, size);
        error = Access(otherwise, what.c_str(), [&](ArvDevice* pDevice, GError** ppReport) {
            if (length == 1) {
                write ? arv_device_write_register(pDevice, start, *pRun, ppReport)
                      : arv_device_read_register(pDevice, start, pRun, ppReport);
                return;
            }
            if (write) {
                std::transform(pRun, pRun + length, pRun, swap);
                arv_device_write_memory(pDevice, start, size, pRun, ppReport);
            } else if (arv_device_read_memory(pDevice, start, size, pRun, ppReport)) {
                std::transform(pRun, pRun + length, pRun, swap);
            }
        });
        done += length;
    }
    return error;
}

}  // namespace Zevrin
