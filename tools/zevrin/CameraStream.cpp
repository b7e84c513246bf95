#include "CameraStream.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace ZevrinTool {

namespace {

constexpr unsigned int kSliceMs = 100;  // how long a request to stop may have to wait
constexpr unsigned int kMaxVainReconnections = 3;
constexpr unsigned int kMsPerSecond = 1000;

bool IsConnectionLost(const Zevrin::Error& error) {
    return error == Zevrin::ERR_INVALID_GENERATION || error == Zevrin::ERR_CAMERA_LOST ||
           error == Zevrin::ERR_NOT_CONNECTED;
}

}  // namespace

unsigned long long FrameNumbers::Add(unsigned long long frameId) {
    if (m_isRestarted) {
        m_isRestarted = false;
        m_firstId = frameId;
        m_firstNumber = m_next;
    }
    // One that is late at the very beginning of a later stream must not go back into the one before.
    const unsigned long long number = m_firstNumber + (frameId > m_firstId ? frameId - m_firstId : 0);
    m_next = std::max(m_next, number + 1);
    return number;
}

std::string PictureNames::Next(unsigned long long number, const std::string& suffix) {
    constexpr std::size_t kMaxRemembered = 65536;  // no frame is that late
    const unsigned int copy = ++m_copies[number];
    if (m_copies.size() > kMaxRemembered) {
        m_copies.erase(m_copies.begin());
    }
    char name[64];
    std::snprintf(name, sizeof name, "%u-%06llu", m_serialNumber, number);
    return name + (copy > 1 ? "-" + std::to_string(copy) : "") + suffix;
}

Zevrin::Error WaitForImage(Zevrin::IidcCamera& camera, Zevrin::Image* pImage, unsigned int timeoutMs,
                           const std::atomic<bool>& stop) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        const long long slice = timeoutMs == 0 ? kSliceMs : std::clamp<long long>(left.count(), 0, kSliceMs);
        const Zevrin::Error error = camera.WaitForBufferEvent(pImage, static_cast<unsigned int>(slice));
        if (error != Zevrin::ERR_TIMEOUT || stop || (timeoutMs != 0 && left.count() <= 0)) {
            return error;
        }
    }
}

void CheckImage(const Zevrin::Error& error, unsigned int timeoutMs) {
    if (error == Zevrin::ERR_TIMEOUT) {
        throw ToolFailure(kExitTimeout, "no frame came within " + std::to_string(timeoutMs) + " ms");
    }
    Check(error);
}

void FrameRate::Add(const Zevrin::Image& image) {
    const Zevrin::TimeStamp stamp = image.GetTimeStamp();
    const double time = static_cast<double>(stamp.seconds) + stamp.microSeconds * 1e-6;
    if (m_frames == 0) {
        m_firstTime = time;
    } else if (time > m_firstTime) {
        m_rate = static_cast<double>(m_frames) / (time - m_firstTime);
    }
    ++m_frames;
}

std::string RateText(const std::optional<double>& framesPerSecond) {
    char text[32] = "-";
    if (framesPerSecond) {
        std::snprintf(text, sizeof text, "%.2f fps", *framesPerSecond);
    }
    return text;
}

CameraStream::CameraStream(unsigned int serialNumber, boost::shared_ptr<Zevrin::IidcCamera> pCamera,
                           const std::atomic<bool>& stop)
    : m_serialNumber(serialNumber), m_pCamera(std::move(pCamera)), m_stop(stop) {}

CameraStream::~CameraStream() {
    if (m_reconnectSeconds != 0) {
        const Zevrin::Error ignored = m_pCamera->SetReconnectPolicy(nullptr);  // no report comes from here on
        static_cast<void>(ignored);
    }
}

void CameraStream::SetReconnection(unsigned int seconds) {
    if (seconds == 0) {
        return;
    }
    m_reconnectSeconds = seconds;
    Zevrin::ReconnectPolicy policy;
    policy.limitMs = seconds * kMsPerSecond;
    policy.userData = this;
    policy.callback = [](const Zevrin::ReconnectReport* pReport) {
        static_cast<const CameraStream*>(pReport->userData)->ReportStep(*pReport);
    };
    Check(m_pCamera->SetReconnectPolicy(&policy));
}

