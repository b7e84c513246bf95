#include "DeviceEvents.h"

#include <arv.h>

#include <algorithm>
#include <boost/thread/lock_guard.hpp>
#include <utility>

#include "DeviceFacts.h"
#include "EventListener.h"
#include "Failure.h"
#include "FormatText.h"
#include "GenicamDevice.h"
#include "Gvcp.h"
#include "Log.h"

namespace Zevrin {

namespace {

constexpr char kSelector[] = "EventSelector";
constexpr char kNotification[] = "EventNotification";
constexpr const char* kOnTexts[] = {"On", "GigEVisionEvent"};  // the second in older descriptions
constexpr char kOff[] = "Off";

constexpr unsigned int kMaxNames = 256;
constexpr unsigned int kAnswerTimeoutMs = 200;
constexpr unsigned int kRetries = 3;
constexpr unsigned long long kNanosecondsPerSecond = 1000000000ULL;

/// Numbers of the standard, for descriptions that do not tell them.
struct StandardEvent {
    const char* name;  ///< GenICam's
    unsigned int id;
};
constexpr StandardEvent kStandardEvents[] = {
    {"FrameTrigger", 0x0001},       {"ExposureStart", 0x0002},    {"ExposureEnd", 0x0003},
    {"FrameTransferStart", 0x0004}, {"FrameTransferEnd", 0x0005}, {"PrimaryApplicationSwitch", 0x0006},
    {"LinkSpeedChange", 0x0007},    {"ActionLate", 0x0008},
};

Error FindId(GenicamDevice& device, const std::string& name, unsigned int* pId) {
    const std::string feature = "Event" + name;
    long long id = 0;
    Error error = device.GetInteger(feature.c_str(), &id);
    if (error == ERR_TIMEOUT || error == ERR_CAMERA_LOST || error == ERR_ACCESS_DENIED) {
        return error;  // which says nothing of the event
    }
    if (error == ERR_OK && id > 0 && id <= 0xFFFF) {
        *pId = static_cast<unsigned int>(id);
        return Error();
    }
    for (const StandardEvent& event : kStandardEvents) {
        if (name == event.name) {
            *pId = event.id;
            return Error();
        }
    }
    return Failure(ERR_NOT_SUPPORTED, "The camera does not tell the number of its event %s.",
                   Printable(name).c_str());
}

Error WriteRegister(GenicamDevice& device, unsigned int address, unsigned int value) {
    return device.WriteMemory(address, &value, 1);
}

/// What a device cannot do is left at its own.
Error WriteOptional(GenicamDevice& device, unsigned int address, unsigned int value) {
    Error error = WriteRegister(device, address, value);
    return error == ERR_CAMERA_LOST ? error : Error();
}

/// A device that does not tell counts nanoseconds.
unsigned long long GetClockFrequency(GenicamDevice& device) {
    unsigned long long frequency = 0;
    const Error error = ReadTickFrequency(device, &frequency);
    const bool isUsable = error == ERR_OK && frequency >= 1 && frequency <= 10 * kNanosecondsPerSecond;
    return isUsable ? frequency : kNanosecondsPerSecond;
}

}  // namespace

DeviceEvents::DeviceEvents() = default;
DeviceEvents::~DeviceEvents() = default;

Error DeviceEvents::GetNames(GenicamDevice& device, std::vector<std::string>* pNames) {
    if (!device.IsGigE()) {
        return Failure(ERR_NOT_SUPPORTED, "Device events of USB3 Vision cameras are not supported.");
    }
    if (!device.Offers(kSelector)) {
        return Failure(ERR_NOT_SUPPORTED, "The camera has no device events: it lacks %s.", kSelector);
    }
    std::vector<std::string> names;
    Error error = device.Ask<std::vector<std::string>>(
        ERR_TRANSPORT_FAILED, "Asking for device events",
        [](ArvDevice* pDevice, GError** ppReport) {
            guint count = 0;
            const char** const texts = arv_device_dup_available_enumeration_feature_values_as_strings(
                pDevice, kSelector, &count, ppReport);
            std::vector<std::string> found;
            for (guint index = 0; texts != nullptr && index < std::min(count, kMaxNames); ++index) {
                found.push_back(BoundedText(texts[index]));
            }
            g_free(texts);
            return found;
        },
        &names);
    pNames->clear();
    for (auto name = names.begin(); name != names.end() && error == ERR_OK; ++name) {
        if (Printable(*name) != *name) {
            continue;  // nobody could ask for it by its name
        }
        unsigned int id = 0;
        error = FindId(device, *name, &id);
        if (error == ERR_OK) {
            pNames->push_back(*name);
        } else if (error == ERR_NOT_SUPPORTED) {  // it could not be told from others
            error = Error();
        }
    }
    return error;
}

Error DeviceEvents::SetSink(EventSink* pSink) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (pSink != nullptr && m_pSink != nullptr) {
        return pSink == m_pSink
                   ? Error()
                   : Failure(ERR_EVENT_FAILED, "The camera's events go to another camera object already.");
    }
    if (pSink == nullptr) {
        if (m_pDevice && m_pListener) {
            const Error error = CloseChannel(*m_pDevice);
            if (error != ERR_OK) {
                Log().info("A camera's message channel could not be closed: {}", error.GetDescription());
            }
        }
        m_pListener.reset();
        m_wanted.clear();
        m_pSink = nullptr;
        return Error();
    }
    m_pSink = pSink;
    const Error error = m_pDevice ? OpenChannel(*m_pDevice) : Error();
    if (error != ERR_OK) {
        m_pSink = nullptr;
    }
    return error;
}

