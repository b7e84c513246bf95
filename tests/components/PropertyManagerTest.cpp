#include "PropertyManager.h"

#include <cmath>
#include <limits>

#include "RegisterCamera.h"

namespace Zevrin {
namespace {

constexpr char kRegisters[] = R"(404=11940000 408=80000000
50C=9F0013FF 80C=82111222 # white balance: one push, switch, auto, manual; 1 to 1023; on
51C=CB00A7D0 81C=838001F4 71C=3C0400 # shutter: absolute, auto, manual; 10 to 2000; auto, a bit that it has no use for
1000=3A83126F 1004=3DCCCCCD 1008=3D4CCCCD # 0.001 to 0.1, 0.05
520=8E000000 820=83000000 # gain: switch, auto; on, auto
52C=C8000FFF 82C=C0000123 72C=3C0404 # temperature: absolute, only read
1010=43692666 1014=43BA9333 1018=43951333 # 233.15 to 373.15, 298.15 K
534=8D000FFF 834=80000000 # trigger delay: switch, manual; off
580=81000064 880=80000007 # zoom: manual, 0 to 100)";

struct Change {
    PropertyType type;
    std::function<void(Property&)> apply;
};

Change Raw(PropertyType type, unsigned int value) {
    return {type, [value](Property& p) { p.autoManualMode = false, p.valueA = value; }};
}
Change Absolute(PropertyType type, float value) {
    return {type,
            [value](Property& p) { p.autoManualMode = false, p.absControl = true, p.absValue = value; }};
}
Change Mode(PropertyType type, bool Property::*pMode, bool value) {
    return {type, [=](Property& property) { property.*pMode = value; }};
}

class PropertyManagerTest : public RegisterCamera<PropertyManager> {
  protected:
    PropertyManagerTest() : RegisterCamera(kRegisters) {}