void CameraStream::Start(unsigned int buffers) {
    m_buffers = buffers;
    Zevrin::ZevrinConfig config;
    Check(m_pCamera->GetConfiguration(&config));
    config.numBuffers = buffers;
    Check(m_pCamera->SetConfiguration(&config));
    Check(m_pCamera->StartCapture(nullptr, nullptr));
}

void CameraStream::Stop() {
    const Zevrin::Error stopped = m_pCamera->StopCapture();
    static_cast<void>(stopped);
}

/// A camera without the registers that statistics want has nevertheless filled in the counts.
std::optional<Zevrin::CameraStats> CameraStream::GetLosses() const {
    Zevrin::CameraStats stats;
    const Zevrin::Error error = m_pCamera->GetStats(&stats);
    if (error != Zevrin::ERR_OK && error != Zevrin::ERR_REGISTER_FAILED) {
        return std::nullopt;
    }
    return stats;
}

bool CameraStream::Next(unsigned int timeoutMs, Zevrin::Image* pImage, unsigned long long* pNumber) {
    while (!m_stop) {
        const Zevrin::Error error = WaitForImage(*m_pCamera, pImage, timeoutMs, m_stop);
        if (m_stop && error != Zevrin::ERR_OK) {
            break;
        }
        if (!IsConnectionLost(error)) {
            CheckImage(error, timeoutMs);
            // The policy may have connected again while nobody waited for an image.
            if (pImage->GetGaps() != m_gaps) {
                m_gaps = pImage->GetGaps();
                m_numbers.Restart();
            }
            *pNumber = m_numbers.Add(pImage->GetFrameId());
            m_vainReconnections = 0;
            ++m_frames;
            return true;
        }
        Resume(error);
    }
    return false;
}

/// After a bus reset the camera is still there under a new generation; one that went away is not.
void CameraStream::Resume(const Zevrin::Error& reason) {
    if (m_reconnectSeconds != 0) {
        AwaitReturn();
        return;
    }
    if (++m_vainReconnections > kMaxVainReconnections) {
        Check(reason);
    }
    const Zevrin::Error error = m_pCamera->Connect(m_serialNumber);
    if (error == Zevrin::ERR_CAMERA_LOST || error == Zevrin::ERR_CAMERA_NOT_FOUND) {
        throw ToolFailure(kExitFailed, "the camera went away");
    }
    Check(error, "connecting again");
    m_numbers.Restart();
    Start(m_buffers);
    if (m_resumed) {
        m_resumed();
    }
}

void CameraStream::AwaitReturn() {
    for (;;) {
        const Zevrin::Error error = m_pCamera->WaitForReconnection(kSliceMs);
        if (error == Zevrin::ERR_OK) {
            return;
        }
        if (m_stop) {
            throw ToolFailure(kExitFailed, "stopped");
        }
        if (error != Zevrin::ERR_TIMEOUT) {
            throw ToolFailure(kExitFailed, "the camera went away and did not come back within " +
                                               std::to_string(m_reconnectSeconds) + " s");
        }
    }
}

/// On a thread of the library. Failed tries are told by their number.
void CameraStream::ReportStep(const Zevrin::ReconnectReport& report) const {
    std::string text;
    switch (report.step) {
        case Zevrin::RECONNECT_LOST:
            text = "the connection was lost after frame " + std::to_string(m_frames.load());
            break;
        case Zevrin::RECONNECT_TRY_FAILED:
            return;
        case Zevrin::RECONNECT_CONNECTED:
            text = "connected again, at try " + std::to_string(report.tries);
            break;
        case Zevrin::RECONNECT_RESTORED:
            text = std::to_string(report.count) + " registers were put back";
            if (report.error != Zevrin::ERR_OK) {
                text += ", but not all: " + std::string(report.description);
            }
            break;
        case Zevrin::RECONNECT_RESUMED:
            text = "the stream runs again; this was its gap number " + std::to_string(report.count);
            break;
        case Zevrin::RECONNECT_DONE:
            text = "the reconnection is done";
            break;
        case Zevrin::RECONNECT_GAVE_UP:
            text = "given up after " + std::to_string(report.tries) + " tries: " + report.description;
            break;
    }
    char seconds[16];
    std::snprintf(seconds, sizeof seconds, "%.2f", report.elapsedMs / 1000.0);
    Complain(NameOf(report.serialNumber) + ", " + seconds + " s: " + text);
}

}  // namespace ZevrinTool
