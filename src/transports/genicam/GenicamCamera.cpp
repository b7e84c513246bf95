#include "GenicamCamera.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <boost/smart_ptr/weak_ptr.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <ctime>
#include <utility>

#include "CycleTime.h"
#include "DeviceFacts.h"
#include "Failure.h"
#include "FrameQueue.h"
#include "GenicamDevice.h"
#include "GenicamStream.h"
#include "LossReporter.h"
#include "RegisterAccess.h"

namespace Zevrin {

namespace {

CameraIdentity MakeIdentity(const DeviceListing& listing) {
    CameraIdentity identity;
    identity.serialNumber =
        MakeSerialNumber(listing.serialNumber.empty() ? listing.physicalId : listing.serialNumber);
    identity.interfaceType = listing.interfaceType;
    identity.vendorName = listing.vendorName;
    identity.modelName = listing.modelName;
    identity.address = listing.address;
    return identity;
}

unsigned long long GetHostNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<unsigned long long>(now.tv_sec) * 1000000000ULL +
           static_cast<unsigned long long>(now.tv_nsec);
}

StreamCounters Sum(const StreamCounters& a, const StreamCounters& b) {
    return {a.resendPacketsRequested + b.resendPacketsRequested,
            a.resendPacketsReceived + b.resendPacketsReceived};
}

}  // namespace

GenicamCamera::GenicamCamera(const DeviceListing& listing, boost::shared_ptr<LossReporter> pReporter)
    : m_pReporter(std::move(pReporter)), m_listing(listing), m_identity(MakeIdentity(listing)) {}

GenicamCamera::~GenicamCamera() {
    EndStream();
}

void GenicamCamera::SetListing(const DeviceListing& listing) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_listing = listing;
    m_identity.address = listing.address;
}

DeviceListing GenicamCamera::GetListing() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_listing;
}

bool GenicamCamera::IsControlled() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_session.pDevice && !m_session.pDevice->IsLost();
}

int GenicamCamera::GetInterfaceType() const {
    return GetIdentity().interfaceType;
}

CameraIdentity GenicamCamera::GetIdentity() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_identity;
}

RegisterBases GenicamCamera::GetRegisterBases() const {
    return RegisterAccess::GetBases();
}

/// A camera that does not answer is reported as lost, so that it is looked for before the next try.
Error GenicamCamera::Open() {
    Error error = m_pReporter->Start();
    bool isToBeReported = false;
    if (error == ERR_OK) {
        error = OpenSession(&isToBeReported);
    }
    if (isToBeReported) {
        ReportLoss();
    }
    return error;
}

/// Until it is done the camera is opened by nobody: a report that comes after an opening would take the
/// camera for lost again.
void GenicamCamera::ReportLoss() {
    m_pReporter->ReportLost(shared_from_this());
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_reportedBy = boost::thread::id();
    m_reported.notify_all();
}

Error GenicamCamera::OpenSession(bool* pIsToBeReported) {
    boost::lock_guard<boost::mutex> openLock(m_openMutex);
    CameraIdentity identity;
    DeviceListing listing;
    {
        const boost::this_thread::disable_interruption notInterrupted;
        boost::unique_lock<boost::mutex> lock(m_mutex);
        m_reported.wait(lock, [this] {
            return m_reportedBy == boost::thread::id() || m_reportedBy == boost::this_thread::get_id();
        });
        if (m_session.pDevice && m_session.pDevice->IsLost()) {
            return GenicamDevice::MakeLostError();
        }
        if (m_session.pDevice) {
            ++m_openCount;
            return Error();
        }
        listing = m_listing;
        identity = m_identity;
    }
    Session session;
    const boost::weak_ptr<GenicamCamera> pWeak = shared_from_this();
    const auto report = [pWeak, pReporter = m_pReporter] {
        pReporter->GetReports().Post([pWeak] {
            if (const auto pThis = pWeak.lock()) {
                pThis->HandleLoss();
            }
        });
    };
    Error error = GenicamDevice::Open(listing, report, &session.pDevice);
    if (error != ERR_OK) {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        *pIsToBeReported = error == ERR_CAMERA_LOST;
        if (*pIsToBeReported) {
            m_reportedBy = boost::this_thread::get_id();
        }
        return error;
    }
    error = OpenRegisters(
        session.pDevice, identity.serialNumber,
        [pWeak] {
            const auto pThis = pWeak.lock();
            if (const auto pStream = pThis ? pThis->GetStream() : nullptr) {
                pStream->ExpectRestart();
            }
        },
        &session.pView);
    if (error != ERR_OK) {
        return error;
    }
    ReadIdentity(*session.pDevice, &identity);
    m_events.Begin(session.pDevice);  // before a loss can be handled, which ends them
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_session = session;
        m_identity = identity;
        m_isLost = false;
        ++m_openCount;
    }
    if (session.pDevice->IsLost()) {
        report();  // it was lost before it could be found here
    }
    return Error();
}

