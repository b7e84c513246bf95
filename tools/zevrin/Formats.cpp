#include "Formats.h"

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