    Property Get(PropertyType type) {
        Property property;
        property.type = type;
        EXPECT_EQ(m_component.GetProperty(&property), ERR_OK);
        return property;
    }
    Error Set(const Change& change, bool broadcast = false) {
        Property property = Get(change.type);
        change.apply(property);
        return m_component.SetProperty(&property, broadcast);
    }
};

TEST_F(PropertyManagerTest, EveryPropertyIsFoundAtItsRegister) {
    // For each property, the number of its feature in the standard's list, whose low half begins at 32.
    const unsigned int features[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 32, 33, 34, 35, 13, 15, 11, 14};
    for (unsigned int type = 0; type < std::size(features); ++type) {
        SCOPED_TRACE(type);
        const unsigned int shift = 4 * features[type];
        m_pHardware->m_memory.clear();
        m_pHardware->SetRegister(features[type] < 32 ? 0x404 : 0x408, 0x80000000U >> features[type] % 32);
        m_pHardware->SetRegister(0x500 + shift, 0x81000000U + type + 1);
        m_pHardware->SetRegister(0x800 + shift, 0x82000000U + type);
        PropertyInfo info;
        info.type = static_cast<PropertyType>(type);
        EXPECT_EQ(m_component.GetPropertyInfo(&info), ERR_OK);
        EXPECT_EQ(info.max, type + 1);
        EXPECT_EQ(Get(info.type).valueA, type);
        EXPECT_EQ(Set(Raw(info.type, type + 1)), ERR_OK);
        EXPECT_EQ(m_pHardware->Register(0x800 + shift), 0x82000000U + type + 1);
        EXPECT_STRNE(GetPropertyTypeName(info.type), "unknown");
    }
    EXPECT_STREQ(GetPropertyTypeName(static_cast<PropertyType>(std::size(features))), "unknown");
}

TEST_F(PropertyManagerTest, TellsWhatAFeatureCanDo) {
    PropertyInfo info;
    info.type = SHUTTER;
    ASSERT_EQ(m_component.GetPropertyInfo(&info), ERR_OK);
    EXPECT_TRUE(info.present && info.autoSupported && info.manualSupported && info.absValSupported &&
                info.readOutSupported);
    EXPECT_FALSE(info.onOffSupported || info.onePushSupported);
    EXPECT_STREQ(info.unitAbbreviation, "s");
    const Property shutter = Get(SHUTTER);
    EXPECT_TRUE(shutter.present && shutter.onOff && shutter.autoManualMode && shutter.absValue == 0.05F);
    EXPECT_FALSE(shutter.absControl || shutter.onePush);
    EXPECT_EQ(Get(WHITE_BALANCE).valueA, 0x222U) << "red is the last field of the word";
    EXPECT_EQ(Get(WHITE_BALANCE).valueB, 0x111U);
    info.type = TEMPERATURE;
    ASSERT_EQ(m_component.GetPropertyInfo(&info), ERR_OK);
    EXPECT_STREQ(info.unit, "degree Celsius");
    EXPECT_NEAR(info.absMin, -40, 1e-3);
    EXPECT_NEAR(Get(TEMPERATURE).absValue, 25, 1e-3);
    info.type = FRAME_RATE;
    EXPECT_EQ(m_component.GetPropertyInfo(&info), ERR_OK) << "absent, and its registers are not touched";
    EXPECT_FALSE(info.present || Get(FRAME_RATE).present);
}

TEST_F(PropertyManagerTest, SetsWhatIsAskedAndKeepsTheRest) {
    const float infinity = std::numeric_limits<float>::infinity();
    ExpectOutcomes<Change>(
        {{"", Raw(SHUTTER, 2000), ERR_OK, "81C=828007D0"},
         {"", Raw(SHUTTER, 10), ERR_OK, "81C=8280000A"},
         {"", Absolute(SHUTTER, 0.1F), ERR_OK, "81C=C28001F4 1008=3DCCCCCD"},
         {"81C=C28001F4", Mode(SHUTTER, &Property::autoManualMode, true), ERR_OK, "81C=C38001F4"},
         {"", {WHITE_BALANCE, [](Property& p) { p.valueA = 1, p.valueB = 1023; }}, ERR_OK, "80C=823FF001"},
         // The camera finds the values.
         {"",
          {WHITE_BALANCE, [](Property& p) { p.onePush = true, p.valueA = 5000; }},
          ERR_OK,
          "80C=86111222"},
         {"", Mode(WHITE_BALANCE, &Property::onOff, false), ERR_OK, "80C=80111222"},
         {"", Raw(SHUTTER, 9), ERR_VALUE_OUT_OF_RANGE, "10 to 2000"},
         {"", Raw(SHUTTER, 2001), ERR_VALUE_OUT_OF_RANGE, "shutter is to be 2001; it must be 10 to 2000"},
         {"", Raw(SHUTTER, 10 + 4096), ERR_VALUE_OUT_OF_RANGE, "10 to 2000"},
         {"", Absolute(SHUTTER, 0.2F), ERR_VALUE_OUT_OF_RANGE, "0.001 to 0.1 s"},
         {"", Absolute(SHUTTER, std::nanf("")), ERR_VALUE_OUT_OF_RANGE, "0.001 to 0.1 s"},
         {"1004=7F800000", Absolute(SHUTTER, infinity), ERR_VALUE_OUT_OF_RANGE, "shutter"},
         {"1004=7FC00000", Absolute(SHUTTER, 0.05F), ERR_VALUE_OUT_OF_RANGE, "shutter"},
         {"", Mode(SHUTTER, &Property::onOff, false), ERR_NOT_SUPPORTED, "shutter"},
         {"81C=828001F4", Mode(SHUTTER, &Property::onePush, true), ERR_NOT_SUPPORTED, "one-push"},
         {"", Mode(SHUTTER, &Property::onePush, true), ERR_INVALID_PARAMETER, "shutter"},
         {"71C=0", Absolute(SHUTTER, 0.05F), ERR_NOT_SUPPORTED, "absolute"},  // without a block for it
         {"", Raw(GAIN, 0), ERR_NOT_SUPPORTED, "gain of this camera has no manual mode"},
         {"", Mode(GAIN, &Property::absControl, true), ERR_NOT_SUPPORTED, "absolute"},
         {"", Mode(ZOOM, &Property::autoManualMode, true), ERR_NOT_SUPPORTED, "zoom"},
         {"", Raw(TEMPERATURE, 1), ERR_FEATURE_READ_ONLY, "temperature"},
         {"", Raw(WHITE_BALANCE, 0), ERR_VALUE_OUT_OF_RANGE, "red"},
         {"", {WHITE_BALANCE, [](Property& p) { p.valueB = 1024; }}, ERR_VALUE_OUT_OF_RANGE, "blue"},
         {"", Raw(FRAME_RATE, 1), ERR_FEATURE_ABSENT, "frame rate"},
         {"", Raw(PAN, 1), ERR_FEATURE_ABSENT, "pan"},
         {"834=0", Raw(TRIGGER_DELAY, 1), ERR_FEATURE_ABSENT, "not available at present"}},
        [&](const Change& change) { return Set(change); });
    EXPECT_EQ(Set(Absolute(SHUTTER, 0.1F), true), ERR_OK);
    EXPECT_EQ(m_pHardware->m_broadcasts, 3U) << "out of auto, the absolute value, the modes";
    Have("71C=40000000");
    Property shutter;
    shutter.type = SHUTTER;
    EXPECT_EQ(m_component.GetProperty(&shutter), ERR_INVALID_ADDRESS) << "a block outside the register space";
    shutter.type = static_cast<PropertyType>(19);
    EXPECT_TRUE(SaysPart(m_component.GetProperty(&shutter), ERR_INVALID_PARAMETER, "0 to 18"));
    ExpectRefused({m_component.GetPropertyInfo(nullptr), m_component.SetProperty(nullptr, false)});
}

}  // namespace
}  // namespace Zevrin