void GenicamCamera::Close() {
    boost::lock_guard<boost::mutex> openLock(m_openMutex);
    Session session;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (m_openCount == 0 || --m_openCount > 0) {
            return;
        }
        session = std::exchange(m_session, Session());
    }
    {
        boost::lock_guard<boost::mutex> streamLock(m_streamMutex);
        EndStream();
    }
    m_events.End(session.pDevice);
}

/// First the report, so that whoever is woken finds the generation raised. It runs into no code of the
/// application.
void GenicamCamera::HandleLoss() {
    Session session;
    boost::shared_ptr<GenicamStream> pStream;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (!m_session.pDevice || !m_session.pDevice->IsLost()) {
            return;  // given up meanwhile
        }
        session = std::exchange(m_session, Session());
        pStream = m_pStream;
        m_isLost = true;
        m_reportedBy = boost::this_thread::get_id();
    }
    ReportLoss();
    if (pStream) {
        pStream->Fail(GenicamDevice::MakeLostError());
        pStream->BeginStop();
    }
    m_events.End(session.pDevice);
    session.pDevice->End();  // a stream that nobody stops would keep it
}

Error GenicamCamera::RequireSession(Session* pSession) const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (m_isLost || (m_session.pDevice && m_session.pDevice->IsLost())) {
        return GenicamDevice::MakeLostError();
    }
    if (!m_session.pDevice) {
        return Failure(ERR_NOT_CONNECTED, "The camera with serial number %u has not been opened.",
                       m_identity.serialNumber);
    }
    *pSession = m_session;
    return Error();
}

Error GenicamCamera::ReadQuadlets(unsigned short addressHigh, unsigned int addressLow, unsigned int* pValues,
                                  unsigned int count) {
    Session session;
    const Error error = RequireSession(&session);
    if (error != ERR_OK) {
        return error;
    }
    switch (addressHigh) {
        case kDeviceMemory:
            return session.pDevice->ReadMemory(addressLow, pValues, count);
        case kRegisterSpace:
            return session.pView->Read(addressLow, pValues, count);
        default:
            return Failure(
                ERR_READ_REGISTER_FAILED,
                "Register 0x%04X %08X cannot be read: the camera has registers at 0xFFFF and memory "
                "at 0x0000 only.",
                addressHigh, addressLow);
    }
}

Error GenicamCamera::WriteQuadlets(unsigned short addressHigh, unsigned int addressLow,
                                   const unsigned int* pValues, unsigned int count, bool broadcast) {
    Session session;
    const Error error = RequireSession(&session);
    if (error != ERR_OK) {
        return error;
    }
    if (broadcast) {
        return Failure(ERR_NOT_SUPPORTED,
                       "Register 0x%04X %08X cannot be written on all cameras at once: GigE Vision and USB3 "
                       "Vision cameras are written one by one.",
                       addressHigh, addressLow);
    }
    switch (addressHigh) {
        case kDeviceMemory:
            return session.pDevice->WriteMemory(addressLow, pValues, count);
        case kRegisterSpace:
            return session.pView->Write(addressLow, pValues, count);
        default:
            return Failure(ERR_WRITE_REGISTER_FAILED,
                           "Register 0x%04X %08X cannot be written: the camera has registers at 0xFFFF and "
                           "memory at 0x0000 only.",
                           addressHigh, addressLow);
    }
}

