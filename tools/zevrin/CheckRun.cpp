#include "CheckRun.h"

#include <algorithm>

#include "EmbeddedItems.h"
#include "Interruption.h"
#include "Properties.h"

namespace ZevrinTool {

namespace {

constexpr float kFrameRate = 30;
constexpr unsigned int kQuietMs = 150;

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
    Check(m_camera.StartCapture(nullptr, nullptr), "starting a stream");
}

CheckStream::~CheckStream() {
    const Zevrin::Error ignored = m_camera.StopCapture();  // whatever stopped it has been told
    static_cast<void>(ignored);
}

void CheckStream::TakeNext(Zevrin::Image* pImage) {
    const Zevrin::Error error = m_camera.WaitForBufferEvent(pImage, m_timeoutMs);
    const std::string name = "frame " + std::to_string(++m_count);
    Require(error != Zevrin::ERR_TIMEOUT,
            name + " did not come within " + std::to_string(m_timeoutMs) + " ms");
    Check(error, name);
    Require(pImage->IsComplete(), name + " is not complete");
    const unsigned long long id = pImage->GetFrameId();
    Require(m_count == 1 || id == m_lastId + 1,
            name + " has number " + std::to_string(id) + " after number " + std::to_string(m_lastId));
    m_lastId = id;
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
