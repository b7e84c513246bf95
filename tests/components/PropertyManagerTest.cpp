#include "PropertyManager.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "RegisterCamera.h"

namespace Zevrin {
namespace {

constexpr unsigned int kPresent = 0x80000000U;
constexpr unsigned int kAbsolute = 0x40000000U;
constexpr unsigned int kOnePush = 0x10000000U;
constexpr unsigned int kReadOut = 0x08000000U;
constexpr unsigned int kOnOff = 0x04000000U;
constexpr unsigned int kAuto = 0x02000000U;
constexpr unsigned int kManual = 0x01000000U;

// In a feature's own register the bits lie elsewhere.
constexpr unsigned int kIsOnePush = 0x04000000U;
constexpr unsigned int kIsOn = 0x02000000U;
constexpr unsigned int kIsAuto = 0x01000000U;

constexpr unsigned int kShutterBlock = 0xF01000U;
constexpr unsigned int kTemperatureBlock = 0xF01010U;

unsigned int Word(float value) {
    unsigned int word = 0;
    std::memcpy(&word, &value, sizeof word);
    return word;
}

class PropertyManagerTest : public RegisterCamera<PropertyManager> {
  protected:
    PropertyManagerTest() {
        m_pHardware->m_hasOnlyWhatWasSet = true;
        // White balance, shutter, gain, temperature, trigger delay; zoom.
        SetRegisters({{0x404, 0x11940000}, {0x408, 0x80000000}});
        SetRegisters({{0x50C, kPresent | kOnePush | kReadOut | kOnOff | kAuto | kManual | 1 << 12 | 1023},
                      {0x80C, kPresent | kIsOn | 0x111 << 12 | 0x222},
                      {0x51C, kPresent | kAbsolute | kReadOut | kAuto | kManual | 10 << 12 | 2000},
                      {0x81C, kPresent | kIsOn | kIsAuto | 0x00800000 | 500},
                      {0x71C, (kShutterBlock) / 4},
                      {0x520, kPresent | kReadOut | kOnOff | kAuto},
                      {0x820, kPresent | kIsOn | kIsAuto},
                      {0x52C, kPresent | kAbsolute | kReadOut | 0xFFF},
                      {0x82C, kPresent | kAbsolute | 0x123},
                      {0x72C, (kTemperatureBlock) / 4},
                      {0x534, kPresent | kReadOut | kOnOff | kManual | 4095},
                      {0x834, kPresent},
                      {0x580, kPresent | kManual | 100},
                      {0x880, kPresent | 7}});
        SetBlock(kShutterBlock, {{0, Word(0.001F)}, {4, Word(0.1F)}, {8, Word(0.05F)}});
        SetBlock(kTemperatureBlock, {{0, Word(233.15F)}, {4, Word(373.15F)}, {8, Word(298.15F)}});
    }

