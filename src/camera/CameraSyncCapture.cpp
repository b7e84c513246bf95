#include "KeepAssertions.h"
// Before everything else.
#include <array>
#include <boost/bind/bind.hpp>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/smart_ptr/shared_array.hpp>
#include <boost/thread/thread.hpp>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BusMaster.h"
#include "CameraInternal.h"
#include "CameraRegisters.h"
#include "CameraShapes.h"
#include "FormatText.h"
#include "HardwareInterface.h"
#include "Image.h"
#include "Iso.h"
#include "Singleton.h"
#include "zevrin/InterfaceType.h"
#include "zevrin/SyncReport.h"

namespace Zevrin {

namespace {

constexpr unsigned int kBuffers = 10;
constexpr long kPauseMs = 550;
constexpr int kGrabRetries = 10;

// The cycle clock of the bus: 8000 cycles a second, back at zero after 128 seconds.
constexpr unsigned int kCyclesPerSecond = 8000;
constexpr int kHalfWrap = 128 * static_cast<int>(kCyclesPerSecond) / 2;
constexpr int kToleranceCycles = kSyncLimitCycles;

/// Rows are the passes of draining, columns the cameras.
using DrainTable = std::array<std::array<Image, CameraInternal::kMaxSyncCameras>, kBuffers>;

using Cameras = std::vector<boost::shared_ptr<CameraInternal>>;

/// Composes a line that tells how the start goes. No sink receives it.
template <std::size_t kCapacity = 128, typename... Arguments>
void Trace(const char* format, Arguments... arguments) {
    char text[kCapacity];
    std::snprintf(text, sizeof text, format, arguments...);
    const std::string line(text);
}

/// In-order retrieval with exactly as many buffers as the drain takes images: whoever holds those images
/// holds every buffer of the camera, so nothing stale can wait behind them.
ZevrinConfig SyncConfiguration() {
    ZevrinConfig config;
    config.numBuffers = kBuffers;
    config.packetSize = 0;
    config.packetDelay = 0;
    config.grabTimeout = kTimeoutDefault;
    config.grabMode = GRAB_IN_ORDER;
    config.deliverIncomplete = false;
    config.asyncSpeed = kBusSpeedFastest;
    config.isochSpeed = kBusSpeedFastest;
    config.bandwidthAllocation = kBandwidthAutomatic;
    config.socketBufferSize = 0;
    config.packetResend = 0;
    return config;
}

/// Whether two bus times lie within the tolerance of one another on the circle of the cycle clock. Stamps
/// are a camera's word: the arithmetic is of 32 bits and wraps.
bool AreInStep(const TimeStamp& first, const TimeStamp& other) {
    const unsigned int difference =
        (first.cycleSeconds - other.cycleSeconds) * kCyclesPerSecond + (first.cycleCount - other.cycleCount);
    const long long distance = std::abs(static_cast<long long>(static_cast<int>(difference)));
    return std::abs(kHalfWrap - distance) > kHalfWrap - kToleranceCycles - 1;
}

}  // namespace

/// The steps of one call, which share the cameras and one running error.
class CameraInternal::SyncStart {
  public:
    SyncStart(unsigned int numCameras, const Cameras& cameras) : m_count(numCameras), m_cameras(cameras) {}

    Error Run(ImageCallback const* callbacks, const void** callbackData);

  private:
    Error Prepare(CameraInternal& camera);
    Error CheckInterface(const CameraInternal& camera);
    Error StartAll();
    void Drain(DrainTable* pTable);
    void SwitchOn(DrainTable* pTable);
    boost::shared_array<Image> GrabAll();
    Error Compare(const boost::shared_array<Image>& images);
    void StopFirst(unsigned int count);

