#include <zevrin/CameraSystem.h>
#include <zevrin/Simulation.h>

#include <set>

#include "CameraConfig.h"
#include "ToolFolder.h"

namespace ZevrinTool {
namespace {

namespace fs = std::filesystem;
using Zevrin::SpawnResult;

const std::string kHead = R"({"format": "zevrin-camera-config", "version": 1)";

/// A setting other than the factory's for everything that a colour camera has.
const std::string kOtherSettings = R"(,
    "stream": {"buffers": 7, "packetSize": 1500, "packetDelayNs": 9, "grabMode": "newest", "grabTimeoutMs": -1,
               "deliverIncomplete": true, "asyncSpeed": 2, "isochSpeed": 3, "bandwidthAllocation": 1,
               "socketBufferSize": 65536, "packetResend": 1},
    "properties": {"brightness": {"absolute": 3.3}, "auto-exposure": {"raw": 77, "on": false},
                   "sharpness": {"raw": 9}, "white-balance": {"raw": 100, "rawSecond": 900, "auto": true},
                   "hue": {"absolute": -12.5, "on": false}, "saturation": {"raw": 4000}, "gamma": {"raw": 50},
                   "shutter": {"absolute": 0.0123, "auto": true}, "gain": {"raw": 120, "absoluteRules": false},
                   "trigger-delay": {"absolute": 0.01}, "frame-rate": {"raw": 99, "on": false}},
    "lut": {"on": true, "activeBank": 1, "banks": {"1": {"2": [LUT]}}},
    "embedded": {"timestamp": true, "9": true}, "pins": {"outputs": [1, 3]},
    "strobes": {"0": {"on": true, "polarity": "low", "delayMs": 0.01, "durationMs": 40.95},
                "3": {"durationMs": 0.07, "polarity": "low"}},
    "trigger": {"on": true, "polarity": "low", "source": 7, "mode": 15, "parameter": 4095})";

TEST(CameraConfig, SavedAndLoadedIsTheSame) {
    for (const std::string image :
         {R"({"format": 7, "mode": 0, "left": 16, "top": 8, "width": 320, "height": 240, "coding": "Raw16",
              "packetSize": 1280})",
          R"({"format": 0, "mode": 5, "frameRate": 7.5})"}) {
        boost::shared_ptr<Zevrin::Simulation> pSimulation;
        Zevrin::CameraSystem system;
        boost::shared_ptr<Zevrin::IidcCamera> pCamera;
        const std::string cameras = R"({"cameras": [{"serial": 7, "bayer": "RGGB"}]})";
        ASSERT_TRUE(Zevrin::IsOk(Zevrin::Simulation::FromJson(cameras, &pSimulation)));
        ASSERT_TRUE(Zevrin::IsOk(system.Connect(7, &pCamera)));
        std::string entries = "1023";
        for (int entry = 1; entry < 1024; ++entry) {
            entries += "," + std::to_string(entry * 7 % 1024);
        }
        std::string text = kHead + kOtherSettings + ", \"image\": " + image + "}";
        text.replace(text.find("LUT"), 3, entries);
        const Json wanted = Json::parse(text);
        const auto load = [&](const Json& document) {
            const ConfigPlan plan = PlanConfig(document, *pCamera);
            for (const Finding& refused : plan.refused) {
                ADD_FAILURE() << refused.path << " is refused: " << refused.reason;
            }
            EXPECT_TRUE(ApplyConfig(plan).empty());
        };
        const Json factory = ReadConfig(*pCamera).document;
        load(wanted);
        const CameraConfig saved = ReadConfig(*pCamera);
        EXPECT_TRUE(saved.unread.empty());
        for (const ConfigChange& change : CompareConfigs(wanted, saved.document)) {
            ADD_FAILURE() << change.path << " became " << change.from;
        }
        // A camera that was away begins anew; what the camera object keeps begins anew with the object.
        ASSERT_TRUE(Zevrin::IsOk(pSimulation->Unplug(7)));
        ASSERT_TRUE(Zevrin::IsOk(pSimulation->Replug(7)));
        ASSERT_TRUE(Zevrin::IsOk(system.Connect(7, &pCamera)));
        EXPECT_EQ(factory, ReadConfig(*pCamera).document);
        load(saved.document);
        EXPECT_EQ(saved.document, ReadConfig(*pCamera).document);
        load(factory);  // in which the packet size is left to the camera
        EXPECT_TRUE(CompareConfigs(factory, ReadConfig(*pCamera).document).empty());
    }
}

using ConfigTool = Zevrin::ToolFolder;