    Property Get(PropertyType type) {
        Property property;
        property.type = type;
        EXPECT_EQ(m_component.GetProperty(&property), ERR_OK);
        return property;
    }
    Error Set(PropertyType type, const std::function<void(Property&)>& change) {
        Property property = Get(type);
        change(property);
        return m_component.SetProperty(&property, false);
    }
    static std::function<void(Property&)> Raw(unsigned int value) {
        return [value](Property& property) { property.autoManualMode = false, property.valueA = value; };
    }
    static std::function<void(Property&)> Absolute(float value) {
        return [value](Property& p) { p.autoManualMode = false, p.absControl = true, p.absValue = value; };
    }
};

TEST_F(PropertyManagerTest, EveryPropertyIsFoundAtItsRegister) {
    m_pHardware->m_hasOnlyWhatWasSet = false;
    SetRegisters({{0x404, 0xFFFFFFFFU}, {0x408, 0xFFFFFFFFU}});
    // For each property, the number of its feature in the standard's list, whose low half begins at 32.
    const unsigned int features[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 32, 33, 34, 35, 13, 15, 11, 14};
    for (unsigned int type = 0; type < std::size(features); ++type) {
        SCOPED_TRACE(type);
        const unsigned int shift = 4 * features[type];
        const unsigned int bit = kPresent >> features[type] % 32;
        SetRegisters({{0x500 + shift, kPresent | kManual | (type + 1)},
                      {0x800 + shift, kPresent | kIsOn | type},
                      {0x404, features[type] < 32 ? bit : 0},
                      {0x408, features[type] < 32 ? 0 : bit}});
        PropertyInfo info;
        info.type = static_cast<PropertyType>(type);
        EXPECT_EQ(m_component.GetPropertyInfo(&info), ERR_OK);
        EXPECT_TRUE(info.present);
        EXPECT_EQ(info.max, type + 1);
        EXPECT_EQ(Get(info.type).valueA, type);
        EXPECT_EQ(Set(info.type, [&](Property& property) { property.valueA = type + 1; }), ERR_OK);
        EXPECT_EQ(m_pHardware->Register(0x800 + shift), kPresent | kIsOn | (type + 1));
        EXPECT_STRNE(GetPropertyTypeName(info.type), "unknown");
        SetRegisters({{0x500 + shift, 0}, {0x800 + shift, 0}});
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
    EXPECT_EQ(info.min, 10U);
    EXPECT_EQ(info.max, 2000U);
    EXPECT_EQ(info.absMin, 0.001F);
    EXPECT_EQ(info.absMax, 0.1F);
    EXPECT_STREQ(info.unit, "second");
    EXPECT_STREQ(info.unitAbbreviation, "s");

    const Property shutter = Get(SHUTTER);
    EXPECT_TRUE(shutter.present && shutter.onOff && shutter.autoManualMode);
    EXPECT_FALSE(shutter.absControl || shutter.onePush);
    EXPECT_EQ(shutter.valueA, 500U);
    EXPECT_EQ(shutter.absValue, 0.05F);

    const Property balance = Get(WHITE_BALANCE);
    EXPECT_EQ(balance.valueA, 0x222U) << "red is the last field of the word";
    EXPECT_EQ(balance.valueB, 0x111U);

    info.type = TEMPERATURE;
    ASSERT_EQ(m_component.GetPropertyInfo(&info), ERR_OK);
    EXPECT_STREQ(info.unit, "degree Celsius");
    EXPECT_NEAR(info.absMin, -40, 1e-3);
    EXPECT_NEAR(info.absMax, 100, 1e-3);
    EXPECT_NEAR(Get(TEMPERATURE).absValue, 25, 1e-3);
    EXPECT_EQ(Get(TEMPERATURE).valueA, 0x123U);
}

TEST_F(PropertyManagerTest, AnAbsentFeatureIsTold) {
    for (const PropertyType type : {BRIGHTNESS, FRAME_RATE, PAN}) {
        PropertyInfo info;
        info.type = type;
        info.present = true;
        EXPECT_EQ(m_component.GetPropertyInfo(&info), ERR_OK) << "and its registers are not touched";
        EXPECT_FALSE(info.present);
        EXPECT_FALSE(Get(type).present);
        EXPECT_TRUE(SaysPart(Set(type, [](Property&) {}), ERR_FEATURE_ABSENT, GetPropertyTypeName(type)));
    }
    SetRegisters({{0x834, 0}});
    EXPECT_FALSE(Get(TRIGGER_DELAY).present) << "not with the camera's present mode";
    EXPECT_EQ(Set(TRIGGER_DELAY, [](Property&) {}), ERR_FEATURE_ABSENT);
    SetRegisters({{0x71C, 0}});
    EXPECT_EQ(Set(SHUTTER, [](Property& property) { property.absControl = true; }), ERR_NOT_SUPPORTED)
        << "absolute control without a block for it is none";
}

TEST_F(PropertyManagerTest, SetsWhatIsAskedAndKeepsTheRest) {
    const unsigned int shutterKept = kPresent | 0x00800000;  // a bit of the field that shutter has no use for
    EXPECT_EQ(Set(SHUTTER, Raw(2000)), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x81C), shutterKept | kIsOn | 2000);

    EXPECT_EQ(Set(SHUTTER, Absolute(0.1F)), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x81C), shutterKept | kAbsolute | kIsOn | 2000);
    EXPECT_EQ(m_pHardware->Base(kShutterBlock + 8), Word(0.1F));

    EXPECT_EQ(Set(SHUTTER, [](Property& property) { property.autoManualMode = true; }), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x81C), shutterKept | kAbsolute | kIsOn | kIsAuto | 2000);

