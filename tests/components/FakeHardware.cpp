#include "FakeHardware.h"

#include <algorithm>
#include <boost/thread/lock_guard.hpp>

#include "Failure.h"

namespace Zevrin {
namespace {

unsigned long long Key(unsigned short high, unsigned int low) {
    return (0ULL + high) << 32 | low;
}

}  // namespace

void FakeHardware::FailNext(const std::string& operation, const Error& error) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_failures[operation] = error;
}

Error FakeHardware::Take(const std::string& operation) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    const auto found = m_failures.find(operation);
    if (found == m_failures.end()) {
        return Error();
    }
    const Error error = found->second;
    m_failures.erase(found);
    return error;
}

Error FakeHardware::TakeAccess(const std::string& operation) {
    const Error error = Take(operation);
    boost::lock_guard<boost::mutex> lock(m_mutex);
    ++m_accesses;
    if (error == ERR_OK && m_accesses == m_failingAccess) {
        return Failure(ERR_TIMEOUT, "Access %u does not come back.", m_accesses.load());
    }
    return error;
}

Error FakeHardware::ReadQuadlets(unsigned short high, unsigned int low, unsigned int* pValues,
                                 unsigned int count) {
    Error error = TakeAccess("Read");
    boost::lock_guard<boost::mutex> lock(m_mutex);
    for (unsigned int index = 0; error == ERR_OK && index < count; ++index) {
        const auto found = m_memory.find(Key(high, low + 4 * index));
        if (found != m_memory.end()) {
            pValues[index] = found->second;
        } else if (m_hasOnlyWhatWasSet) {
            error = Failure(ERR_READ_REGISTER_FAILED, "There is no register 0x%08X.", low + 4 * index);
        } else {
            pValues[index] = 0;
        }
    }
    return error;
}

Error FakeHardware::WriteQuadlets(unsigned short high, unsigned int low, const unsigned int* pValues,
                                  unsigned int count, bool broadcast) {
    if (m_beforeWrite) {
        m_beforeWrite();
    }
    Error error = TakeAccess("Write");
    boost::lock_guard<boost::mutex> lock(m_mutex);
    for (unsigned int index = 0; error == ERR_OK && index < count; ++index) {
        const unsigned int address = low + 4 * index;
        m_memory[Key(high, address)] = m_onWrite ? m_onWrite(address, pValues[index]) : pValues[index];
    }
    m_broadcasts += broadcast ? 1 : 0;
    return error;
}

Error FakeHardware::StartStream(const ZevrinConfig&, const boost::shared_ptr<FrameQueue>& pQueue) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_pQueue = pQueue;
    return Error();
}

void FakeHardware::StopStream(const boost::shared_ptr<FrameQueue>& pQueue) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_pQueue = m_pQueue == pQueue ? nullptr : m_pQueue;
}

boost::shared_ptr<FrameQueue> FakeHardware::GetQueue() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_pQueue;
}

unsigned int FakeHardware::Base(unsigned int offset) const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    const auto found = m_memory.find(Key(kRegisterSpace, 0xF0000000U + offset));
    return found != m_memory.end() ? found->second : 0;
}

void FakeHardware::SetBlock(unsigned int block, std::initializer_list<Cell> cells) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    for (const Cell& cell : cells) {
        m_memory[Key(kRegisterSpace, 0xF0000000U + block + cell.offset)] = cell.value;
    }
}

void FakeHardware::FailAccess(unsigned int n) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_accesses = 0;
    m_failingAccess = n;
}

Error FakeHardware::GetEventNames(std::vector<std::string>* pNames) {
    *pNames = m_eventNames;
    return Take("GetEventNames");
}

Error FakeHardware::SetEventSink(EventSink* pSink) {
    Error error = Take("SetEventSink");
    boost::lock_guard<boost::mutex> lock(m_sinkMutex);
    if (error == ERR_OK && pSink != nullptr && m_pSink != nullptr) {
        error = Failure(ERR_EVENT_FAILED, "Another sink is there.");
    }
    if (error == ERR_OK) {
        m_pSink = pSink;
    }
    return error;
}

void FakeHardware::SendEvent(const RawDeviceEvent& event) {
    boost::lock_guard<boost::mutex> lock(m_sinkMutex);
    if (EventSink* const pSink = m_pSink) {
        pSink->OnDeviceEvent(event);
    }
}

void FakeHardware::SendFrame(unsigned int firstQuadlet, bool isComplete) {
    FrameInfo info;
    info.width = info.stride = m_format.width;
    info.height = m_format.height;
    info.pixelFormat = m_format.pixelFormat;
    info.isComplete = isComplete;
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
