#include <zevrin/CameraSystem.h>
#include <zevrin/Simulation.h>

#include <cmath>
#include <set>

#include "CameraConfig.h"
#include "CheckRun.h"
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
            EXPECT_TRUE(plan.refused.empty()) << plan.refused.front().path << plan.refused.front().reason;
            EXPECT_TRUE(ApplyConfig(plan).empty());
        };
        const Json factory = ReadConfig(*pCamera).document;
        load(wanted);
        const CameraConfig saved = ReadConfig(*pCamera);
        EXPECT_TRUE(saved.unread.empty());
        const std::vector<ConfigChange> changes = CompareConfigs(wanted, saved.document);
        EXPECT_TRUE(changes.empty()) << changes.front().path << " became " << changes.front().from;
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

std::string FailureOf(const std::function<void()>& check) {
    try {
        check();
    } catch (const ToolFailure& failure) {
        return failure.what();
    }
    return "";
}

TEST(CheckOfClock, FailsWhenItIsWrongByOnePerCent) {
    // In microseconds: what went by on the camera in half a second of this computer's, and how long each look
    // took.
    const auto isGood = [](double elapsed, double blur) {
        constexpr double kNearItsEnd = 127.9e6;  // the clock begins again at 128 s
        const ClockReading first = {1000, 1000 + blur, kNearItsEnd};
        const ClockReading last = {501000, 501000 + blur, std::fmod(kNearItsEnd + elapsed, 128e6)};
        return FailureOf([&] { JudgeClock(first, last); }).empty();
    };
    EXPECT_TRUE(isGood(500000, 100) && isGood(501000, 100));
    EXPECT_FALSE(isGood(505000, 100)) << "1 per cent fast";
    EXPECT_FALSE(isGood(495000, 100)) << "1 per cent slow";
    EXPECT_TRUE(isGood(505000, 5000)) << "it cannot be told";
    EXPECT_FALSE(isGood(0, 100)) << "at rest";
}

TEST(CheckStream, ForgivesOnlyWhatThisComputerMissed) {
    constexpr unsigned int kFrameUs = 33400;
    constexpr unsigned int kBuffers = 10;
    boost::shared_ptr<Zevrin::Simulation> pSimulation;
    Zevrin::CameraSystem system;
    boost::shared_ptr<Zevrin::IidcCamera> pCamera;
    ASSERT_TRUE(Zevrin::IsOk(Zevrin::Simulation::FromJson(R"({"clock": "manual", "cameras": [{"serial": 7,
        "frameRate": 30, "faults": {"drop": {"frames": [24]}}}]})",
                                                          &pSimulation)));
    ASSERT_TRUE(Zevrin::IsOk(system.Connect(7, &pCamera)));
    CheckStream stream(CheckRun(*pCamera, 0));
    const auto take = [&](unsigned int frames) {
        for (; frames > 0; --frames) {
            Zevrin::Image image;
            stream.TakeNext(&image);
            pSimulation->AdvanceClock(kFrameUs);
        }
    };
    pSimulation->AdvanceClock(2 * kBuffers * kFrameUs);
    EXPECT_EQ("", FailureOf([&] { take(kBuffers + 2); }));
    EXPECT_EQ("frame 14 has number 25 after number 23", FailureOf([&] { take(kBuffers); }));
}

using ConfigTool = Zevrin::ToolFolder;