    const unsigned int m_count;
    const Cameras& m_cameras;
    const ZevrinConfig m_config = SyncConfiguration();
    HardwareInterface* m_pHardware = nullptr;  // the bus manager's
    Error m_error;
};

Error CameraInternal::SyncStart::Run(ImageCallback const* callbacks, const void** callbackData) {
    Error refusal = Success();
    for (unsigned int i = 0; i < m_count && refusal == ERR_OK; ++i) {
        refusal = Prepare(*m_cameras[i]);
    }
    if (refusal == ERR_OK) {
        refusal = StartAll();
    }
    if (refusal != ERR_OK) {
        return refusal;
    }
    DrainTable table;
    Drain(&table);
    boost::this_thread::sleep(boost::posix_time::microsec_clock::universal_time() +
                              boost::posix_time::milliseconds(kPauseMs));
    SwitchOn(&table);
    refusal = Compare(GrabAll());
    if (refusal != ERR_OK) {
        return refusal;
    }
    // Past the camera's own operation, which refuses while a stream runs.
    for (unsigned int i = 0; i < m_count; ++i) {
        m_error = m_cameras[i]->m_pIso->SetCallback(callbacks != nullptr ? callbacks[i] : nullptr,
                                                    callbackData != nullptr ? callbackData[i] : nullptr);
    }
    return Success();
}

/// A failure leaves the cameras that were prepared before as they are.
Error CameraInternal::SyncStart::Prepare(CameraInternal& camera) {
    const Error refusal = CheckInterface(camera);
    if (refusal != ERR_OK) {
        return refusal;
    }
    EmbeddedImageInfo info{};
    m_error = camera.GetEmbeddedImageInfo(&info);
    if (m_error != ERR_OK) {
        return MakeError(ERR_ISOCH_FAILED, m_error, "Could not get embedded image info.");
    }
    info.timestamp.onOff = true;
    m_error = camera.SetEmbeddedImageInfo(&info);
    if (m_error != ERR_OK) {
        return MakeError(ERR_ISOCH_FAILED, m_error, "Could not set embedded image info.");
    }
    m_error = camera.SetConfiguration(&m_config);
    if (m_error != ERR_OK) {
        return MakeError(ERR_ISOCH_FAILED, m_error,
                         "Could not set the configuration to begin syncing cameras.");
    }
    return Success();
}

Error CameraInternal::SyncStart::CheckInterface(const CameraInternal& camera) {
    const SingletonHold<BusMaster> busMaster;
    if (!busMaster) {
        return MakeError(ERR_BUS_MASTER_FAILED, "Failed to connect to the Bus Manager object.");
    }
    m_error = busMaster->GetHwInterfaceFromSerialNumber(camera.m_serialNumber, &m_pHardware);
    if (m_error != ERR_OK) {
        return MakeError(ERR_INTERFACE_NOT_FOUND, "Failed to retrieve camera interface.");
    }
    if (m_pHardware->GetInterfaceType() == INTERFACE_GIGE) {
        return MakeError(ERR_NOT_SUPPORTED, "StartSyncCapture() with GigE Cameras is not supported.");
    }
    return Success();
}

Error CameraInternal::SyncStart::StartAll() {
    for (unsigned int i = 0; i < m_count; ++i) {
        m_error = m_cameras[i]->StartCapture(nullptr, nullptr);
        if (m_error == ERR_OK || m_error == ERR_ISOCH_ALREADY_STARTED) {
            continue;
        }
        // The failing camera is asked to stop once for each camera before it; those keep streaming. Callers
        // rely on both.
        for (unsigned int stop = 0; stop < i; ++stop) {
            const Error ignored = m_cameras[i]->StopCapture();
        }
        return MakeError(ERR_ISOCH_START_FAILED, m_error, "Could not start one of the cameras.");
    }
    return Success();
}

/// Takes every buffer of a camera out of circulation, then switches its transmission off: what arrives in
/// between finds no free buffer.
void CameraInternal::SyncStart::Drain(DrainTable* pTable) {
    for (unsigned int i = 0; i < m_count; ++i) {
        for (auto& pass : *pTable) {
            m_error = m_cameras[i]->RetrieveBuffer(&pass[i]);
        }
        m_error = m_cameras[i]->WriteRegister(kTransmissionRegister, 0, false);
    }
}

/// Gives all buffers back first, so that nothing stands between the writes.
void CameraInternal::SyncStart::SwitchOn(DrainTable* pTable) {
    for (unsigned int i = 0; i < m_count; ++i) {
        for (auto& pass : *pTable) {
            const Error ignored = pass[i].ReleaseBuffer();
        }
    }
    for (unsigned int i = 0; i < m_count; ++i) {
        const Error ignored = m_cameras[i]->WriteRegister(kTransmissionRegister, kMostSignificantBit, false);
    }
}

boost::shared_array<Image> CameraInternal::SyncStart::GrabAll() {
    Trace("Launching StartSyncCaptureImageHelper helper threads");
    const boost::shared_array<Image> images(new Image[m_count]);
    boost::thread_group threads;
    for (unsigned int i = 0; i < m_count; ++i) {
        threads.create_thread(boost::bind(&StartSyncCaptureImageHelper, m_cameras, i, images));
    }
    threads.join_all();
    Trace("StartSyncCaptureImageHelper helper threads complete");
    return images;
}

Error CameraInternal::SyncStart::Compare(const boost::shared_array<Image>& images) {
    std::vector<TimeStamp> stamps(m_count);
    for (unsigned int i = 0; i < m_count; ++i) {
        stamps[i] = images[i].GetTimeStamp();
        // Still the result of switching the last camera's transmission off.
        if (m_error != ERR_OK) {
            StopFirst(i);
            return MakeError(ERR_TIMESTAMP_FAILED, "Failed to retrieve timestamp information from image.");
        }
        Trace("Cam %u: [%4u:%4u]", i, stamps[i].cycleSeconds, stamps[i].cycleCount);
    }
    bool inStep = true;
    for (unsigned int i = 1; i < m_count; ++i) {
        if (!AreInStep(stamps[0], stamps[i])) {
            Trace("Cam %u failed to synchronize", i);
            inStep = false;
        }
    }
    if (!inStep) {
        StopFirst(m_count);
        return MakeError(ERR_ISOCH_SYNC_FAILED, "Failed to synchronize cameras.");
    }
    return Success();
}

void CameraInternal::SyncStart::StopFirst(unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
        const Error ignored = m_cameras[i]->StopCapture();
    }
}