TEST_F(ConfigTool, TellsEachValueThatItRefusesAndWritesNothing) {
    const auto with = [](const std::string& section) { return kHead + ", " + section + "}"; };
    const auto property = [&](const std::string& one) { return with("\"properties\": {" + one + "}"); };
    const struct {
        std::string file;
        Zevrin::Parts messages;
        int exitCode = 1;
        bool isLate = false;  ///< only the camera itself refuses it
    } cases[] = {
        {property(R"("gain": {"absolute": 5})"), {}, 0},
        {with(R"("camera": {"model": "other"})"),
         {"camera.model is \"other\": this camera is another model"},
         0},
        {property(R"("gain": {"raw": 3, "absolute": 5, "absoluteRules": true})"),
         {"properties.gain.raw is 3: the camera made 50 of it"},
         0},
        {property(R"("gain": {"raw": 0, "absolute": 5, "absoluteRules": false})"),
         {"properties.gain.absolute is 5: it does not rule"}},
        {property(R"("gain": {"raw": 241, "absolute": 24.1, "auto": 1})"),
         {"properties.gain.raw is 241: it must be a whole number from 0 to 240",
          "properties.gain.absolute is 24.1: it must be a number from 0 to 24 dB",
          "properties.gain.auto is 1: it must be true or false",
          "3 settings were refused; the camera is left"}},
        {property(R"("sharpness": {"on": false, "auto": true, "absolute": 1}, "temperature": {"raw": 1})"),
         {"properties.sharpness.on is false: it cannot be switched off",
          "properties.sharpness.auto is true: it has no auto",
          "properties.sharpness.absolute is 1: there is no", "properties.temperature: it can only be read"}},
        {property(R"("white-balance": {"raw": 1}, "shuter": {"raw": -1})"),
         {"properties.white-balance: this camera has none",
          "properties.shuter is {\"raw\":-1}: there is no such key; there are: auto-exposure"}},
        {property(R"("gain": {"raw": 18446744073709551615}, "shutter": {"absolute": 1e300, "raw": 2.5})"),
         {"gain.raw is 18446744073709551615: it", "shutter.absolute is 1e+300: it",
          "shutter.raw is 2.5: it"}},
        {with(R"("image": {"format": 7, "mode": 0, "width": 3, "left": 640, "coding": "RGB8"})"),
         {"image.width is 3: it must be a whole number from 4 to 640 in steps of 4", "image.left is 640: it",
          "image.coding is \"RGB8\": it must be one of Mono8, Mono16"}},
        {with(R"("image": {"format": 0, "mode": 5, "frameRate": 31})"), {"image.frameRate is 31: it must"}},
        {with(R"("image": {"format": 7, "mode": 0, "width": 16, "height": 16, "packetSize": 65532},
                   "properties": {"gain": {"raw": 3, "auto": true}}, "trigger": {"mode": 1, "on": true})"),
         {"image: The packet size is to be 65532", "the camera is left as it was"},
         1,
         true},
        {with(R"("trigger": {"mode": 5, "source": "x"}, "pins": {"outputs": [32]}, "strobes": {"4": {}})"),
         {"trigger.mode is 5: it must be one of 0, 1, 14, 15", "trigger.source is \"x\": it must be one of",
          "pins.outputs[0] is 32: it", "strobes.4 is {}: there is no such key"}},
        {with(R"("lut": {"activeBank": 3, "banks": {"0": {"0": [1, 2]}, "2": {}}}, "pins": [])"),
         {"lut.activeBank is 3: it", "lut.banks.0.0 is [1,2]: it has 2 entries; it must have 1024",
          "lut.banks.2 is {}: the bank cannot be written", "pins is []: it must be an object"}},
        {with(R"("strobes": {"1": {"delayMs": 41, "polarity": "up"}}, "stream": {"buffers": 0})"),
         {"strobes.1.delayMs is 41: it must be a number from 0 to 40.95 ms",
          "strobes.1.polarity is \"up\": it must be one of low, high", "stream: ", "buffers is 0"}},
        {property(R"("gain": {"raw": 1, "raw": 2})"), {"properties.gain.raw: the key is there twice"}},
        {property(R"("gain": {"absolute": NaN})"), {"properties.gain.absolute: ", "line 1", "NaN"}},
        {property(R"("gain": {"absolute": 1e999})"), {"properties.gain.absolute: ", "1e999"}},
        {std::string(100000, '['), {"it is more than 16 levels deep"}},
        {std::string(17000000, ' '), {"it is larger than 16777216 bytes"}},
        {"{}", {"it is no configuration of a camera: \"format\" is null"}},
        {R"({"format": "zevrin-camera-config", "version": 2})", {"its \"version\" is 2; this program reads"}},
        {with("\"\\u001b[2J\": 1"), {"?[2J is 1: there is no such key"}},
    };
    for (const auto& row : cases) {
        const std::string shown = row.file.substr(0, 300);
        Write("file.json", row.file);
        for (const bool isDry : {true, false}) {
            const SpawnResult result =
                Run(std::string("--simulate 1 --json config load file.json ") + (isDry ? "--dry-run" : ""));
            const bool isLoaded = row.exitCode == 0 || (isDry && row.isLate);
            EXPECT_EQ(isLoaded ? 0 : 1, result.exitCode) << shown << result.messages;
            for (const std::string& part : row.messages) {
                // What the camera made of a value is not known before.
                const bool isSaid = result.messages.find(part) != std::string::npos;
                EXPECT_TRUE(isSaid || (isDry && isLoaded)) << part << " in:\n" << result.messages;
            }
            if (!result.output.empty()) {
                EXPECT_EQ(isLoaded, Json::parse(result.output).at("applied")) << shown;
            }
        }
    }
}

