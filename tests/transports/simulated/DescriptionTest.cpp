#include "Description.h"

#include <fstream>

#include "SimulatedFixture.h"
#include "support/TemporaryFolder.h"

namespace Zevrin {
namespace {

/// Quotation marks for apostrophes.
std::string WithQuotes(std::string text) {
    std::replace(text.begin(), text.end(), '\'', '"');
    return text;
}

TEST(Description, WhatIsWrongIsNamed) {
    const std::string deep(200000, '[');
    const struct {
        const char* json;
        std::vector<std::string> expected;  // must all stand in the message
    } table[] = {
        {deep.c_str(), {"more than 16 deep"}},
        {"{'cameras': [", {"not JSON", "line 1"}},
        {"[]", {"an object in braces"}},
        {"{'cameras': [{'serial': 1, 'serial': 2}]}", {"'serial' twice"}},
        {"{'cameras': [{}], 'buses': []}", {"'cameras'", "not both"}},
        {"{'cameras': []}", {"'cameras'", "1 to 64"}},
        {"{'cameras': [[[1]]]}", {"'cameras[0]'", "a list of length 1", "object"}},
        {"{'cameras': [{'seriall': 1}]}", {"'cameras[0].seriall'", "not known", "'serial'"}},
        {"{'cameras': [{}], 'clock': 'slow'}", {"'clock'", "'slow'", "'manual'"}},
        {"{'cameras': [{}, {'width': 641}]}", {"'cameras[1].width'", "641", "multiple of 4"}},
        {"{'cameras': [{'serial': -1}]}", {"'cameras[0].serial'", "-1", "1 to 4294967295"}},
        {"{'cameras': [{'serial': 4294967296}]}", {"'cameras[0].serial'", "4294967296"}},
        {"{'cameras': [{'serial': '7'}]}", {"'cameras[0].serial'", "'7'"}},
        {"{'cameras': [{'count': 60}, {'count': 5}]}", {"'cameras[1].count'", "64 cameras"}},
        {"{'cameras': [{'serial': 4294967295, 'count': 2}]}", {"'cameras[0].serial'", "4294967294"}},
        {"{'cameras': [{'frameRate': 0}]}", {"'cameras[0].frameRate'", "0.25 to 1000"}},
        {"{'cameras': [{'paint': 1}]}", {"'cameras[0].paint'", "true or false"}},
        {"{'cameras': [{'model': 'a\\u0000b'}]}", {"'cameras[0].model'", "control characters"}},
        {"{'cameras': [{'sensor': '\\u007f'}]}", {"'cameras[0].sensor'", "control characters"}},
        {"{'cameras': [{'faults': {'registers': {'addresses': ['0x615']}}}]}",
         {"'cameras[0].faults.registers.addresses[0]'", "0x615", "multiple of 4"}},
        {"{'cameras': [{'serial': 1002}, {'serial': 1001, 'count': 2}]}",
         {"'cameras[1].serial'", "1002 is taken"}},
        {"{'duplicateSerials': true, 'buses': [{'cameras': [{'serial': 5}]},"
         "{'cameras': [{'serial': 5}, {'serial': 5}]}]}",
         {"'buses[1].cameras[1].serial'", "5 is taken"}},
        {"{'buses': [{}]}", {"'buses[0].cameras'", "list of cameras"}},
        {"{'cameras': [{}], '%s%n': '\\u001b[31m'}", {"not known"}},
    };
    for (const auto& bad : table) {
        SCOPED_TRACE(bad.json);
        boost::shared_ptr<Simulation> pSimulation;
        const Error error = Simulation::FromJson(WithQuotes(bad.json), &pSimulation);
        EXPECT_FALSE(pSimulation);
        for (const std::string& expected : bad.expected) {
            EXPECT_TRUE(SaysPart(error, ERR_INVALID_DESCRIPTION, WithQuotes(expected)));
        }
        EXPECT_EQ(std::string(error.GetDescription()).find_first_of("%\x1b"), std::string::npos);
    }
}

/// Of the keys that no other test of simulated cameras relies on.
TEST(Description, EveryKeyIsUnderstood) {
    WorldDescription world;
    ASSERT_TRUE(IsOk(ParseWorld(R"({"buses": [{"cameras": [{
        "serial": 7, "count": 3, "firmware": "2.1", "sensor": "S", "iidcVersion": 131, "width": 800,
        "height": 600, "paint": false, "faults": {"seed": 9, "registers": {"share": 0.5,
        "addresses": [1540, "0x610"], "readLatencyUs": 1, "writeLatencyUs": 2, "jitterUs": 3},
        "duplicate": {}}}]}, {"cameras": [{}]}]})",
                                &world)));
    EXPECT_FALSE(world.isClockManual);
    ASSERT_EQ(world.buses.size(), 2U);
    ASSERT_EQ(world.buses[0].cameras.size(), 3U);
    const CameraDescription& camera = world.buses[0].cameras[2];
    EXPECT_EQ(camera.serialNumber, 9U);
    EXPECT_EQ(world.buses[1].cameras[0].serialNumber, 10U) << "numbering goes on";
    EXPECT_EQ(camera.firmwareVersion + camera.sensorInfo, "2.1S");
    EXPECT_EQ(camera.iidcVersion, 131U);
    EXPECT_EQ(camera.width * 10000 + camera.height, 8000600U);
    EXPECT_FALSE(camera.paint);
    EXPECT_EQ(camera.faults.seed, 9U);
    EXPECT_EQ(camera.faults.registerShare, 0.5);
    EXPECT_EQ(camera.faults.registerAddresses, (std::vector<unsigned int>{0x604, 0x610}));
}

TEST(Description, ComesFromACountOrAFile) {
    boost::shared_ptr<Simulation> pSimulation;
    EXPECT_EQ(Simulation::FromCount(0, &pSimulation).GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(Simulation::FromText("65", &pSimulation).GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(Simulation::FromText("18446744073709551617", &pSimulation).GetType(), ERR_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(Simulation::FromCount(1, nullptr).GetType(), ERR_INVALID_PARAMETER);
    EXPECT_EQ(Simulation::FromText("/nowhere/at%all", &pSimulation).GetType(), ERR_FILE_FAILED);
    EXPECT_EQ(Simulation::FromFile("/", &pSimulation).GetType(), ERR_FILE_FAILED);
    EXPECT_FALSE(pSimulation);
    ASSERT_TRUE(IsOk(Simulation::FromText("3", &pSimulation)));
    SimulatedFrameCounts counts;
    EXPECT_TRUE(IsOk(pSimulation->GetFrameCounts(1003, &counts)));
    EXPECT_EQ(pSimulation->GetFrameCounts(1004, &counts).GetType(), ERR_CAMERA_NOT_FOUND);

    const TemporaryFolder folder;
    std::ofstream(folder.Path("world.json")) << R"({"cameras": [{"serial": 77}]})";
    EXPECT_TRUE(IsOk(Simulation::FromText(folder.Path("world.json"), &pSimulation)));
    EXPECT_TRUE(IsOk(pSimulation->GetFrameCounts(77, &counts)));
}

}  // namespace
}  // namespace Zevrin
