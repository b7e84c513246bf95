#include "CheckRun.h"

#include <algorithm>

#include "EmbeddedItems.h"
#include "Interruption.h"
#include "Properties.h"

namespace ZevrinTool {

namespace {

constexpr float kFrameRate = 30;
constexpr unsigned int kQuietMs = 150;
constexpr unsigned int kMostIncomplete = 10;

/// The frames that came and that this computer was too slow to take.
unsigned int CountMissed(Zevrin::IidcCamera& camera) {
    Zevrin::CameraStats stats;
    const Zevrin::Error ignored = camera.GetStats(&stats);  // the counts of frames come first
    static_cast<void>(ignored);
    return stats.numImagesDriverDropped;
}

}  // namespace

void Require(bool isGood, const std::string& reason) {
    if (!isGood) {
        throw ToolFailure(kExitFailed, reason);
    }
}

unsigned int CheckRun::Count(CheckVerdict verdict) const {
    return static_cast<unsigned int>(std::count_if(
        m_rows.begin(), m_rows.end(), [verdict](const CheckRow& row) { return row.verdict == verdict; }));
}

void CheckRun::Try(const std::string& name, const std::function<std::string()>& check) {
    if (!IsInterrupted()) {
        TryAlways(name, check);
    }
}

void CheckRun::TryAlways(const std::string& name, const std::function<std::string()>& check) {
    CheckRow row = {m_group, name, kCheckPass, ""};
    try {
        row.reason = check();
    } catch (const CheckIsAbsent& absent) {
        row.verdict = kCheckAbsent;
        row.reason = absent.reason;
    } catch (const ToolFailure& failure) {
        row.verdict = kCheckFail;
        row.reason = failure.what();
    }
    m_rows.push_back(row);
}

CheckStream::CheckStream(const CheckRun& run) : m_camera(run.GetCamera()), m_timeoutMs(run.GetTimeoutMs()) {
    // Nothing is to be left out unseen.
    Zevrin::ZevrinConfig config;
    config.deliverIncomplete = true;
    Check(m_camera.SetConfiguration(&config));
    m_missed = CountMissed(m_camera);
    Check(m_camera.StartCapture(nullptr, nullptr), "starting a stream");
}

CheckStream::~CheckStream() {
    const Zevrin::Error ignored = m_camera.StopCapture();  // whatever stopped it has been told
    static_cast<void>(ignored);
}

void CheckStream::TakeNext(Zevrin::Image* pImage) {
    for (unsigned int tries = 1; !TakeAny(pImage); ++tries) {
        Require(tries < kMostIncomplete,
                std::to_string(tries) +
                    " frames in a row arrived incomplete: packets are lost on the way, as on a busy link or "
                    "with a small socket buffer; what the camera does cannot be judged");
    }
}

bool CheckStream::TakeAny(Zevrin::Image* pImage) {
    const Zevrin::Error error = m_camera.WaitForBufferEvent(pImage, m_timeoutMs);
    const std::string name = "frame " + std::to_string(++m_count);
    Require(error != Zevrin::ERR_TIMEOUT,
            name + " did not come within " + std::to_string(m_timeoutMs) + " ms");
    Check(error, name);
    const bool isWhole = pImage->IsComplete();
    const unsigned long long id = pImage->GetFrameId();
    // An incomplete frame may have lost the packet with its number.
    if (isWhole && m_isLastWhole && id != m_lastId + 1) {
        const unsigned int missed = CountMissed(m_camera);
        Require(missed != m_missed,
                name + " has number " + std::to_string(id) + " after number " + std::to_string(m_lastId));
        m_missed = missed;
    }
    m_isLastWhole = isWhole;
    m_lastId = id;
    m_incomplete += isWhole ? 0 : 1;
    return isWhole;
}

bool CheckStream::IsQuiet() {
    Zevrin::Image image;
    const Zevrin::Error error = m_camera.WaitForBufferEvent(&image, kQuietMs);
    Require(error == Zevrin::ERR_OK || error == Zevrin::ERR_TIMEOUT, error.GetDescription());
    return error == Zevrin::ERR_TIMEOUT;
}

void PrepareToStream(Zevrin::IidcCamera& camera) {
    Zevrin::TriggerModeInfo trigger;
    Check(camera.GetTriggerModeInfo(&trigger));
    if (trigger.present && trigger.onOffSupported) {
        Zevrin::TriggerMode mode;
        Check(camera.GetTriggerMode(&mode));
        mode.onOff = false;
        Check(camera.SetTriggerMode(&mode), "switching the trigger off");
    }
    PropertyReading rate = ReadProperty(camera, Zevrin::FRAME_RATE);
    if (rate.info.present && rate.info.manualSupported && rate.info.absValSupported) {
        rate.property.onOff = true;
        rate.property.autoManualMode = false;
        rate.property.absControl = true;
        rate.property.absValue = std::clamp(kFrameRate, rate.info.absMin, rate.info.absMax);
        Check(camera.SetProperty(&rate.property));
    }
    Zevrin::EmbeddedImageInfo items;
    Check(camera.GetEmbeddedImageInfo(&items));
    for (const Choice& name : kEmbeddedItems) {
        EmbeddedItem(&items, name.value).onOff = false;
    }
    Check(camera.SetEmbeddedImageInfo(&items));
}

}  // namespace ZevrinTool
