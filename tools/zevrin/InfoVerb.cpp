#include "CommandLine.h"
#include "Numbers.h"
#include "Output.h"
#include "Session.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

/// A setting that stands in some bits of an IIDC register; bits are counted from the most significant one.
struct RegisterFact {
    const char* label;
    const char* key;
    unsigned int address;
    unsigned int firstBit;
    unsigned int bits;
    std::vector<const char*> names;  ///< of its values; empty: a switch if it is one bit, else the number
};

constexpr unsigned int kFormat7 = 7;
constexpr unsigned int kFormat7Inquiry = 0x2E0;  // + 4 * mode: where the mode's block is, in quadlets

// Of the command registers.
const RegisterFact kPower = {"Power", "power", 0x610, 0, 1, {}};
const RegisterFact kTransmission = {"Transmission", "transmission", 0x614, 0, 1, {}};
const RegisterFact kFormat = {"Format", "format", 0x608, 0, 3, {}};
const RegisterFact kMode = {"Mode", "mode", 0x604, 0, 3, {}};
const RegisterFact kFrameRate = {
    "Frame rate",
    "frameRate",
    0x600,
    0,
    3,
    {"1.875 fps", "3.75 fps", "7.5 fps", "15 fps", "30 fps", "60 fps", "120 fps", "240 fps"}};
const RegisterFact kDataDepth = {"Bits of a sample", "dataDepth", 0x630, 0, 8, {}};

// Of a format 7 mode's block.
const RegisterFact kRegion[] = {
    {"Image width", "width", 0x00C, 0, 16, {}},
    {"Image height", "height", 0x00C, 16, 16, {}},
    {"Left edge", "left", 0x008, 0, 16, {}},
    {"Top edge", "top", 0x008, 16, 16, {}},
    {"Colour coding",
     "colorCoding",
     0x010,
     0,
     8,
     {"Mono8", "YUV411", "YUV422", "YUV444", "RGB8", "Mono16", "RGB16", "SignedMono16", "SignedRGB16", "Raw8",
      "Raw16"}},
};

/// What the camera does not tell is null.
Fact MakeFact(const RegisterFact& fact, const Zevrin::Error& read, unsigned int quadlet) {
    Fact answer = {fact.label, fact.key, nullptr, ""};
    if (read != Zevrin::ERR_OK) {
        return answer;
    }
    const unsigned int value = quadlet << fact.firstBit >> (32 - fact.bits);
    if (value < fact.names.size()) {
        answer.value = fact.names[value];
    } else if (fact.bits == 1) {
        answer.value = value != 0;
        answer.text = OnOff(value != 0);
    } else if (fact.names.empty()) {
        answer.value = value;
    }
    return answer;
}

Fact ReadFact(Zevrin::IidcCamera& camera, const RegisterFact& fact) {
    unsigned int quadlet = 0;
    const Zevrin::Error error = camera.ReadRegister(fact.address, &quadlet);
    return MakeFact(fact, error, quadlet);
}

/// Format 7 has no frame rate register; its pictures are described in a block for each mode.
void AddFormat7(Zevrin::IidcCamera& camera, unsigned int mode, Facts* pLines) {
    unsigned int offset = 0;
    const Zevrin::Error found = camera.ReadRegister(kFormat7Inquiry + 4 * mode, &offset);
    for (const RegisterFact& fact : kRegion) {
        unsigned int quadlet = 0;
        const Zevrin::Error error =
            found == Zevrin::ERR_OK ? camera.ReadBaseRegister(offset * 4 + fact.address, &quadlet) : found;
        pLines->push_back(MakeFact(fact, error, quadlet));
    }
}

/// What the camera leaves open is not available.
Json TextOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json NumberOrNull(unsigned int number) {
    return number == 0 ? Json(nullptr) : Json(number);
}

Facts DescribeIdentity(const Zevrin::CameraInfo& info) {
    static const char* const kFilters[] = {"none", "RGGB", "GRBG", "GBRG", "BGGR"};
    return {
        {"Serial number", "serialNumber", info.serialNumber, ""},
        {"Interface", "interface", Zevrin::GetInterfaceTypeName(info.interfaceType), ""},
        {"Vendor", "vendor", TextOrNull(info.vendorName), ""},
        {"Model", "model", TextOrNull(info.modelName), ""},
        {"Address", "address", TextOrNull(info.address), ""},
        {"Firmware", "firmware", TextOrNull(info.firmwareVersion), ""},
        {"IIDC version x 100", "iidcVersion", NumberOrNull(info.iidcVersion), ""},
        {"Sensor", "sensor", TextOrNull(info.sensorInfo), ""},
        {"Sensor width", "sensorWidth", NumberOrNull(info.sensorWidth), ""},
        {"Sensor height", "sensorHeight", NumberOrNull(info.sensorHeight), ""},
        {"Colour", "color", info.isColorCamera, ""},
        {"Colour filter", "colorFilter",
         info.bayerTileFormat <= Zevrin::BAYER_BGGR ? Json(kFilters[info.bayerTileFormat]) : Json(nullptr),
         ""},
    };
}

Facts DescribeSettings(Zevrin::IidcCamera& camera) {
    Facts lines;
    for (const RegisterFact* pFact : {&kPower, &kTransmission, &kFormat, &kMode, &kDataDepth}) {
        lines.push_back(ReadFact(camera, *pFact));
    }
    const Json format = ReadFact(camera, kFormat).value;
    const Json mode = ReadFact(camera, kMode).value;
    if (format == kFormat7 && !mode.is_null()) {
        AddFormat7(camera, mode, &lines);
    } else {
        lines.push_back(ReadFact(camera, kFrameRate));
    }
    return lines;
}

void Info(const Tool& tool, const std::vector<unsigned int>& named) {
    Session session(tool);
    const unsigned int serialNumber = session.Choose(named).front();
    const boost::shared_ptr<Zevrin::IidcCamera> pCamera = session.Connect(serialNumber);
    Zevrin::CameraInfo info;
    Check(pCamera->GetCameraInfo(&info), NameOf(serialNumber));
    Facts lines = DescribeIdentity(info);
    const Facts settings = DescribeSettings(*pCamera);
    lines.insert(lines.end(), settings.begin(), settings.end());
    if (tool.json) {
        Print(ToJson(lines));
    } else {
        PrintLines(lines);
    }
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
    AddNumbers(*pVerb, "SERIAL", pNamed.get(), NumberRule(), "Serial number of the camera")->expected(0, 1);
    pVerb->callback([&tool, pNamed] { tool.run = [&tool, pNamed] { Info(tool, *pNamed); }; });
}

}  // namespace ZevrinTool