Error DeviceEvents::SetNotification(const std::string& name, bool on) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (!on && m_wanted.erase(name) == 0) {
        return Error();
    }
    const Error error = m_pDevice && m_pListener ? Switch(*m_pDevice, name, on) : Error();
    if (on && error == ERR_OK) {
        m_wanted.insert(name);
    }
    return error;
}

void DeviceEvents::Begin(const boost::shared_ptr<GenicamDevice>& pDevice) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_pListener.reset();  // of the former connection, whose end may be late
    m_pDevice = pDevice;
    if (m_pSink == nullptr) {
        return;
    }
    const Error opened = OpenChannel(*pDevice);
    if (opened != ERR_OK) {
        Log().warn("The registered device events cannot be had any more: {}", opened.GetDescription());
        return;
    }
    for (const std::string& name : m_wanted) {  // one that is refused does not keep the others from coming
        const Error error = Switch(*pDevice, name, true);
        if (error != ERR_OK) {
            Log().warn("The registered device event {} cannot be had any more: {}", Printable(name),
                       error.GetDescription());
        }
    }
}

void DeviceEvents::End(const boost::shared_ptr<GenicamDevice>& pDevice) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (m_pDevice == pDevice) {
        m_pListener.reset();
        m_pDevice.reset();
    }
}

/// The port comes last: with it the channel is open.
Error DeviceEvents::OpenChannel(GenicamDevice& device) {
    if (!device.IsGigE()) {
        return Failure(ERR_NOT_SUPPORTED, "Device events of USB3 Vision cameras are not supported.");
    }
    unsigned int channels = 0;
    Error error = device.ReadMemory(GvcpRegister::kMessageChannels, &channels, 1);
    if (error == ERR_OK && channels == 0) {
        error = Failure(ERR_NOT_SUPPORTED, "The camera has no message channel for device events.");
    }
    if (error != ERR_OK) {
        return error;
    }
    m_pListener.reset();
    m_frequency = GetClockFrequency(device);
    auto pListener = std::make_unique<EventListener>(device.GetOwnAddress(), device.GetAddress(),
                                                     [this](const EventRecord& record) { Deliver(record); });
    error = pListener->Start();
    const std::pair<unsigned int, unsigned int> settings[] = {
        {GvcpRegister::kMessageTimeout, kAnswerTimeoutMs}, {GvcpRegister::kMessageRetries, kRetries}};
    for (const auto& [address, value] : settings) {
        error = error == ERR_OK ? WriteOptional(device, address, value) : error;
    }
    if (error == ERR_OK) {
        error = WriteRegister(device, GvcpRegister::kMessageDestination, pListener->GetAddress());
    }
    if (error == ERR_OK) {
        error = WriteRegister(device, GvcpRegister::kMessagePort, pListener->GetPort());
    }
    if (error == ERR_OK) {
        m_pListener = std::move(pListener);
    }
    return error;
}

Error DeviceEvents::CloseChannel(GenicamDevice& device) {
    Error error;
    for (const std::string& name : m_wanted) {
        error = error == ERR_OK ? Switch(device, name, false) : error;
    }
    const Error closed = WriteRegister(device, GvcpRegister::kMessagePort, 0);
    return error == ERR_OK ? closed : error;
}

Error DeviceEvents::Switch(GenicamDevice& device, const std::string& name, bool on) {
    if (on) {
        unsigned int id = 0;
        const Error error = FindId(device, name, &id);
        if (error != ERR_OK) {
            return error;
        }
        boost::lock_guard<boost::mutex> lock(m_namesMutex);
        m_names[id] = name;
    }
    boost::lock_guard<boost::recursive_mutex> lock(device.GetAccessMutex());
    Error error = device.SetText(kSelector, name.c_str());
    if (error != ERR_OK) {
        return error;
    }
    if (!on) {
        return device.SetText(kNotification, kOff);
    }
    for (const char* text : kOnTexts) {
        error = device.SetText(kNotification, text);
        if (error == ERR_OK || error == ERR_CAMERA_LOST) {
            break;
        }
    }
    return error;
}

/// On the listener's thread, which ends before the sink changes.
void DeviceEvents::Deliver(const EventRecord& record) {
    RawDeviceEvent event;
    {
        boost::lock_guard<boost::mutex> lock(m_namesMutex);
        const auto found = m_names.find(record.id);
        if (found == m_names.end()) {
            return;
        }
        event.name = found->second;
    }
    event.id = record.id;
    event.timeStampNs = ToNanoseconds(record.timeStamp, m_frequency);
    event.data.assign(record.data, record.data + record.dataSize);
    m_pSink->OnDeviceEvent(event);
}

}  // namespace Zevrin
