#include "Grabber.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include <zevrin/ImageFile.h>

namespace ZevrinTool {

namespace {

constexpr unsigned int kSliceMs = 100;  // how long a request to stop may have to wait
constexpr unsigned int kMaxVainReconnections = 3;
constexpr unsigned int kMsPerSecond = 1000;

/// Seconds since 1970.
double TimeOf(const Zevrin::Image& image) {
    const Zevrin::TimeStamp stamp = image.GetTimeStamp();
    return static_cast<double>(stamp.seconds) + stamp.microSeconds * 1e-6;
}

bool IsConnectionLost(const Zevrin::Error& error) {
    return error == Zevrin::ERR_INVALID_GENERATION || error == Zevrin::ERR_CAMERA_LOST ||
           error == Zevrin::ERR_NOT_CONNECTED;
}

}  // namespace

Zevrin::Error WaitForImage(Zevrin::IidcCamera& camera, Zevrin::Image* pImage, unsigned int timeoutMs,
                           const std::atomic<bool>& stop) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        const long long slice = std::clamp<long long>(left.count(), 0, kSliceMs);
        const Zevrin::Error error = camera.WaitForBufferEvent(pImage, static_cast<unsigned int>(slice));
        if (error != Zevrin::ERR_TIMEOUT || left.count() <= 0 || stop) {
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

unsigned long long FrameNumbers::Add(unsigned long long frameId) {
    const bool isFollower = m_hasLast && frameId > m_lastId;
    const unsigned long long step = isFollower ? frameId - m_lastId : 1;
    m_number = m_isFirst ? frameId : m_number + step;
    m_isFirst = false;
    m_lastId = frameId;
    m_hasLast = true;
    return m_number;
}

Grabber::Grabber(unsigned int serialNumber, boost::shared_ptr<Zevrin::IidcCamera> pCamera,
                 const GrabPlan& plan)
    : m_serialNumber(serialNumber), m_pCamera(std::move(pCamera)), m_plan(plan) {}

Grabber::~Grabber() {
    Stop();
    Join();
    if (m_plan.reconnectSeconds != 0) {
        const Zevrin::Error ignored = m_pCamera->SetReconnectPolicy(nullptr);  // no report comes from here on
        static_cast<void>(ignored);
    }
}

void Grabber::Start() {
    m_thread = std::thread([this] { Run(); });
}

const GrabOutcome& Grabber::Join() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
    return m_outcome;
}

void Grabber::Run() {
    const WorkEnd end = RunToItsEnd([this] { Grab(); });
    m_outcome.exitCode = end.exitCode;
    m_outcome.failure = end.failure;
    CountLosses();
    m_done = true;
}

void Grabber::Grab() {
    SetReconnectPolicy();
    StartStream();
    while (m_outcome.frames < m_plan.count) {
        Zevrin::Image image;
        const Zevrin::Error error = WaitForImage(*m_pCamera, &image, m_plan.timeoutMs, m_stop);
        if (m_stop) {
            throw ToolFailure(kExitFailed, "stopped");
        }
        if (IsConnectionLost(error)) {
            Resume(error);
            continue;
        }
        CheckImage(error, m_plan.timeoutMs);
        Take(image);
    }
    CountLosses();
    const Zevrin::Error stopped = m_pCamera->StopCapture();
    static_cast<void>(stopped);  // all frames are there, and the camera may have gone since
}

/// Before the stream is stopped, which drops what still waits. A camera without the registers that statistics
/// want has nevertheless filled in the counts.
void Grabber::CountLosses() {
    Zevrin::CameraStats stats;
    const Zevrin::Error error = m_pCamera->GetStats(&stats);
    if (!m_outcome.losses && (error == Zevrin::ERR_OK || error == Zevrin::ERR_REGISTER_FAILED)) {
        m_outcome.losses = stats;
    }
}

void Grabber::StartStream() {
    Zevrin::ZevrinConfig config;
    Check(m_pCamera->GetConfiguration(&config));
    config.numBuffers = m_plan.buffers;
    Check(m_pCamera->SetConfiguration(&config));
    Check(m_pCamera->StartCapture(nullptr, nullptr));
}

/// After a bus reset the camera is still there under a new generation; one that went away is not.
void Grabber::Resume(const Zevrin::Error& reason) {
    if (m_plan.reconnectSeconds != 0) {
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
    StartStream();
    Complain(NameOf(m_serialNumber) + ": its bus was reset; connected again after frame " +
             std::to_string(m_outcome.frames));
}

void Grabber::SetReconnectPolicy() {
    if (m_plan.reconnectSeconds == 0) {
        return;
    }
    Zevrin::ReconnectPolicy policy;
    policy.limitMs = m_plan.reconnectSeconds * kMsPerSecond;
    policy.userData = this;
    policy.callback = [](const Zevrin::ReconnectReport* pReport) {
        static_cast<const Grabber*>(pReport->userData)->ReportStep(*pReport);
    };
    Check(m_pCamera->SetReconnectPolicy(&policy));
}

void Grabber::AwaitReturn() {
    for (;;) {
        const Zevrin::Error error = m_pCamera->WaitForReconnection(kSliceMs);
        if (error == Zevrin::ERR_OK) {
            m_numbers.Restart();
            return;
        }
        if (m_stop) {
            throw ToolFailure(kExitFailed, "stopped");
        }
        if (error != Zevrin::ERR_TIMEOUT) {
            throw ToolFailure(kExitFailed, "the camera went away and did not come back within " +
                                               std::to_string(m_plan.reconnectSeconds) + " s");
        }
    }
}

/// On a thread of the library. Failed tries are told by their number.
void Grabber::ReportStep(const Zevrin::ReconnectReport& report) const {
    std::string text;
    switch (report.step) {
        case Zevrin::RECONNECT_LOST:
            text = "the connection was lost after frame " + std::to_string(m_frames);
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

void Grabber::Take(const Zevrin::Image& image) {
    const double time = TimeOf(image);
    if (m_outcome.frames == 0) {
        m_firstTime = time;
        m_outcome.width = image.GetWidth();
        m_outcome.height = image.GetHeight();
        m_outcome.pixelFormat = Zevrin::GetPixelFormatName(image.GetPixelFormat());
    } else if (time > m_firstTime) {
        m_outcome.framesPerSecond = m_outcome.frames / (time - m_firstTime);
    }
    const unsigned long long number = m_numbers.Add(image.GetFrameId());
    if (!m_plan.folder.empty()) {
        char name[48];
        std::snprintf(name, sizeof name, "/%u-%06llu.png", m_serialNumber, number);
        const std::string path = m_plan.folder + name;
        Check(Zevrin::SaveImage(image, path));
        m_outcome.files.push_back(path);
    }
    m_frames = ++m_outcome.frames;
    m_vainReconnections = 0;
}

}  // namespace ZevrinTool
