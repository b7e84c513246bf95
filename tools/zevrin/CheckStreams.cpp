#include <algorithm>
#include <chrono>

#include "CheckRun.h"
#include "EmbeddedItems.h"
#include "Formats.h"

namespace ZevrinTool {

namespace {

using Zevrin::IidcCamera;
using Zevrin::Image;

constexpr unsigned int kFramesOfFormat = 3;

struct Picture {
    unsigned int width = 0;
    unsigned int height = 0;
    Zevrin::PixelFormat pixelFormat = Zevrin::PIXEL_FORMAT_UNKNOWN;
};

std::string ToText(const Picture& picture) {
    return std::to_string(picture.width) + " x " + std::to_string(picture.height) + " " +
           Zevrin::GetPixelFormatName(picture.pixelFormat);
}

std::string StreamPictures(const CheckRun& run, const Picture& wanted) {
    constexpr unsigned int kBitsPerByte = 8;
    const std::size_t size = std::size_t{wanted.width} * wanted.height *
                             Zevrin::GetBitsPerPixel(wanted.pixelFormat) / kBitsPerByte;
    CheckStream stream(run);
    for (unsigned int count = 0; count < kFramesOfFormat; ++count) {
        Image image;
        stream.TakeNext(&image);
        const Picture got = {image.GetWidth(), image.GetHeight(), image.GetPixelFormat()};
        Require(ToText(got) == ToText(wanted),
                "a frame is " + ToText(got) + "; it must be " + ToText(wanted));
        Require(image.GetDataSize() == size, "a frame has " + std::to_string(image.GetDataSize()) +
                                                 " bytes; it must have " + std::to_string(size));
    }
    return ToText(wanted) + ", " + std::to_string(kFramesOfFormat) + " frames";
}

void CheckStandardMode(CheckRun& run, const Zevrin::VideoModeInfo& info) {
    const std::string name = "format " + std::to_string(info.format) + " mode " + std::to_string(info.mode);
    run.Try(name, [&] {
        IidcCamera& camera = run.GetCamera();
        PrepareToStream(camera);
        const std::vector<unsigned int> rates = BitsOf(info.frameRateMask);
        Require(!rates.empty(), "the mode has no frame rate");
        Zevrin::VideoModeSetting setting;
        setting.format = info.format;
        setting.mode = info.mode;
        setting.frameRate = rates.back();
        Check(camera.SetVideoMode(&setting));
        Zevrin::VideoModeSetting got;
        Check(camera.GetVideoMode(&got));
        Require(
            got.format == setting.format && got.mode == setting.mode && got.frameRate == setting.frameRate,
            "the mode does not stick");
        return StreamPictures(run, {info.width, info.height, info.pixelFormat});
    });
}

void CheckRegion(CheckRun& run, const std::string& name, const Zevrin::Format7Settings& settings) {
    run.Try("format 7 mode " + std::to_string(settings.mode) + " " + name, [&] {
        IidcCamera& camera = run.GetCamera();
        PrepareToStream(camera);
        Check(camera.SetFormat7(&settings));
        return StreamPictures(run, {settings.width, settings.height, settings.pixelFormat});
    });
}

/// The whole picture in every coding, and a region at its far corner.
void CheckScalableMode(CheckRun& run, const Zevrin::Format7Info& info) {
    Zevrin::Format7Settings settings;
    settings.mode = info.mode;
    settings.width = info.maxWidth;
    settings.height = info.maxHeight;
    for (const unsigned int coding : BitsOf(info.pixelFormatMask)) {
        settings.pixelFormat = static_cast<Zevrin::PixelFormat>(coding);
        CheckRegion(run, WordFor(coding, kPixelFormats), settings);
    }
    const auto half = [](unsigned int max, unsigned int unit) {
        return std::max(unit, max / 2 / unit * unit);
    };
    settings.width = half(info.maxWidth, info.unitWidth);
    settings.height = half(info.maxHeight, info.unitHeight);
    settings.left = (info.maxWidth - settings.width) / info.unitLeft * info.unitLeft;
    settings.top = (info.maxHeight - settings.height) / info.unitTop * info.unitTop;
    CheckRegion(run, "region", settings);
}

// Triggers.

void SetTrigger(IidcCamera& camera, const Zevrin::TriggerMode& mode) {
    Check(camera.SetTriggerMode(&mode));
    Zevrin::TriggerMode got;
    Check(camera.GetTriggerMode(&got));
    Require(got.mode == mode.mode && got.source == mode.source && got.onOff == mode.onOff,
            "mode " + std::to_string(mode.mode) + " of source " + std::to_string(mode.source) +
                " reads back as mode " + std::to_string(got.mode) + " of source " +
                std::to_string(got.source) + ", " + OnOff(got.onOff));
}

Zevrin::TriggerModeInfo RequireTrigger(IidcCamera& camera) {
    Zevrin::TriggerModeInfo info;
    Check(camera.GetTriggerModeInfo(&info));
    if (!info.present) {
        throw CheckIsAbsent{"the camera has none"};
    }
    return info;
}

std::string CheckTriggerModes(IidcCamera& camera) {
    const Zevrin::TriggerModeInfo info = RequireTrigger(camera);
    Zevrin::TriggerMode mode;
    Check(camera.GetTriggerMode(&mode));
    mode.onOff = true;
    for (const unsigned int number : BitsOf(info.modeMask)) {
        for (const unsigned int source : BitsOf(info.sourceMask)) {
            mode.mode = number;
            mode.source = source;
            SetTrigger(camera, mode);
        }
    }
    return Json(BitsOf(info.modeMask)).dump() + " with sources " + Json(BitsOf(info.sourceMask)).dump();
}

/// Each software trigger gives as many frames as it should, none comes without one, and none is left over.
std::string FireSoftwareTriggers(const CheckRun& run, unsigned int triggerMode, unsigned int frames) {
    constexpr unsigned int kTriggers = 2;
    constexpr unsigned int kSoftware = 7;
    IidcCamera& camera = run.GetCamera();
    PrepareToStream(camera);
    const Zevrin::TriggerModeInfo info = RequireTrigger(camera);
    if (!info.softwareTriggerSupported || (info.modeMask >> triggerMode & 1) == 0) {
        throw CheckIsAbsent{"the camera has no software trigger of this mode"};
    }
    Zevrin::TriggerMode mode;
    Check(camera.GetTriggerMode(&mode));
    mode.onOff = true;
    mode.source = kSoftware;
    mode.mode = triggerMode;
    mode.parameter = frames;
    SetTrigger(camera, mode);
    CheckStream stream(run);
    Require(stream.IsQuiet(), "a frame came without a trigger");
    for (unsigned int trigger = 0; trigger < kTriggers; ++trigger) {
        Check(camera.FireSoftwareTrigger());
        for (unsigned int frame = 0; frame < frames; ++frame) {
            Image image;
            stream.TakeNext(&image);
        }
        Require(stream.IsQuiet(), "more frames than " + std::to_string(frames) + " came of one trigger");
    }
    return std::to_string(frames) + (frames == 1 ? " frame" : " frames") + " each";
}

// Time.

constexpr long long kTicksPerCycle = 3072;
constexpr long long kCyclesPerSecond = 8000;
constexpr long long kWrap = 128 * kCyclesPerSecond * kTicksPerCycle;

long long ToTicks(const Zevrin::TimeStamp& stamp) {
    return (stamp.cycleSeconds * kCyclesPerSecond + stamp.cycleCount) * kTicksPerCycle + stamp.cycleOffset;
}

/// Microseconds from one bus time to a later one, across the wrap of the clock.
double Elapsed(long long from, long long to) {
    constexpr double kMicrosecondsPerCycle = 125;
    return static_cast<double>((to - from + kWrap) % kWrap) / kTicksPerCycle * kMicrosecondsPerCycle;
}

std::vector<double> StampIntervals(const CheckRun& run) {
    constexpr unsigned int kFrames = 12;
    CheckStream stream(run);
    std::vector<double> intervals;
    long long last = 0;
    for (unsigned int count = 0; count < kFrames; ++count) {
        Image image;
        stream.TakeNext(&image);
        const long long now = ToTicks(image.GetTimeStamp());
        if (now == 0 && last == 0 && count > 0) {
            throw CheckIsAbsent{"images carry no bus time"};
        }
        if (count > 0) {
            intervals.push_back(Elapsed(last, now));
        }
        last = now;
    }
    return intervals;
}

std::string CheckStamps(const CheckRun& run) {
    constexpr double kToleranceUs = 250;
    constexpr double kToleranceShare = 0.01;
    IidcCamera& camera = run.GetCamera();
    PrepareToStream(camera);
    Zevrin::EmbeddedImageInfo items;
    Check(camera.GetEmbeddedImageInfo(&items));
    items.timestamp.onOff = items.timestamp.available;
    Check(camera.SetEmbeddedImageInfo(&items));
    const std::vector<double> intervals = StampIntervals(run);
    std::vector<double> sorted = intervals;
    std::sort(sorted.begin(), sorted.end());
    const double median = sorted[sorted.size() / 2];
    const double tolerance = std::max(kToleranceUs, kToleranceShare * median);
    const std::string range = RangeText(sorted.front(), sorted.back(), "us");
    Require(sorted.back() - median <= tolerance && median - sorted.front() <= tolerance,
            "intervals are uneven: " + range);
    return "intervals of " + range;
}

/// Against this computer's clock, as well as that can be seen in a short while.
std::string CheckClock(IidcCamera& camera) {
    constexpr double kTolerance = 0.05;
    constexpr double kSlackUs = 20000;
    constexpr unsigned int kReadings = 20;
    using Clock = std::chrono::steady_clock;
    const auto read = [&] {
        Zevrin::TimeStamp stamp;
        Check(camera.GetCycleTime(&stamp));
        return ToTicks(stamp);
    };
    const auto begin = Clock::now();
    const long long first = read();
    long long last = first;
    for (unsigned int count = 0; count < kReadings; ++count) {
        const long long now = read();
        Require(Elapsed(last, now) < kWrap / 2.0, "the clock runs backwards");
        last = now;
    }
    const double host = std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
    const double bus = Elapsed(first, last);
    Require(bus > 0, "the clock stands still");
    Require(bus <= host * (1 + kTolerance) + kSlackUs,
            RealText(bus) + " us went by while this computer counted " + RealText(host));
    return "it goes on";
}

}  // namespace

void CheckFormats(CheckRun& run) {
    run.Try("modes", [&] {
        unsigned int count = 0;
        for (unsigned int mode = 0; mode <= kMaxMode; ++mode) {
            for (unsigned int format = 0; format <= kMaxStandardFormat; ++format) {
                count += ReadModeInfo(run.GetCamera(), format, mode).present ? 1 : 0;
            }
            count += ReadRegionInfo(run.GetCamera(), mode).present ? 1 : 0;
        }
        Require(count > 0, "the camera has none");
        return std::to_string(count) + " are there";
    });
    for (unsigned int mode = 0; mode <= kMaxMode; ++mode) {
        for (unsigned int format = 0; format <= kMaxStandardFormat; ++format) {
            Zevrin::VideoModeInfo info;
            info.format = format;
            info.mode = mode;
            if (run.GetCamera().GetVideoModeInfo(&info) == Zevrin::ERR_OK && info.present) {
                CheckStandardMode(run, info);
            }
        }
        Zevrin::Format7Info info;
        info.mode = mode;
        if (run.GetCamera().GetFormat7Info(&info) == Zevrin::ERR_OK && info.present) {
            CheckScalableMode(run, info);
        }
    }
}

void CheckTrigger(CheckRun& run) {
    constexpr unsigned int kEdge = 0;
    constexpr unsigned int kMultiple = 15;
    run.Try("modes", [&] { return CheckTriggerModes(run.GetCamera()); });
    run.Try("software, mode 0", [&] { return FireSoftwareTriggers(run, kEdge, 1); });
    run.Try("software, mode 15", [&] { return FireSoftwareTriggers(run, kMultiple, 3); });
}

void CheckTime(CheckRun& run) {
    run.Try("clock", [&] { return CheckClock(run.GetCamera()); });
    run.Try("stamps", [&] { return CheckStamps(run); });
}

/// Each item alone, so that none depends on another, then an image with all of them.
void CheckEmbedded(CheckRun& run) {
    IidcCamera& camera = run.GetCamera();
    run.Try("items", [&]() -> std::string {
        PrepareToStream(camera);
        Zevrin::EmbeddedImageInfo items;
        Check(camera.GetEmbeddedImageInfo(&items));
        std::string names;
        for (const Choice& name : kEmbeddedItems) {
            Zevrin::EmbeddedImageItem& item = EmbeddedItem(&items, name.value);
            if (!item.available) {
                continue;
            }
            names += (names.empty() ? "" : ", ") + name.word;
            item.onOff = true;
            Check(camera.SetEmbeddedImageInfo(&items));
            Zevrin::EmbeddedImageInfo got;
            Check(camera.GetEmbeddedImageInfo(&got));
            for (const Choice& other : kEmbeddedItems) {
                Require(EmbeddedItem(&got, other.value).onOff == EmbeddedItem(&items, other.value).onOff,
                        "item " + other.word + " is " + OnOff(EmbeddedItem(&got, other.value).onOff) +
                            " after " + name.word + " was switched on alone");
            }
            item.onOff = false;
        }
        if (names.empty()) {
            throw CheckIsAbsent{"the camera has none"};
        }
        for (const Choice& name : kEmbeddedItems) {
            EmbeddedItem(&items, name.value).onOff = EmbeddedItem(&items, name.value).available;
        }
        Check(camera.SetEmbeddedImageInfo(&items));
        CheckStream stream(run);
        Image image;
        stream.TakeNext(&image);
        return names;
    });
}

}  // namespace ZevrinTool
