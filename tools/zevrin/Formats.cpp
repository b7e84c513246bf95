#include "Formats.h"

#include <array>

#include <zevrin/ImageConversion.h>
#include <zevrin/ImageFile.h>

namespace ZevrinTool {

const Choices kFrameRates = {{"1.875", 0}, {"3.75", 1}, {"7.5", 2}, {"15", 3},
                             {"30", 4},    {"60", 5},   {"120", 6}, {"240", 7}};

const Choices kPixelFormats = [] {
    Choices made;
    for (int format = Zevrin::PIXEL_FORMAT_MONO8; format <= Zevrin::PIXEL_FORMAT_RAW16; ++format) {
        made.push_back({Zevrin::GetPixelFormatName(static_cast<Zevrin::PixelFormat>(format)),
                        static_cast<unsigned int>(format)});
    }
    return made;
}();

namespace {

/// A little black picture of a format, in bytes of one's own: what the library does with it, it does with
/// any.
Zevrin::PixelView MakeSample(Zevrin::PixelFormat format) {
    static const std::array<unsigned char, 64> kBlack = {};
    Zevrin::PixelView sample;
    sample.data = kBlack.data();
    sample.size = kBlack.size();
    sample.width = 4;
    sample.height = 2;
    sample.pixelFormat = format;
    sample.bayerTileFormat = Zevrin::BAYER_RGGB;
    return sample;
}

struct Picture {
    unsigned int left = 0;
    unsigned int top = 0;
    unsigned int width = 0;
    unsigned int height = 0;
    Zevrin::PixelFormat pixelFormat = Zevrin::PIXEL_FORMAT_UNKNOWN;
};

Facts Describe(const Picture& picture) {
    return {{"Image width", "width", picture.width, ""},
            {"Image height", "height", picture.height, ""},
            {"Left edge", "left", picture.left, ""},
            {"Top edge", "top", picture.top, ""},
            {"Colour coding", "colorCoding", Zevrin::GetPixelFormatName(picture.pixelFormat), ""}};
}

}  // namespace

const Choices& ConvertedFormats() {
    static const Choices choices = [] {
        Choices made;
        for (unsigned int number = Zevrin::PIXEL_FORMAT_MONO8;; ++number) {
            Zevrin::ConversionTarget target;
            target.pixelFormat = static_cast<Zevrin::PixelFormat>(number);
            if (Zevrin::GetBitsPerPixel(target.pixelFormat) == 0) {
                return made;  // there are no further ones
            }
            Zevrin::PixelBuffer result;
            if (Zevrin::ConvertPixels(MakeSample(Zevrin::PIXEL_FORMAT_MONO8), target, &result) ==
                Zevrin::ERR_OK) {
                made.push_back({Zevrin::GetPixelFormatName(target.pixelFormat), number});
            }
        }
    }();
    return choices;
}

Zevrin::Error TryToSave(Zevrin::PixelFormat format, const std::optional<Zevrin::PixelFormat>& target,
                        const std::string& suffix) {
    Zevrin::PixelView sample = MakeSample(format);
    Zevrin::PixelBuffer converted;
    if (target) {
        Zevrin::ConversionTarget conversion;
        conversion.pixelFormat = *target;
        const Zevrin::Error error = Zevrin::ConvertPixels(sample, conversion, &converted);
        if (error != Zevrin::ERR_OK) {
            return error;
        }
        sample = converted.View();
    }
    // Below a device no file can be: when the format is good, that is what the library complains of.
    const Zevrin::Error error = Zevrin::SavePixels(sample, "/dev/null/sample" + suffix);
    return error == Zevrin::ERR_FILE_FAILED ? Zevrin::Error() : error;
}

std::optional<Zevrin::PixelFormat> ReadPixelFormat(Zevrin::IidcCamera& camera) {
    Zevrin::VideoModeSetting present;
    Zevrin::Format7Settings region;
    Zevrin::VideoModeInfo info;
    if (camera.GetVideoMode(&present) != Zevrin::ERR_OK) {
        return std::nullopt;
    }
    const bool isRegion = present.format == Zevrin::kScalableImageFormat;
    info.format = present.format;
    info.mode = present.mode;
    const Zevrin::Error error = isRegion ? camera.GetFormat7(&region) : camera.GetVideoModeInfo(&info);
    const Zevrin::PixelFormat format = isRegion ? region.pixelFormat : info.pixelFormat;
    if (error != Zevrin::ERR_OK || format == Zevrin::PIXEL_FORMAT_UNKNOWN) {
        return std::nullopt;
    }
    return format;
}

Zevrin::VideoModeInfo ReadModeInfo(Zevrin::IidcCamera& camera, unsigned int format, unsigned int mode,
                                   const std::string& what) {
    Zevrin::VideoModeInfo info;
    info.format = format;
    info.mode = mode;
    Check(camera.GetVideoModeInfo(&info), what);
    return info;
}

Zevrin::Format7Info ReadRegionInfo(Zevrin::IidcCamera& camera, unsigned int mode, const std::string& what) {
    Zevrin::Format7Info info;
    info.mode = mode;
    Check(camera.GetFormat7Info(&info), what);
    return info;
}

Facts DescribeFormat(const Target& target) {
    Zevrin::VideoModeSetting present;
    target.Check(target.camera.GetVideoMode(&present));
    Facts facts = {{"Format", "format", present.format, ""}, {"Mode", "mode", present.mode, ""}};
    const auto add = [&facts](const Facts& more) { facts.insert(facts.end(), more.begin(), more.end()); };
    if (present.format == Zevrin::kScalableImageFormat) {
        Zevrin::Format7Settings settings;
        target.Check(target.camera.GetFormat7(&settings));
        add(Describe({settings.left, settings.top, settings.width, settings.height, settings.pixelFormat}));
        add({{"Bytes of a packet", "packetSize", settings.packetSize, ""}});
    } else {
        const Zevrin::VideoModeInfo info =
            ReadModeInfo(target.camera, present.format, present.mode, NameOf(target.serialNumber));
        add(Describe({0, 0, info.width, info.height, info.pixelFormat}));
        const std::string rate = WordFor(present.frameRate, kFrameRates);
        add({{"Frame rate", "frameRate", std::stod(rate), rate + " fps"}});
    }
    return facts;
}

}  // namespace ZevrinTool
