#include <algorithm>
#include <iomanip>
#include <iostream>

#include "CommandLine.h"
#include "Numbers.h"
#include "Output.h"
#include "Session.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

/// A setting that stands in the most significant bits of an IIDC command register.
struct RegisterFact {
    const char* label;
    const char* key;
    unsigned int address;
    unsigned int bits;
    std::vector<const char*> names;  ///< of its values; empty: the number itself
};

const RegisterFact kPower = {"Power", "power", 0x610, 1, {"off", "on"}};
const RegisterFact kTransmission = {"Transmission", "transmission", 0x614, 1, {"off", "on"}};
const RegisterFact kFormat = {"Format", "format", 0x608, 3, {}};
const RegisterFact kMode = {"Mode", "mode", 0x604, 3, {}};
const RegisterFact kFrameRate = {
    "Frame rate",
    "frameRate",
    0x600,
    3,
    {"1.875 fps", "3.75 fps", "7.5 fps", "15 fps", "30 fps", "60 fps", "120 fps", "240 fps"}};
const RegisterFact kDataDepth = {"Data depth in bits", "dataDepth", 0x630, 8, {}};

/// One line of the answer. What the camera does not tell is null.
struct Line {
    std::string label;
    std::string key;
    Json value;
};

Line ReadFact(Zevrin::IidcCamera& camera, const RegisterFact& fact) {
    unsigned int quadlet = 0;
    Line line = {fact.label, fact.key, nullptr};
    if (camera.ReadRegister(fact.address, &quadlet) == Zevrin::ERR_OK) {
        const unsigned int value = quadlet >> (32 - fact.bits);
        line.value = fact.names.empty() ? Json(value) : Json(fact.names[value]);
    }
    return line;
}

Line ReadColorFilter(Zevrin::IidcCamera& camera) {
    static const char* const kNames[] = {"none", "RGGB", "GRBG", "GBRG", "BGGR"};
    Zevrin::BayerTileFormat format = Zevrin::BAYER_NONE;
    Line line = {"Colour filter", "colorFilter", nullptr};
    if (camera.GetBayerFormat(&format) == Zevrin::ERR_OK && format <= Zevrin::BAYER_BGGR) {
        line.value = kNames[format];
    }
    return line;
}

std::vector<Line> Describe(const Zevrin::CameraListing& listing, Zevrin::IidcCamera& camera) {
    std::vector<Line> lines = {
        {"Serial number", "serialNumber", listing.serialNumber},
        {"Interface", "interface", Zevrin::GetInterfaceTypeName(listing.interfaceType)},
        {"Vendor", "vendor", listing.vendorName},
        {"Model", "model", listing.modelName},
        {"Address", "address", listing.address},
    };
    for (const RegisterFact* pFact : {&kPower, &kTransmission, &kFormat, &kMode, &kFrameRate, &kDataDepth}) {
        lines.push_back(ReadFact(camera, *pFact));
    }
    lines.push_back(ReadColorFilter(camera));
    return lines;
}

void Show(const Tool& tool, const std::vector<Line>& lines) {
    if (tool.json) {
        Json document;
        for (const Line& line : lines) {
            document[line.key] = line.value;
        }
        Print(document);
        return;
    }
    for (const Line& line : lines) {
        std::cout << std::left << std::setw(20) << line.label
                  << (line.value.is_null()     ? "not available"
                      : line.value.is_string() ? line.value.get<std::string>()
                                               : line.value.dump())
                  << "\n";
    }
}

void Info(const Tool& tool, const std::vector<unsigned int>& named) {
    Session session(tool);
    const unsigned int serialNumber = session.Choose(named).front();
    const boost::shared_ptr<Zevrin::IidcCamera> pCamera = session.Connect(serialNumber);
    const std::vector<Zevrin::CameraListing> cameras = session.List();
    const auto listing = std::find_if(cameras.begin(), cameras.end(), [&](const auto& camera) {
        return camera.serialNumber == serialNumber;
    });
    if (listing == cameras.end()) {
        throw ToolFailure(kExitFailed, NameOf(serialNumber) + " went away");
    }
    Show(tool, Describe(*listing, *pCamera));
}

constexpr char kFooter[] = R"(Examples:
  zevrin --simulate 1 info
  zevrin info 1001
  zevrin --json info 1001
)";

}  // namespace

void AddInfoVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(app, "info", "Shows who a camera is and how it is set", kFooter);
    auto pNamed = std::make_shared<std::vector<unsigned int>>();
    AddNumbers(*pVerb, "SERIAL", "<number>", pNamed.get(), NumberRule(), "Serial number of the camera")
        ->expected(0, 1);
    pVerb->callback([&tool, pNamed] { tool.run = [&tool, pNamed] { Info(tool, *pNamed); }; });
}

}  // namespace ZevrinTool