Error CameraInternal::StartSyncCapture(unsigned int numCameras, Cameras cameras,
                                       void (*const* callbacks)(Image*, const void*),
                                       const void** callbackData) {
    if (numCameras > kMaxSyncCameras) {
        return MakeError(ERR_INVALID_PARAMETER,
                         FormatText("%u cameras are to be started in step, but at most %u can.", numCameras,
                                    kMaxSyncCameras)
                             .c_str());
    }
    if (numCameras > cameras.size()) {
        return MakeError(ERR_INVALID_PARAMETER,
                         FormatText("%u cameras are to be started in step, but only %zu are given.",
                                    numCameras, cameras.size())
                             .c_str());
    }
    return SyncStart(numCameras, cameras).Run(callbacks, callbackData);
}

Error CameraInternal::StartSyncCaptureImageHelper(Cameras& cameras, unsigned int index,
                                                  boost::shared_array<Image>& images) {
    constexpr std::size_t kLine = 512;
    Trace<kLine>("Launching StartSyncCaptureImageHelper for camera %u", index);
    Error error;
    for (int retries = kGrabRetries;; --retries) {
        Trace<kLine>("Grabbing image for camera %u, retry count: %d", index, retries);
        error = cameras[index]->RetrieveBuffer(&images[index]);
        if (error == ERR_OK || retries == 0) {
            break;
        }
    }
    const TimeStamp stamp = images[index].GetTimeStamp();
    Trace<kLine>("StartSyncCaptureImageHelper: Camera %u [%4u.%4u]", index, stamp.cycleSeconds,
                 stamp.cycleCount);
    return error;
}

}  // namespace Zevrin
