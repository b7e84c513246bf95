#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>

#include <zevrin/LinkPlan.h>
#include <zevrin/PixelFormat.h>

#include "Choices.h"
#include "CommandLine.h"
#include "Numbers.h"
#include "Output.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr double kPerCent = 100;
constexpr unsigned int kMaxCount = 1000;

struct PlanOptions {
    Zevrin::LinkFacts link;
    std::vector<Zevrin::LinkCamera> cameras;
};

const Choices& GetFormats() {
    static const Choices formats = [] {
        Choices made;
        for (int format = Zevrin::PIXEL_FORMAT_MONO8; format <= Zevrin::PIXEL_FORMAT_MONO12_PACKED;
             ++format) {
            made.push_back({Zevrin::GetPixelFormatName(static_cast<Zevrin::PixelFormat>(format)),
                            static_cast<unsigned int>(format)});
        }
        return made;
    }();
    return formats;
}

/// Takes what stands before the separator off the text; all of it where there is none.
std::string TakeUntil(char separator, std::string* pText) {
    const std::size_t end = pText->find(separator);
    const std::string part = pText->substr(0, end);
    *pText = end == std::string::npos ? "" : pText->substr(end + 1);
    return part;
}

/// "2x1920x1200:Mono8@30": the count may be left out.
void AddCameras(const std::string& argument, const std::string& text, PlanOptions* pOptions) {
    std::string rest = text;
    std::string size = TakeUntil(':', &rest);
    const std::string format = TakeUntil('@', &rest);
    const auto crosses = std::count(size.begin(), size.end(), 'x');
    if (crosses == 0 || format.empty() || rest.empty()) {
        throw CLI::ValidationError(argument, "\"" + text + "\" is no camera, such as 1920x1200:Mono8@30");
    }
    unsigned int count = 1;
    if (crosses > 1) {
        count = ParseNumber(argument, TakeUntil('x', &size), {1, kMaxCount, 1});
    }
    Zevrin::LinkCamera camera;
    camera.width = ParseNumber(argument, TakeUntil('x', &size), NumberRule());
    camera.height = ParseNumber(argument, size, NumberRule());
    camera.bitsPerPixel = Zevrin::GetBitsPerPixel(
        static_cast<Zevrin::PixelFormat>(ParseChoice(argument, format, GetFormats())));
    camera.framesPerSecond = ParseReal(argument, rest);
    pOptions->cameras.insert(pOptions->cameras.end(), count, camera);
}

Facts Describe(std::size_t position, const Zevrin::LinkShare& share) {
    return {{"Camera", "camera", position, ""},
            {"Packet", "packetSize", share.packetSize, std::to_string(share.packetSize) + " bytes"},
            {"Delay", "packetDelayNs", share.packetDelay, std::to_string(share.packetDelay) + " ns"},
            {"Image", "imageBytes", share.imageBytes, std::to_string(share.imageBytes) + " bytes"},
            {"Packets", "imagePackets", share.imagePackets, ""},
            {"", "wireBytes", share.wireBytes, ""},
            {"Sending", "sendingMs", share.sendingMs, RealText(share.sendingMs) + " ms"},
            {"Mbit/s", "megabitsPerSecond", share.megabitsPerSecond, RealText(share.megabitsPerSecond)},
            {"Share", "share", share.share, RealText(share.share * kPerCent) + " %"}};
}

void Plan(const Tool& tool, const PlanOptions& options) {
    Zevrin::LinkPlan plan;
    Check(Zevrin::PlanLink(options.link, options.cameras, &plan));
    std::vector<Facts> rows;
    for (std::size_t index = 0; index < plan.cameras.size(); ++index) {
        rows.push_back(Describe(index + 1, plan.cameras[index]));
    }
    if (!tool.json) {
        PrintRows(rows);
        std::cout << "\nTogether " << RealText(plan.megabitsPerSecond) << " Mbit/s, "
                  << RealText(plan.share * kPerCent) << " % of " << RealText(options.link.megabitsPerSecond)
                  << " Mbit/s\n";
        return;
    }
    Json cameras = Json::array();
    for (const Facts& row : rows) {
        cameras.push_back(ToJson(row));
    }
    Print({{"megabitsPerSecond", plan.megabitsPerSecond}, {"share", plan.share}, {"cameras", cameras}});
}

constexpr char kFooter[] =
    R"(A camera is written [<count>x]<width>x<height>:<format>@<frames per second>. Packet size and delay are what a
stream is configured with; with them all cameras can send at the same time, and no image is late. The sums hold
all that GigE Vision and Ethernet add: headers, leader and trailer, preamble, checksum and gap. Needs no camera.
What does not fit is refused with the sums.

Examples:
  zevrin plan 1920x1200:Mono8@30
  zevrin plan --mtu 9000 4x1280x1024:Raw8@15 640x480:Mono12Packed@60
  zevrin --json plan --link 10000 --share 90 8x2448x2048:Mono8@20
)";

}  // namespace

void AddPlanVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb =
        AddVerb(app, "plan", "Plans packets and delays of several cameras on one link", kFooter);
    auto pOptions = std::make_shared<PlanOptions>();
    Zevrin::LinkFacts& link = pOptions->link;
    AddReal(
        *pVerb, "--link", "<Mbit/s>", [&link](double speed) { link.megabitsPerSecond = speed; },
        "Speed of the link in megabits per second, 1 to 1000000 (default: 1000)");
    AddNumber(*pVerb, "--mtu", "<bytes>", &link.mtu, NumberRule(),
              "The largest packet that every part of the link carries, 576 to 65535 (default: 1500)");
    AddReal(
        *pVerb, "--share", "<%>", [&link](double share) { link.usableShare = share / kPerCent; },
        "What images may take of the link, 1 to 100 per cent (default: 95)");
    pVerb
        ->add_option_function<std::vector<std::string>>(
            "CAMERA",
            [pOptions](const std::vector<std::string>& texts) {
                for (const std::string& text : texts) {
                    AddCameras("CAMERA", text, pOptions.get());
                }
            },
            "Size, format and rate of a camera, such as 1920x1200:Mono8@30")
        ->required();
    pVerb->callback([&tool, pOptions] { tool.run = [&tool, pOptions] { Plan(tool, *pOptions); }; });
}

}  // namespace ZevrinTool
