#include "FakeHardware.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>

#include "Failure.h"

namespace Zevrin {
namespace {

using Lock = boost::lock_guard<boost::recursive_mutex>;

unsigned long long Key(unsigned short high, unsigned int low) {
    return (0ULL + high) << 32 | low;
}

}  // namespace

Error FakeHardware::ReadQuadlets(unsigned short high, unsigned int low, unsigned int* pValues,
                                 unsigned int count) {
    Error error = Before("Read");
    const Lock lock(m_mutex);
    for (unsigned int index = 0; error == ERR_OK && index < count; ++index) {
        const auto found = m_memory.find(Key(high, low + 4 * index));
        if (found == m_memory.end() && m_hasOnlyWhatWasSet) {
            error = Failure(ERR_READ_REGISTER_FAILED, "There is no register 0x%08X.", low + 4 * index);
        } else {
            pValues[index] = found != m_memory.end() ? found->second : 0;
        }
    }
    return error;
}

Error FakeHardware::WriteQuadlets(unsigned short high, unsigned int low, const unsigned int* pValues,
                                  unsigned int count, bool broadcast) {
    Error error = Before("Write");
    const Lock lock(m_mutex);
    for (unsigned int index = 0; error == ERR_OK && index < count; ++index) {
        const unsigned int address = low + 4 * index;
        m_memory[Key(high, address)] = m_onWrite ? m_onWrite(address, pValues[index]) : pValues[index];
    }
    m_broadcasts += broadcast ? 1 : 0;
    return error;
}

unsigned int FakeHardware::Register(unsigned int offset) const {
    const Lock lock(m_mutex);
    const auto found = m_memory.find(KeyOf(offset));
    return found != m_memory.end() ? found->second : 0;
}

Error FakeHardware::StartStream(const ZevrinConfig&, const boost::shared_ptr<FrameQueue>& pQueue) {
    const Lock lock(m_mutex);
    m_pQueue = pQueue;
    return Error();
}

void FakeHardware::StopStream(const boost::shared_ptr<FrameQueue>& pQueue) {
    const Lock lock(m_mutex);
    m_pQueue = m_pQueue == pQueue ? nullptr : m_pQueue;
}

boost::shared_ptr<FrameQueue> FakeHardware::GetQueue() const {
    const Lock lock(m_mutex);
    return m_pQueue;
}

Error FakeHardware::GetEventNames(std::vector<std::string>* pNames) {
    *pNames = m_eventNames;
    return Before("GetEventNames");
}

Error FakeHardware::SetEventSink(EventSink* pSink) {
    Error error = Before("SetEventSink");
    const Lock lock(m_mutex);
    if (error == ERR_OK && pSink != nullptr && m_pSink != nullptr) {
        error = Failure(ERR_EVENT_FAILED, "Another sink is there.");
    }
    m_pSink = error == ERR_OK ? pSink : m_pSink;
    return error;
}

void FakeHardware::SendEvent(const RawDeviceEvent& event) {
    const Lock lock(m_mutex);
    if (m_pSink != nullptr) {
        m_pSink->OnDeviceEvent(event);
    }
}

bool FakeHardware::HasSink() const {
    const Lock lock(m_mutex);
    return m_pSink != nullptr;
}

void FakeHardware::SendFrame(unsigned int firstQuadlet) {
    FrameInfo info;
    info.width = info.stride = m_format.width;
    info.height = m_format.height;
    info.pixelFormat = m_format.pixelFormat;
    std::vector<unsigned char> bytes(m_format.payloadSize);
    for (unsigned int byte = 0; byte < 4; ++byte) {
        bytes[byte] = static_cast<unsigned char>(firstQuadlet >> (24 - 8 * byte));
    }
    SendFrame(info, bytes);
}

void FakeHardware::SendFrame(FrameInfo info, const std::vector<unsigned char>& bytes) {
    const boost::shared_ptr<FrameQueue> pQueue = GetQueue();
    if (!pQueue) {
        return;
    }
    info.frameId += m_sent++;
    info.receivedSize = bytes.size();
    Frame* const pFrame = pQueue->BeginFill();
    if (pFrame == nullptr) {
        pQueue->CountDriverDropped(1);
        return;
    }
    std::copy(bytes.begin(), bytes.end(), pFrame->data);
    pFrame->info = info;
    pQueue->EndFill(pFrame);
}

Error FakeTransport::Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) {
    ++m_discoveries;
    *pCameras = m_cameras;
    if (m_onDiscover) {
        m_onDiscover();
    }
    return m_failure;
}

}  // namespace Zevrin
