#include "FakeHardware.h"

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

Error FakeHardware::Open() {
    Error error = Take("Open");
    if (error == ERR_OK) {
        ++m_openCount;
    }
    return error;
}

Error FakeHardware::ReadQuadlets(unsigned short high, unsigned int low, unsigned int* pValues,
                                 unsigned int count) {
    Error error = Take("Read");
    boost::lock_guard<boost::mutex> lock(m_mutex);
    for (unsigned int index = 0; error == ERR_OK && index < count; ++index) {
        pValues[index] = m_memory[Key(high, low + 4 * index)];
    }
    return error;
}

Error FakeHardware::WriteQuadlets(unsigned short high, unsigned int low, const unsigned int* pValues,
                                  unsigned int count, bool broadcast) {
    Error error = Take("Write");
    boost::lock_guard<boost::mutex> lock(m_mutex);
    for (unsigned int index = 0; error == ERR_OK && index < count; ++index) {
        m_memory[Key(high, low + 4 * index)] = pValues[index];
    }
    if (broadcast) {
        m_broadcasts.push_back(std::to_string(low));
    }
    return error;
}

Error FakeHardware::GetBusTime(TimeStamp* pTimeStamp) {
    pTimeStamp->cycleCount = 77;
    return Take("GetBusTime");
}

Error FakeHardware::GetPortErrors(unsigned int* pCount) {
    *pCount = 3;
    return Take("GetPortErrors");
}

Error FakeHardware::GetStreamFormat(StreamFormat* pFormat) {
    *pFormat = m_format;
    return Take("GetStreamFormat");
}

Error FakeHardware::StartStream(const ZevrinConfig&, const boost::shared_ptr<FrameQueue>& pQueue) {
    Error error = Take("StartStream");
    if (error == ERR_OK) {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_pQueue = pQueue;
    }
    return error;
}

void FakeHardware::StopStream() {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_pQueue.reset();
}

bool FakeHardware::IsStreaming() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_pQueue != nullptr;
}

unsigned int FakeHardware::Register(unsigned int offset) const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    const auto found = m_memory.find(Key(kRegisterSpace, 0xF0F00000U + offset));
    return found != m_memory.end() ? found->second : 0;
}

void FakeHardware::SendFrame(unsigned int firstQuadlet, bool isComplete) {
    boost::shared_ptr<FrameQueue> pQueue;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        pQueue = m_pQueue;
    }
    if (!pQueue) {
        return;
    }
    const unsigned int frameId = m_sent++;
    Frame* pFrame = pQueue->BeginFill();
    if (pFrame == nullptr) {
        pQueue->CountDriverDropped(1);
        return;
    }
    for (unsigned int byte = 0; byte < 4; ++byte) {
        pFrame->data[byte] = static_cast<unsigned char>(firstQuadlet >> (24 - 8 * byte));
    }
    pFrame->info = FrameInfo();
    pFrame->info.width = m_format.width;
    pFrame->info.height = m_format.height;
    pFrame->info.stride = m_format.width;
    pFrame->info.pixelFormat = m_format.pixelFormat;
    pFrame->info.frameId = frameId;
    pFrame->info.receivedSize = m_format.payloadSize;
    pFrame->info.isComplete = isComplete;
    pQueue->EndFill(pFrame);
}

Error FakeTransport::Discover(std::vector<boost::shared_ptr<HardwareInterface>>* pCameras) {
    ++m_discoveries;
    *pCameras = m_cameras;
    return m_failure;
}

}  // namespace Zevrin