TEST_F(ConfigTool, SavesWholeOrNotAtAll) {
    Write("faulty.json", R"({"cameras": [{"faults": {"registers": {"addresses": ["0x81C"]}}}]})");
    const SpawnResult refused = Run("--simulate faulty.json config save -o file.json");
    EXPECT_EQ(1, refused.exitCode);
    ExpectParts(refused.messages, {"properties.shutter: "});
    EXPECT_FALSE(fs::exists(m_folder.Path("file.json")));
    EXPECT_EQ(0, Run("--simulate faulty.json config save --partial -o file.json").exitCode);
    const SpawnResult loaded = Run("--simulate 1 --json config load file.json");
    EXPECT_EQ(0, loaded.exitCode) << loaded.messages;
    EXPECT_EQ(Json::array(), Json::parse(loaded.output).at("changes"));
    EXPECT_EQ(1, Run("--simulate 1 config save -o none/file.json").exitCode);
}

TEST_F(ConfigTool, CheckFindsWhatIsWrong) {
    const auto camera = [](const std::string& more) {
        return R"("cameras": [{"width": 64, "height": 48, "frameRate": 200)" + more + "}]}";
    };
    const struct {
        std::string simulation;
        std::string arguments;
        std::set<std::string> failed;
        std::set<std::string> absent;  ///< among others
    } cases[] = {
        {"{" + camera(""), "", {}, {"properties.white-balance"}},
        {"{" + camera(R"(, "embeddedItems": 0)"),
         "--only embedded,time",
         {},
         {"embedded.items", "time.stamps"}},
        {"{" + camera(R"(, "faults": {"registers": {"addresses": ["0x81C"]}})"),
         "--only properties",
         {"state.read", "properties.shutter"},
         {}},
        {"{" + camera(R"(, "faults": {"registers": {"addresses": ["0x62C", "0x618"]}})"),
         "--only trigger,memory",
         {"trigger.software, mode 0", "trigger.software, mode 15", "memory.channel"},
         {}},
        {"{" + camera(R"(, "faults": {"drop": {"frames": [2, 5]}})"), "--only time", {"time.stamps"}, {}},
        {"{" + camera(R"(, "faults": {"corrupt": {"frames": [1]}})"),
         "--only formats --timeout 300",
         {"formats.format 7 mode 0 Mono8"},
         {}},
        {R"({"clock": "manual", )" + camera(""),
         "--only trigger,time --timeout 100",
         {"trigger.software, mode 0", "trigger.software, mode 15", "time.clock", "time.stamps"},
         {}},
    };
    for (const auto& row : cases) {
        Write("cameras.json", row.simulation);
        const SpawnResult result = Run("--simulate cameras.json --json check " + row.arguments);
        EXPECT_EQ(row.failed.empty() ? 0 : 1, result.exitCode) << result.messages;
        std::set<std::string> failed;
        std::set<std::string> absent;
        const Json report = Json::parse(result.output);
        for (const Json& check : report.at("checks")) {
            const std::string name =
                check.at("group").get<std::string>() + "." + check.at("check").get<std::string>();
            if (check.at("verdict") != "pass") {
                (check.at("verdict") == "fail" ? failed : absent).insert(name);
            }
        }
        EXPECT_EQ(row.failed, failed) << report.dump(1);
        for (const std::string& name : row.absent) {
            EXPECT_EQ(1U, absent.count(name)) << name << " in " << report.dump(1);
        }
        EXPECT_EQ(report.at("checks").size(),
                  report.at("passed").get<std::size_t>() + failed.size() + absent.size());
    }
}

}  // namespace
}  // namespace ZevrinTool
