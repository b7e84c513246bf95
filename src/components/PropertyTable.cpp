#include "PropertyTable.h"

#include <cstddef>
#include <iterator>

#include "RegisterBits.h"
#include "Registers.h"

namespace Zevrin {

namespace {

constexpr double kKelvinToCelsius = -273.15;

/// A feature of FEATURE_HI_INQ or FEATURE_LO_INQ is known by its bit there, and the registers that belong to
/// it stand in that order.
constexpr PropertyRow High(unsigned int bit, PropertyType type, const char* name, const char* unit,
                           const char* unitAbbreviation, double absoluteOffset = 0,
                           bool hasSecondValue = false) {
    return {type,
            name,
            unit,
            unitAbbreviation,
            Register::kFeatureHighInquiry,
            RegisterBit(bit),
            Register::kHighInquiry + kRegisterSize * bit,
            Register::kHighControl + kRegisterSize * bit,
            Register::kHighAbsoluteCsrInquiry + kRegisterSize * bit,
            absoluteOffset,
            hasSecondValue};
}

constexpr PropertyRow Low(unsigned int bit, PropertyType type, const char* name) {
    return {type,
            name,
            "",
            "",
            Register::kFeatureLowInquiry,
            RegisterBit(bit),
            Register::kLowInquiry + kRegisterSize * bit,
            Register::kLowControl + kRegisterSize * bit,
            Register::kLowAbsoluteCsrInquiry + kRegisterSize * bit,
            0,
            false};
}

// In the order of PropertyType.
constexpr PropertyRow kProperties[] = {
    High(0, BRIGHTNESS, "brightness", "per cent", "%"),
    High(1, AUTO_EXPOSURE, "auto exposure", "exposure value", "EV"),
    High(2, SHARPNESS, "sharpness", "", ""),
    High(3, WHITE_BALANCE, "white balance", "kelvin", "K", 0, true),
    High(4, HUE, "hue", "degree", "deg"),
    High(5, SATURATION, "saturation", "per cent", "%"),
    High(6, GAMMA, "gamma", "", ""),
    High(7, SHUTTER, "shutter", "second", "s"),
    High(8, GAIN, "gain", "decibel", "dB"),
    High(9, IRIS, "iris", "F-number", "F"),
    High(10, FOCUS, "focus", "metre", "m"),
    Low(0, ZOOM, "zoom"),
    Low(1, PAN, "pan"),
    Low(2, TILT, "tilt"),
    Low(3, OPTICAL_FILTER, "optical filter"),
    High(13, TRIGGER_DELAY, "trigger delay", "second", "s"),
    High(15, FRAME_RATE, "frame rate", "frames per second", "fps"),
    High(11, TEMPERATURE, "temperature", "degree Celsius", "degC", kKelvinToCelsius),
    High(14, WHITE_SHADING, "white shading", "", ""),
};

constexpr bool IsInOrder() {
    for (std::size_t index = 0; index < std::size(kProperties); ++index) {
        if (kProperties[index].type != index) {
            return false;
        }
    }
    return std::size(kProperties) == kPropertyTypeCount;
}
static_assert(IsInOrder(), "a property is found by its number");

}  // namespace

const PropertyRow* FindProperty(PropertyType type) {
    return type < std::size(kProperties) ? &kProperties[type] : nullptr;
}

const char* GetPropertyTypeName(PropertyType type) noexcept {
    const PropertyRow* const pRow = FindProperty(type);
    return pRow != nullptr ? pRow->name : "unknown";
}

}  // namespace Zevrin
