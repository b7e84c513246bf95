#include <memory>
#include <optional>

#include "CameraVerb.h"
#include "Choices.h"
#include "CommandLine.h"
#include "Formats.h"
#include "Numbers.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::Format7Info;
using Zevrin::Format7Settings;
using Zevrin::VideoModeInfo;
using Zevrin::VideoModeSetting;

constexpr unsigned int kMaxPixels = 65535;

std::string SizeText(unsigned int width, unsigned int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

VideoModeInfo ReadStandardInfo(const Target& target, unsigned int format, unsigned int mode) {
    return ReadModeInfo(target.camera, format, mode, NameOf(target.serialNumber));
}

Format7Info ReadRegionInfo(const Target& target, unsigned int mode) {
    return ZevrinTool::ReadRegionInfo(target.camera, mode, NameOf(target.serialNumber));
}

/// "name" of what each bit of a mask stands for.
template <typename Name>
Json NamesOf(unsigned int mask, const Name& name) {
    Json names = Json::array();
    for (const unsigned int bit : BitsOf(mask)) {
        names.push_back(name(bit));
    }
    return names;
}

Json CodingsOf(unsigned int mask) {
    return NamesOf(mask, [](unsigned int coding) { return WordFor(coding, kPixelFormats); });
}

/// Frames per second.
Json RatesOf(unsigned int mask) {
    return NamesOf(mask, [](unsigned int rate) { return std::stod(WordFor(rate, kFrameRates)); });
}

Facts Describe(const VideoModeInfo& info) {
    return {
        {"Format", "format", info.format, ""},
        {"Mode", "mode", info.mode, ""},
        {"Size", "", nullptr, SizeText(info.width, info.height)},
        {"", "width", info.width, ""},
        {"", "height", info.height, ""},
        {"Steps", "", nullptr, ""},
        {"Offset steps", "", nullptr, ""},
        {"Packets", "", nullptr, ""},
        {"Frame rates", "frameRates", RatesOf(info.frameRateMask), ""},
        {"Colour codings", "colorCodings", CodingsOf(1U << info.pixelFormat), ""},
    };
}

Facts Describe(const Format7Info& info) {
    const std::string packets =
        std::to_string(info.unitPacketSize) + " to " + std::to_string(info.maxPacketSize);
    return {
        {"Format", "format", Zevrin::kScalableImageFormat, ""},
        {"Mode", "mode", info.mode, ""},
        {"Size", "", nullptr, SizeText(info.maxWidth, info.maxHeight)},
        {"", "maxWidth", info.maxWidth, ""},
        {"", "maxHeight", info.maxHeight, ""},
        {"Steps", "", nullptr, SizeText(info.unitWidth, info.unitHeight)},
        {"", "unitWidth", info.unitWidth, ""},
        {"", "unitHeight", info.unitHeight, ""},
        {"Offset steps", "", nullptr, SizeText(info.unitLeft, info.unitTop)},
        {"", "unitLeft", info.unitLeft, ""},
        {"", "unitTop", info.unitTop, ""},
        {"Packets", "", nullptr, info.unitPacketSize != 0 ? packets : ""},
        {"", "unitPacketSize", info.unitPacketSize, ""},
        {"", "maxPacketSize", info.maxPacketSize, ""},
        {"Frame rates", "", nullptr, ""},
        {"Colour codings", "colorCodings", CodingsOf(info.pixelFormatMask), ""},
    };
}

void List(const Target& target) {
    std::vector<Facts> rows;
    for (unsigned int format = 0; format <= kMaxStandardFormat; ++format) {
        for (unsigned int mode = 0; mode <= kMaxMode; ++mode) {
            const VideoModeInfo info = ReadStandardInfo(target, format, mode);
            if (info.present) {
                rows.push_back(Describe(info));
            }
        }
    }
    for (unsigned int mode = 0; mode <= kMaxMode; ++mode) {
        const Format7Info info = ReadRegionInfo(target, mode);
        if (info.present) {
            rows.push_back(Describe(info));
        }
    }
    target.Show({}, "modes", rows);
}

void Show(const Target& target) {
    target.Show(DescribeFormat(target));
}

struct StandardChoice {
    VideoModeSetting setting;
    std::optional<unsigned int> rate;  ///< none: the fastest
};

void SetStandard(const Target& target, StandardChoice choice) {
    VideoModeSetting& setting = choice.setting;
    const VideoModeInfo info = ReadStandardInfo(target, setting.format, setting.mode);
    const std::vector<unsigned int> rates = BitsOf(info.frameRateMask);
    if (info.present && choice.rate && (info.frameRateMask >> *choice.rate & 1) == 0) {
        Choices offered;
        for (const unsigned int rate : rates) {
            offered.push_back({WordFor(rate, kFrameRates), rate});
        }
        throw ToolFailure(kExitFailed, NameOf(target.serialNumber) + " has no frame rate " +
                                           WordFor(*choice.rate, kFrameRates) + " in mode " +
                                           std::to_string(setting.mode) + " of format " +
                                           std::to_string(setting.format) + "; it has " + ListWords(offered));
    }
    setting.frameRate = choice.rate.value_or(rates.empty() ? 0 : rates.back());
    target.Check(target.camera.SetVideoMode(&setting));
    Show(target);
}

struct RegionChoice {
    std::optional<unsigned int> mode;
    Changes<Format7Settings> changes;
};

/// What is not given: the present setting when it is of the same mode, else the mode's whole picture.
Format7Settings ReadRegion(const Target& target, const std::optional<unsigned int>& mode) {
    VideoModeSetting present;
    target.Check(target.camera.GetVideoMode(&present));
    const bool isScalable = present.format == Zevrin::kScalableImageFormat;
    Format7Settings settings;
    if (isScalable && present.mode == mode.value_or(present.mode)) {
        target.Check(target.camera.GetFormat7(&settings));
        settings.packetSize = 0;  // the recommended one follows from the region
        return settings;
    }
    settings.mode = mode.value_or(0);
    const Format7Info info = ReadRegionInfo(target, settings.mode);
    settings.width = info.maxWidth;
    settings.height = info.maxHeight;
    if (info.pixelFormatMask != 0) {
        settings.pixelFormat = static_cast<Zevrin::PixelFormat>(BitsOf(info.pixelFormatMask).front());
    }
    return settings;
}

void SetRegion(const Target& target, const RegionChoice& choice) {
    Format7Settings settings = ReadRegion(target, choice.mode);
    RequireAny(choice.mode || !choice.changes.IsEmpty());
    if (!choice.changes.IsEmpty()) {
        choice.changes.Apply(&settings);
    }
    target.Check(target.camera.SetFormat7(&settings));
    Show(target);
}

constexpr char kFooter[] = R"(Examples:
  zevrin format show 1001
  zevrin format list 1001
  zevrin format region --left 160 --top 120 --width 320 --height 240 1001
  zevrin format standard 0 5 --rate 30 1001
)";