/// A camera whose clock cannot be read is given the host's.
Error GenicamCamera::GetBusTime(TimeStamp* pTimeStamp) {
    Session session;
    Error error = RequireSession(&session);
    if (error != ERR_OK) {
        return error;
    }
    unsigned long long nanoseconds = 0;
    error = ReadClock(*session.pDevice, &nanoseconds);
    if (error == ERR_FEATURE_ABSENT) {
        nanoseconds = GetHostNanoseconds();
    } else if (error != ERR_OK) {
        return error;
    }
    *pTimeStamp = GetHostTime();
    SetCycleTime(MakeCycleTime(nanoseconds), pTimeStamp);
    return Error();
}

/// Neither standard has such a count.
Error GenicamCamera::GetPortErrors(unsigned int* pCount) {
    Session session;
    const Error error = RequireSession(&session);
    if (error == ERR_OK) {
        *pCount = 0;
    }
    return error;
}

Error GenicamCamera::GetStreamFormat(StreamFormat* pFormat) {
    Session session;
    const Error error = RequireSession(&session);
    return error == ERR_OK ? ReadStreamFormat(*session.pDevice, pFormat) : error;
}

boost::shared_ptr<GenicamStream> GenicamCamera::GetStream() const {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_pStream;
}

Error GenicamCamera::StartStream(const ZevrinConfig& config, const boost::shared_ptr<FrameQueue>& pQueue) {
    boost::lock_guard<boost::mutex> streamLock(m_streamMutex);
    Session session;
    Error error = RequireSession(&session);
    if (error != ERR_OK) {
        return error;
    }
    const boost::shared_ptr<GenicamStream> pFormer = GetStream();
    if (pFormer && !pFormer->GetDevice()->IsLost()) {
        return Failure(ERR_ISOCH_ALREADY_STARTED, "A stream of this camera has already been started.");
    }
    if (pFormer) {
        pFormer->Fail(GenicamDevice::MakeLostError());  // before it cannot any more
        EndStream();
    }
    boost::shared_ptr<GenicamStream> pStream;
    error = GenicamStream::Start(session.pDevice, config, pQueue, &pStream);
    if (error != ERR_OK) {
        return error;
    }
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_pStream = pStream;
    }
    if (session.pDevice->IsLost()) {
        pStream->Fail(GenicamDevice::MakeLostError());  // whoever handled the loss did not find the stream
    }
    return Error();
}

bool GenicamCamera::IsStreaming(const boost::shared_ptr<FrameQueue>& pQueue) const {
    const boost::shared_ptr<GenicamStream> pStream = GetStream();
    return pStream && pStream->Fills(pQueue);
}

/// A stream that was replaced has been ended by then, and its replacement waited for.
void GenicamCamera::StopStream(const boost::shared_ptr<FrameQueue>& pQueue) {
    boost::lock_guard<boost::mutex> streamLock(m_streamMutex);
    const boost::shared_ptr<GenicamStream> pStream = GetStream();
    if (pStream && pStream->Fills(pQueue)) {
        EndStream();
    }
}

/// With the stream mutex held. Nothing touches the stream's queue when it returns.
void GenicamCamera::EndStream() {
    const boost::shared_ptr<GenicamStream> pStream = GetStream();
    if (!pStream) {
        return;
    }
    pStream->Stop();
    const StreamCounters counters = pStream->GetCounters();
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_endedStreams = Sum(m_endedStreams, counters);
    m_pStream.reset();
}

Error GenicamCamera::GetEventNames(std::vector<std::string>* pNames) {
    Session session;
    const Error error = RequireSession(&session);
    return error == ERR_OK ? DeviceEvents::GetNames(*session.pDevice, pNames) : error;
}

Error GenicamCamera::SetEventSink(EventSink* pSink) {
    return m_events.SetSink(pSink);
}

Error GenicamCamera::SetEventNotification(const std::string& name, bool on) {
    return m_events.SetNotification(name, on);
}

StreamCounters GenicamCamera::GetStreamCounters() const {
    boost::shared_ptr<GenicamStream> pStream;
    StreamCounters ended;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        pStream = m_pStream;
        ended = m_endedStreams;
    }
    return pStream ? Sum(ended, pStream->GetCounters()) : ended;
}

}  // namespace Zevrin
