#include "CameraConfig.h"
#include "Formats.h"

namespace ZevrinTool {

namespace {

using Zevrin::Format7Info;
using Zevrin::Format7Settings;
using Zevrin::IidcCamera;
using Zevrin::VideoModeInfo;
using Zevrin::VideoModeSetting;
using Zevrin::ZevrinConfig;

constexpr unsigned int kMaxPacketSize = 65535;

double RateOf(unsigned int number) {
    return std::stod(WordFor(number, kFrameRates));
}

Json Read(IidcCamera& camera, Findings*) {
    VideoModeSetting present;
    Check(camera.GetVideoMode(&present));
    if (present.format != Zevrin::kScalableImageFormat) {
        return {{"format", present.format}, {"mode", present.mode}, {"frameRate", RateOf(present.frameRate)}};
    }
    Format7Settings settings;
    Check(camera.GetFormat7(&settings));
    const Format7Info info = ReadRegionInfo(camera, settings.mode);
    return {{"format", present.format},
            {"mode", settings.mode},
            {"left", settings.left},
            {"top", settings.top},
            {"width", settings.width},
            {"height", settings.height},
            {"coding", GetPixelFormatName(settings.pixelFormat)},
            {"packetSize", info.unitPacketSize != 0 ? settings.packetSize : 0}};
}

void PlanStandard(ConfigEntry& entry, VideoModeSetting setting, IidcCamera& camera, ConfigPlan* pPlan) {
    const VideoModeInfo info = ReadModeInfo(camera, setting.format, setting.mode);
    if (!info.present) {
        entry.Refuse("mode", "this camera has no such mode of format " + std::to_string(setting.format));
        return;
    }
    const Json* const pRate = entry.Find("frameRate");
    std::string rates;
    bool isKnown = false;
    for (const unsigned int rate : BitsOf(info.frameRateMask)) {
        rates += (rates.empty() ? "" : ", ") + WordFor(rate, kFrameRates);
        if (pRate == nullptr || (pRate->is_number() && *pRate == RateOf(rate))) {
            setting.frameRate = rate;  // not given: the fastest
            isKnown = true;
        }
    }
    if (!isKnown) {
        entry.Refuse("frameRate", "it must be one of " + rates);
    }
    pPlan->steps.push_back(
        {kStageImage, entry.GetPath(), [&camera, setting] { return camera.SetVideoMode(&setting); }});
}

/// One direction of the region: its length, then where it begins.
void ReadExtent(ConfigEntry& entry, const char* lengthKey, const char* startKey, const IntegerRange& length,
                unsigned int startUnit, unsigned int* pLength, unsigned int* pStart) {
    entry.Read(lengthKey, length, pLength);
    const IntegerRange start = {0, length.max - *pLength, startUnit};
    entry.Read(startKey, start, pStart);
}

void ReadCoding(ConfigEntry& entry, const Format7Info& info, Zevrin::PixelFormat* pCoding) {
    Choices codings;
    for (const unsigned int coding : BitsOf(info.pixelFormatMask)) {
        codings.push_back({WordFor(coding, kPixelFormats), coding});
    }
    unsigned int coding = codings.empty() ? 0 : codings.front().value;
    entry.Read("coding", codings, &coding);
    *pCoding = static_cast<Zevrin::PixelFormat>(coding);
}

/// What is not given is the mode's whole picture. The largest packet follows from the region: the camera
/// looks at it when the region is set.
void PlanRegion(ConfigEntry& entry, unsigned int mode, IidcCamera& camera, ConfigPlan* pPlan) {
    const Format7Info info = ReadRegionInfo(camera, mode);
    if (!info.present) {
        entry.Refuse("mode", "this camera has no such mode of format 7");
        return;
    }
    Format7Settings settings;
    settings.mode = mode;
    settings.width = info.maxWidth;
    settings.height = info.maxHeight;
    ReadExtent(entry, "width", "left", {info.unitWidth, info.maxWidth, info.unitWidth}, info.unitLeft,
               &settings.width, &settings.left);
    ReadExtent(entry, "height", "top", {info.unitHeight, info.maxHeight, info.unitHeight}, info.unitTop,
               &settings.height, &settings.top);
    ReadCoding(entry, info, &settings.pixelFormat);
    const bool hasPackets = info.unitPacketSize != 0;
    entry.Read("packetSize",
               IntegerRange{0, hasPackets ? kMaxPacketSize : 0, hasPackets ? info.unitPacketSize : 1},
               &settings.packetSize);
    pPlan->steps.push_back(
        {kStageImage, entry.GetPath(), [&camera, settings] { return camera.SetFormat7(&settings); }});
}

void Plan(ConfigEntry& entry, IidcCamera& camera, ConfigPlan* pPlan) {
    VideoModeSetting setting;
    Check(camera.GetVideoMode(&setting));
    entry.Read("format", IntegerRange{0, Zevrin::kScalableImageFormat}, &setting.format);
    entry.Read("mode", IntegerRange{0, kMaxMode}, &setting.mode);
    if (!entry.IsGood()) {
        return;
    }
    if (setting.format == Zevrin::kScalableImageFormat) {
        PlanRegion(entry, setting.mode, camera, pPlan);
    } else if (setting.format <= kMaxStandardFormat) {
        PlanStandard(entry, setting, camera, pPlan);
    } else {
        entry.Refuse("format", "it must be 0 to 2, or 7");
    }
    entry.RefuseOthers();
}

const Choices kGrabModes = {{"newest", Zevrin::GRAB_NEWEST}, {"in-order", Zevrin::GRAB_IN_ORDER}};

const struct {
    const char* key;
    unsigned int ZevrinConfig::*pMember;
} kStreamNumbers[] = {{"buffers", &ZevrinConfig::numBuffers},
                      {"packetSize", &ZevrinConfig::packetSize},
                      {"packetDelayNs", &ZevrinConfig::packetDelay},
                      {"asyncSpeed", &ZevrinConfig::asyncSpeed},
                      {"isochSpeed", &ZevrinConfig::isochSpeed},
                      {"bandwidthAllocation", &ZevrinConfig::bandwidthAllocation},
                      {"socketBufferSize", &ZevrinConfig::socketBufferSize},
                      {"packetResend", &ZevrinConfig::packetResend}};

Json ReadStream(IidcCamera& camera, Findings*) {
    ZevrinConfig config;
    Check(camera.GetConfiguration(&config));
    Json stream = {{"grabMode", WordFor(config.grabMode, kGrabModes)},
                   {"grabTimeoutMs", config.grabTimeout},
                   {"deliverIncomplete", config.deliverIncomplete}};
    for (const auto& row : kStreamNumbers) {
        stream[row.key] = config.*row.pMember;
    }
    return stream;
}

/// The camera object keeps it: it can be tried, and taken back, without the camera.
void PlanStream(ConfigEntry& entry, IidcCamera& camera, ConfigPlan* pPlan) {
    ZevrinConfig present;
    Check(camera.GetConfiguration(&present));
    ZevrinConfig config = present;
    auto grabMode = static_cast<unsigned int>(config.grabMode);
    entry.Read("grabMode", kGrabModes, &grabMode);
    config.grabMode = static_cast<Zevrin::GrabMode>(grabMode);
    entry.Read("grabTimeoutMs", IntegerRange{Zevrin::kTimeoutDefault, std::numeric_limits<int>::max()},
               &config.grabTimeout);
    entry.Read("deliverIncomplete", &config.deliverIncomplete);
    for (const auto& row : kStreamNumbers) {
        entry.Read(row.key, IntegerRange(), &(config.*row.pMember));
    }
    entry.RefuseOthers();
    if (!entry.IsGood()) {
        return;
    }
    const Zevrin::Error error = camera.SetConfiguration(&config);
    Check(camera.SetConfiguration(&present));
    Check(error);
    pPlan->steps.push_back(
        {kStageStream, entry.GetPath(), [&camera, config] { return camera.SetConfiguration(&config); }});
}

}  // namespace

const ConfigSection kImageSection = {"image", Read, Plan};
const ConfigSection kStreamSection = {"stream", ReadStream, PlanStream};

}  // namespace ZevrinTool