constexpr char kShowFooter[] = R"(Examples:
  zevrin format show 1001
  zevrin --json format show 1001
)";

constexpr char kListFooter[] = R"(Sizes are in pixels, those of format 7 the largest; packets are in bytes.

Examples:
  zevrin format list 1001
  zevrin --json format list 1002
)";

constexpr char kStandardFooter[] = R"(Examples:
  zevrin format standard 0 5 1001
  zevrin format standard 0 5 --rate 15 1001
)";

constexpr char kRegionFooter[] =
    R"(What is not given stays as it is. Coming from another mode, it is the mode's whole picture.

Examples:
  zevrin format region --width 320 --height 240 1001
  zevrin format region --mode 0 --left 160 --width 320 --coding mono16 1001
  zevrin format region --coding raw16 --packet 1280 1002
)";

void AddStandard(CLI::App& verb, Tool& tool) {
    auto pChoice = std::make_shared<StandardChoice>();
    AddNumber(verb, "FORMAT", "<format>", &pChoice->setting.format, {0, kMaxStandardFormat, 1},
              "The format, 0 to 2")
        ->required();
    AddNumber(verb, "MODE", "<mode>", &pChoice->setting.mode, {0, kMaxMode, 1}, "Its mode, 0 to 7")
        ->required();
    AddChoice(
        verb, "--rate", "<fps>", [pChoice](unsigned int rate) { pChoice->rate = rate; }, kFrameRates,
        "Frames per second: " + ListWords(kFrameRates) + " (default: the fastest of the mode)");
    WorkOnCamera(verb, tool, [pChoice](const Target& target) { SetStandard(target, *pChoice); });
}

void AddRegion(CLI::App& verb, Tool& tool) {
    auto pChoice = std::make_shared<RegionChoice>();
    Changes<Format7Settings>& changes = pChoice->changes;
    AddNumber(
        verb, "--mode", "<mode>", [pChoice](unsigned int mode) { pChoice->mode = mode; }, {0, kMaxMode, 1},
        "Mode of format 7, 0 to 7 (default: the present one, else 0)");
    const struct {
        const char* option;
        unsigned int Format7Settings::*pMember;
        const char* help;
    } lengths[] = {{"--left", &Format7Settings::left, "Left edge in pixels, 0 to 65535"},
                   {"--top", &Format7Settings::top, "Top edge in pixels, 0 to 65535"},
                   {"--width", &Format7Settings::width, "Width in pixels, 0 to 65535"},
                   {"--height", &Format7Settings::height, "Height in pixels, 0 to 65535"}};
    for (const auto& length : lengths) {
        AddNumber(verb, length.option, "<pixels>", changes.Into(length.pMember), {0, kMaxPixels, 1},
                  std::string(length.help) + "; `zevrin format list` shows the steps");
    }
    AddChoice(verb, "--coding", "<coding>", changes.Into(&Format7Settings::pixelFormat), kPixelFormats,
              "Colour coding: " + ListWords(kPixelFormats));
    AddNumber(verb, "--packet", "<bytes>", changes.Into(&Format7Settings::packetSize), {0, kMaxPixels, 1},
              "Bytes of a packet, 0 to 65535 (default: 0, which the camera recommends)");
    WorkOnCamera(verb, tool, [pChoice](const Target& target) { SetRegion(target, *pChoice); });
}

}  // namespace

void AddFormatVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(app, "format", "Shows and sets the format of images", kFooter);
    pVerb->require_subcommand(1);
    WorkOnCamera(*AddVerb(*pVerb, "show", "Shows the present format", kShowFooter), tool, Show);
    WorkOnCamera(*AddVerb(*pVerb, "list", "Lists the formats and modes that the camera has", kListFooter),
                 tool, List);
    AddStandard(*AddVerb(*pVerb, "standard", "Sets a standard format, with its size", kStandardFooter), tool);
    AddRegion(*AddVerb(*pVerb, "region", "Sets format 7: a region and its colour coding", kRegionFooter),
              tool);
}

}  // namespace ZevrinTool
