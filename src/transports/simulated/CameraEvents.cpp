#include "CameraEvents.h"

#include "Failure.h"

namespace Zevrin {

namespace {

struct EventFacts {
    CameraEvent event;
    const char* name;
    unsigned int id;
};

constexpr EventFacts kEvents[] = {
    {CameraEvent::kExposureStart, "ExposureStart", 0x0002},
    {CameraEvent::kExposureEnd, "ExposureEnd", 0x0003},
    {CameraEvent::kTrigger, "Trigger", 0x9000},
    {CameraEvent::kFrameStart, "FrameStart", 0x9001},
    {CameraEvent::kOverrun, "Overrun", 0x9002},
    {CameraEvent::kLinkChange, "LinkChange", 0x9003},
};

constexpr bool IsInOrder() {
    unsigned int index = 0;
    for (const EventFacts& facts : kEvents) {
        if (static_cast<unsigned int>(facts.event) != index++) {
            return false;
        }
    }
    return true;
}
static_assert(IsInOrder(), "row n is event n");

}  // namespace

std::vector<std::string> GetCameraEventNames() {
    std::vector<std::string> names;
    for (const EventFacts& facts : kEvents) {
        names.emplace_back(facts.name);
    }
    return names;
}

RawDeviceEvent MakeCameraEvent(CameraEvent event, unsigned long long timeNs, unsigned int number) {
    const EventFacts& facts = kEvents[static_cast<unsigned int>(event)];
    RawDeviceEvent raw;
    raw.name = facts.name;
    raw.id = facts.id;
    raw.timeStampNs = timeNs;
    for (int shift = 24; shift >= 0; shift -= 8) {
        raw.data.push_back(static_cast<unsigned char>(number >> shift));
    }
    return raw;
}

Error EventOutlet::SetSink(EventSink* pSink) {
    const boost::lock_guard<boost::recursive_mutex> lock(m_mutex);
    if (pSink != nullptr && m_pSink != nullptr && pSink != m_pSink) {
        return Failure(ERR_EVENT_FAILED, "The camera's events go to another camera object already.");
    }
    m_pSink = pSink;
    m_hasSink = pSink != nullptr;
    return Error();
}

}  // namespace Zevrin
