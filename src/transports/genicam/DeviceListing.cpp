#include "DeviceListing.h"

#include <arv.h>

#include <boost/thread/lock_guard.hpp>
#include <cstring>
#include <limits>

namespace Zevrin {

namespace {

struct Protocol {
    const char* name;  ///< Aravis' own
    InterfaceType interfaceType;
};

/// Aravis' "Fake" is left out: a device inside the process, which an application may have switched on.
constexpr Protocol kProtocols[] = {{"GigEVision", INTERFACE_GIGE}, {"USB3Vision", INTERFACE_U3V}};

constexpr std::size_t kMaxText = 255;
constexpr unsigned int kFnvOffset = 2166136261U;
constexpr unsigned int kFnvPrime = 16777619U;

InterfaceType TypeOf(const std::string& protocol) {
    for (const Protocol& known : kProtocols) {
        if (protocol == known.name) {
            return known.interfaceType;
        }
    }
    return INTERFACE_UNKNOWN;
}

bool ParseDecimal(const std::string& text, unsigned int* pNumber) {
    unsigned long long number = 0;
    for (const char character : text) {
        if (character < '0' || character > '9') {
            return false;
        }
        number = number * 10 + static_cast<unsigned int>(character - '0');
        if (number > std::numeric_limits<unsigned int>::max()) {
            return false;
        }
    }
    *pNumber = static_cast<unsigned int>(number);
    return !text.empty();
}

}  // namespace

std::string BoundedText(const char* text) {
    return text != nullptr ? std::string(text, strnlen(text, kMaxText)) : std::string();
}

boost::mutex& GetDeviceListMutex() {
    static boost::mutex mutex;
    return mutex;
}

std::vector<DeviceListing> ListDevices() {
    boost::lock_guard<boost::mutex> lock(GetDeviceListMutex());
    arv_update_device_list();
    std::vector<DeviceListing> listings;
    const unsigned int count = arv_get_n_devices();
    for (unsigned int index = 0; index < count; ++index) {
        DeviceListing listing;
        listing.interfaceType = TypeOf(BoundedText(arv_get_device_protocol(index)));
        listing.id = BoundedText(arv_get_device_id(index));
        listing.physicalId = BoundedText(arv_get_device_physical_id(index));
        listing.address = BoundedText(arv_get_device_address(index));
        listing.vendorName = BoundedText(arv_get_device_vendor(index));
        listing.modelName = BoundedText(arv_get_device_model(index));
        listing.serialNumber = BoundedText(arv_get_device_serial_nbr(index));
        if (listing.interfaceType != INTERFACE_UNKNOWN) {
            listings.push_back(listing);
        }
    }
    return listings;
}

unsigned int MakeSerialNumber(const std::string& text) {
    unsigned int number = 0;
    if (ParseDecimal(text, &number)) {
        return number;
    }
    unsigned int hash = kFnvOffset;
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * kFnvPrime;
    }
    return hash != 0 ? hash : kFnvOffset;
}

}  // namespace Zevrin