    EXPECT_EQ(Set(WHITE_BALANCE, [](Property& p) { p.valueA = 1, p.valueB = 1023; }), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x80C), kPresent | kIsOn | 1023U << 12 | 1);
    EXPECT_EQ(Set(WHITE_BALANCE, [](Property& p) { p.onePush = true, p.valueA = 5000; }), ERR_OK)
        << "the camera finds the values";
    EXPECT_EQ(m_pHardware->Register(0x80C), kPresent | kIsOnePush | kIsOn | 1023U << 12 | 1);
    EXPECT_EQ(Set(WHITE_BALANCE, [](Property& property) { property.onOff = false; }), ERR_OK);
    EXPECT_EQ(m_pHardware->Register(0x80C), kPresent | 1023U << 12 | 1);

    EXPECT_EQ(m_pHardware->m_broadcasts, 0U);
    Property shutter = Get(SHUTTER);
    shutter.autoManualMode = false;
    EXPECT_EQ(m_component.SetProperty(&shutter, true), ERR_OK);
    EXPECT_EQ(m_pHardware->m_broadcasts, 3U) << "out of auto, the absolute value, the modes";
}

TEST_F(PropertyManagerTest, RefusesByNameAndWithTheRange) {
    const float infinity = std::numeric_limits<float>::infinity();
    const struct {
        PropertyType type;
        std::function<void(Property&)> change;
        ErrorType error;
        const char* text;
    } rows[] = {
        {SHUTTER, Raw(9), ERR_VALUE_OUT_OF_RANGE, "10 to 2000"},
        {SHUTTER, Raw(2001), ERR_VALUE_OUT_OF_RANGE, "shutter is to be 2001; it must be 10 to 2000"},
        {SHUTTER, Raw(10 + 4096), ERR_VALUE_OUT_OF_RANGE, "10 to 2000"},
        {SHUTTER, Absolute(0.2F), ERR_VALUE_OUT_OF_RANGE, "0.001 to 0.1 s"},
        {SHUTTER, Absolute(std::nanf("")), ERR_VALUE_OUT_OF_RANGE, "0.001 to 0.1 s"},
        {SHUTTER, Absolute(infinity), ERR_VALUE_OUT_OF_RANGE, "shutter"},
        {SHUTTER, Absolute(-infinity), ERR_VALUE_OUT_OF_RANGE, "shutter"},
        {SHUTTER, [](Property& property) { property.onOff = false; }, ERR_NOT_SUPPORTED, "shutter"},
        {SHUTTER, [](Property& p) { p.onePush = true, p.autoManualMode = false; }, ERR_NOT_SUPPORTED,
         "one-push"},
        {SHUTTER, [](Property& property) { property.onePush = true; }, ERR_INVALID_PARAMETER, "shutter"},
        {GAIN, Raw(0), ERR_NOT_SUPPORTED, "gain of this camera has no manual mode"},
        {GAIN, [](Property& property) { property.absControl = true; }, ERR_NOT_SUPPORTED, "absolute"},
        {ZOOM, [](Property& property) { property.autoManualMode = true; }, ERR_NOT_SUPPORTED, "zoom"},
        {ZOOM, Absolute(1), ERR_NOT_SUPPORTED, "absolute control"},
        {TEMPERATURE, Raw(1), ERR_FEATURE_READ_ONLY, "temperature"},
        {WHITE_BALANCE, Raw(0), ERR_VALUE_OUT_OF_RANGE, "red"},
        {WHITE_BALANCE, [](Property& property) { property.valueB = 1024; }, ERR_VALUE_OUT_OF_RANGE, "blue"},
    };
    ExpectRefusals(rows, [&](const auto& row) { return Set(row.type, row.change); });
    SetBlock(kShutterBlock, {{4, 0x7FC00000}});
    EXPECT_EQ(Set(SHUTTER, Absolute(0.05F)), ERR_VALUE_OUT_OF_RANGE) << "a range that is none";
    SetRegisters({{0x71C, 0x40000000}});
    Property shutter;
    shutter.type = SHUTTER;
    EXPECT_EQ(m_component.GetProperty(&shutter), ERR_INVALID_ADDRESS) << "a block outside the register space";
    shutter.type = static_cast<PropertyType>(19);
    EXPECT_TRUE(SaysPart(m_component.GetProperty(&shutter), ERR_INVALID_PARAMETER, "0 to 18"));
    ExpectRefused({m_component.GetPropertyInfo(nullptr), m_component.SetProperty(nullptr, false)});
}

}  // namespace
}  // namespace Zevrin
