#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

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

/// The register map knows samples of 16 bits; a camera may say how many of them mean something.
Zevrin::PixelFormat AsMapped(Zevrin::PixelFormat format) {
    return format == Zevrin::PIXEL_FORMAT_MONO10 || format == Zevrin::PIXEL_FORMAT_MONO12
               ? Zevrin::PIXEL_FORMAT_MONO16
               : format;
}

std::string StreamPictures(const CheckRun& run, const Picture& wanted) {
    constexpr unsigned int kBitsPerByte = 8;
    const std::size_t size = std::size_t{wanted.width} * wanted.height *
                             Zevrin::GetBitsPerPixel(wanted.pixelFormat) / kBitsPerByte;
    CheckStream stream(run);
    for (unsigned int count = 0; count < kFramesOfFormat; ++count) {
        Image image;
        stream.TakeNext(&image);
        const Picture got = {image.GetWidth(), image.GetHeight(), AsMapped(image.GetPixelFormat())};
        Require(ToText(got) == ToText(wanted),
                "a frame is " + ToText(got) + "; it must be " + ToText(wanted));
        Require(image.GetDataSize() == size, "a frame has " + std::to_string(image.GetDataSize()) +
                                                 " bytes; it must have " + std::to_string(size));
    }
    const unsigned int lost = stream.CountIncomplete();
    return ToText(wanted) + ", " + std::to_string(kFramesOfFormat) + " frames" +
           (lost != 0 ? " beside " + std::to_string(lost) + " that lost packets on the way" : "");
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
            stream.TakeAny(&image);  // what its packets met on the way does not matter here
        }
        Require(stream.IsQuiet(), "more frames than " + std::to_string(frames) + " came of one trigger");
    }
    return std::to_string(frames) + (frames == 1 ? " frame" : " frames") + " each";
}

// Time.

constexpr long long kTicksPerCycle = 3072;
constexpr long long kCyclesPerSecond = 8000;
constexpr double kUsPerMs = 1000;
constexpr double kWrapUs = 128e6;

/// Microseconds.
double ToTime(long long seconds, long long cycles, long long offset) {
    constexpr double kUsPerCycle = 125;
    const long long ticks = (seconds * kCyclesPerSecond + cycles) * kTicksPerCycle + offset;
    return static_cast<double>(ticks) / kTicksPerCycle * kUsPerCycle;
}

double ToTime(const Zevrin::TimeStamp& stamp) {
    return ToTime(stamp.cycleSeconds, stamp.cycleCount, stamp.cycleOffset);
}

/// Microseconds from one bus time to a later one, across the wrap of the clock.
double Elapsed(double from, double to) {
    return to >= from ? to - from : to - from + kWrapUs;
}

/// The bus time in the first pixels: 7 bits of seconds, 13 of cycles, 12 of the offset, the highest first.
double ReadStamp(const Image& image) {
    constexpr unsigned int kBytes = 4;
    Require(image.GetDataSize() >= kBytes, "an image is too small to be stamped");
    unsigned int word = 0;
    for (unsigned int byte = 0; byte < kBytes; ++byte) {
        word = word << 8 | image.GetData()[byte];
    }
    const unsigned int cycles = word >> 12 & 0x1FFF;
    const unsigned int offset = word & 0xFFF;
    Require(cycles < kCyclesPerSecond && offset < kTicksPerCycle,
            "the first pixels hold " + Hex(word) + ", which is no bus time");
    return ToTime(word >> 25, cycles, offset);
}

/// Microseconds from frame to frame, on average where incomplete ones lie between.
std::vector<double> StampIntervals(const CheckRun& run) {
    constexpr unsigned int kFrames = 12;
    CheckStream stream(run);
    std::vector<double> intervals;
    double last = 0;
    unsigned long long lastId = 0;
    for (unsigned int count = 0; count < kFrames; ++count) {
        Image image;
        stream.TakeNext(&image);
        const double now = ToTime(image.GetTimeStamp());
        if (now == 0 && last == 0 && count > 0) {
            throw CheckIsAbsent{"images carry no bus time"};
        }
        if (count > 0) {
            intervals.push_back(Elapsed(last, now) / static_cast<double>(image.GetFrameId() - lastId));
        }
        last = now;
        lastId = image.GetFrameId();
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

/// The quickest of a few looks, since it is the closest.
ClockReading ReadClock(IidcCamera& camera) {
    constexpr unsigned int kLooks = 5;
    using Clock = std::chrono::steady_clock;
    const auto host = [] {
        return std::chrono::duration<double, std::micro>(Clock::now().time_since_epoch()).count();
    };
    ClockReading best = {};
    for (unsigned int look = 0; look < kLooks; ++look) {
        Zevrin::TimeStamp stamp;
        const double earliest = host();
        Check(camera.GetCycleTime(&stamp));
        const double latest = host();
        if (look == 0 || latest - earliest < best.latest - best.earliest) {
            best = {earliest, latest, ToTime(stamp)};
        }
    }
    return best;
}

/// Against this computer's clock, for long enough that what a look takes does not matter.
std::string CheckClock(IidcCamera& camera) {
    constexpr double kShortestUs = 500e3;
    constexpr double kLongestUs = 5e6;
    constexpr double kBlurShare = 0.0025;
    constexpr std::chrono::milliseconds kPause(20);
    const auto blur = [](const ClockReading& reading) { return reading.latest - reading.earliest; };
    const ClockReading first = ReadClock(camera);
    ClockReading last = first;
    double passed = 0;
    while (passed < kShortestUs || (passed < kLongestUs && blur(first) + blur(last) > kBlurShare * passed)) {
        std::this_thread::sleep_for(kPause);
        const ClockReading now = ReadClock(camera);
        Require(Elapsed(last.camera, now.camera) < kWrapUs / 2, "the clock runs backwards");
        last = now;
        passed = last.earliest - first.latest;
    }
    JudgeClock(first, last);
    return "right over " + RealText(std::round(passed / kUsPerMs)) + " ms";
}

}  // namespace

void JudgeClock(const ClockReading& first, const ClockReading& last) {
    constexpr double kTolerance = 0.005;
    const double camera = Elapsed(first.camera, last.camera);
    const double least = last.earliest - first.latest;
    const double most = last.latest - first.earliest;
    Require(camera > 0, "the clock stands still");
    Require(camera >= least * (1 - kTolerance) && camera <= most * (1 + kTolerance),
            RealText(camera) + " us went by on the camera while this computer counted " +
                RangeText(least, most, "us"));
}

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
        // One that cannot be switched off comes beside the pixels.
        const bool isStamped = items.timestamp.available && !items.timestamp.onOff;
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
        Image first;
        Image second;
        stream.TakeNext(&first);
        stream.TakeNext(&second);
        if (isStamped) {
            const double interval = Elapsed(ReadStamp(first), ReadStamp(second));
            Require(interval > 0 && interval < run.GetTimeoutMs() * kUsPerMs,
                    "the stamps in the pixels of two frames are " + RealText(interval) + " us apart");
        }
        return names;
    });
}

}  // namespace ZevrinTool
