#include "Formats.h"

#include <zevrin/ImageFormat.h>

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
        Zevrin::VideoModeInfo info;
        info.format = present.format;
        info.mode = present.mode;
        target.Check(target.camera.GetVideoModeInfo(&info));
        add(Describe({0, 0, info.width, info.height, info.pixelFormat}));
        const std::string rate = WordFor(present.frameRate, kFrameRates);
        add({{"Frame rate", "frameRate", std::stod(rate), rate + " fps"}});
    }
    return facts;
}

}  // namespace ZevrinTool