TEST_F(ConfigTool, TellsEachValueThatItRefusesAndWritesNothing) {
    const struct {
        std::string text;  ///< of a file, or what follows its head
        Zevrin::Parts messages;
        int exitCode = 1;
        bool isLate = false;  ///< only the camera itself refuses it
    } cases[] = {
        {R"(, "properties": {"gain": {"absolute": 5}})", {}, 0},
        {R"(, "camera": {"model": "other"})", {"camera.model is \"other\": this camera is another"}, 0},
        {R"(, "properties": {"gain": {"raw": 3, "absolute": 5, "absoluteRules": true}})",
         {"properties.gain.raw is 3: the camera made 50 of it"},
         0},
        {R"(, "properties": {"gain": {"raw": 0, "absolute": 5, "absoluteRules": false}})",
         {"properties.gain.absolute is 5: it does not rule", "refused; the camera is left"}},
        {R"(, "properties": {"gain": {"raw": 241, "absolute": 24.1, "auto": 1}, "temperature": {"raw": 1},
                "sharpness": {"on": false, "auto": true, "absolute": 1, "raw": 18446744073709551615},
                "shutter": {"absolute": 1e300, "raw": 2.5}, "white-balance": {"raw": 1},
                "shuter": {"raw": -1}})",
         {"gain.raw is 241: it must be a whole", "gain.absolute is 24.1: it must be a number from 0 to 24 dB",
          "gain.auto is 1: it must be true", "sharpness.on is false: it cannot",
          "sharpness.auto is true: it has no auto", "sharpness.absolute is 1: there",
          "raw is 18446744073709551615: it", "temperature: it can only", "shutter.absolute is 1e+300: it",
          "shutter.raw is 2.5: it", "white-balance: this camera has none",
          "properties.shuter is {\"raw\":-1}: there is no such key; there are: auto-exposure"}},
        {R"(, "image": {"format": 7, "mode": 0, "width": 3, "left": 640, "coding": "RGB8"},
              "trigger": {"mode": 5, "source": "x"}, "pins": {"outputs": [32]}, "stream": {"buffers": 0},
              "strobes": {"4": {}, "1": {"delayMs": 41, "polarity": "up"}},
              "lut": {"activeBank": 3, "banks": {"0": {"0": [1, 2]}, "2": {}}}, "\u001b[2J": 1)",
         {"image.width is 3: it must be a whole number from 4 to 640 in steps of 4", "image.left is 640: it",
          "image.coding is \"RGB8\": it must be one of Mono8", "trigger.mode is 5: it must be one of 0, 1",
          "trigger.source is \"x\": it", "pins.outputs[0] is 32: it", "stream: ", "buffers is 0",
          "strobes.4 is {}: there", "strobes.1.delayMs is 41: it", "strobes.1.polarity is \"up\": it",
          "lut.activeBank is 3: it", "lut.banks.0.0 is [1,2]: it has 2 entries",
          "lut.banks.2 is {}: the bank cannot", "?[2J is 1: there is"}},
        {R"(, "image": {"format": 0, "mode": 5, "frameRate": 31}, "pins": [])",
         {"image.frameRate is 31: it must", "pins is []: it must be an object"}},
        {R"(, "image": {"format": 7, "mode": 0, "width": 16, "height": 16, "packetSize": 65532},
              "properties": {"gain": {"raw": 3, "auto": true}}, "trigger": {"mode": 1, "on": true})",
         {"image: The packet size is to be 65532", "the camera is left as it was"},
         1,
         true},
        {R"(, "properties": {"gain": {"raw": 1, "raw": 2}})", {"gain.raw: the key is there twice"}},
        {R"(, "properties": {"gain": {"absolute": NaN}})", {"properties.gain.absolute: ", "line 1", "NaN"}},
        {R"(, "properties": {"gain": {"absolute": 1e999}})", {"properties.gain.absolute: ", "1e999"}},
        {std::string(100000, '['), {"it is more than 16 levels deep"}},
        {std::string(17000000, ' '), {"it is larger than 16777216 bytes"}},
        {"{}", {"it is no configuration of a camera: \"format\" is null"}},
        {R"({"format": "zevrin-camera-config", "version": 2})", {"its \"version\" is 2; this program reads"}},
    };
    for (const auto& row : cases) {
        const std::string file = row.text[0] == ',' ? kHead + row.text + "}" : row.text;
        SCOPED_TRACE(file.substr(0, 300));
        Write("file.json", file);
        for (const bool isDry : {true, false}) {
            const SpawnResult result =
                Run(std::string("--simulate 1 --json config load file.json ") + (isDry ? "--dry-run" : ""));
            const bool isLoaded = row.exitCode == 0 || (isDry && row.isLate);
            EXPECT_EQ(isLoaded ? 0 : 1, result.exitCode) << result.messages;
            // What the camera made of a value is not known before.
            ExpectParts(result.messages, isDry && isLoaded ? Zevrin::Parts() : row.messages);
            if (!result.output.empty()) {
                EXPECT_EQ(isLoaded, Json::parse(result.output).at("applied"));
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
    const std::string once = "trigger.software, mode 0";
    const std::string several = "trigger.software, mode 15";
    const struct {
        const char* camera;  ///< in its description, beside its size and rate
        const char* arguments;
        std::set<std::string> failed;
        unsigned int absent = 0;
        const char* clock = "real";
    } cases[] = {
        {"", "", {}, 10},  // a grey camera, without a lens that it could move
        {R"(, "embeddedItems": 0)", "--only embedded,time", {}, 2},
        {R"(, "faults": {"registers": {"addresses": ["0x81C"]}})",
         "--only properties",
         {"state.read", "properties.shutter"},
         10},
        {R"(, "faults": {"registers": {"addresses": ["0x62C", "0x618"]}})",
         "--only trigger,memory",
         {once, several, "memory.channel"}},
        {R"(, "faults": {"corrupt": {"frames": [1, 3, 4]}})", "--only time", {}},
        {R"(, "faults": {"corrupt": {"share": 1}})", "--only embedded,trigger", {"embedded.items"}},
        {"", "--only trigger,time --timeout 100", {once, several, "time.clock", "time.stamps"}, 0, "manual"},
    };
    for (const auto& row : cases) {
        Write("cameras.json", std::string(R"({"clock": ")") + row.clock +
                                  R"(", "cameras": [{"width": 64, "height": 48, "frameRate": 200)" +
                                  row.camera + "}]}");
        const SpawnResult result = Run(std::string("--simulate cameras.json --json check ") + row.arguments);
        EXPECT_EQ(row.failed.empty() ? 0 : 1, result.exitCode) << result.messages;
        std::set<std::string> failed;
        const Json report = Json::parse(result.output);
        for (const Json& check : report.at("checks")) {
            if (check.at("verdict") == "fail") {
                failed.insert(check.at("group").get<std::string>() + "." +
                              check.at("check").get<std::string>());
            }
        }
        EXPECT_EQ(row.failed, failed) << report.dump(1);
        EXPECT_EQ(row.absent, report.at("absent")) << report.dump(1);
    }
}

}  // namespace
}  // namespace ZevrinTool
