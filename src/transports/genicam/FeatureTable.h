#pragma once

#include "DeviceFeatures.h"

namespace Zevrin {

/// What the value of a feature is, in the unit of IIDC absolute values.
enum class FeatureUnit {
    kNone,     ///< not known: the feature has raw values only
    kLinear,   ///< value * scale + offset
    kPerCent,  ///< its share of its own range
};

struct ValueFeature {
    const char* feature = nullptr;
    FeatureUnit unit = FeatureUnit::kNone;
    double scale = 1;
    double offset = 0;
    FeatureLimits widest{};  ///< taken where the device's own limits are wider or missing
};

/// One IIDC feature as features of a GenICam device.
struct PropertyMapping {
    unsigned int bit;                    ///< among the features of FEATURE_HI_INQ
    std::array<ValueFeature, 3> values;  ///< the first that the device offers
    double rawPerUnit;                   ///< raw values for one of the unit; 0: scaled over the range
    FeatureNames autos;                  ///< enumerations of kAutoOff, kAutoOnce, kAutoContinuous
    FeatureNames switches;               ///< booleans that switch the feature on
    FeatureSelector selector;
    const char* secondEntry;  ///< of the selector, for the second value; null: there is none
};

// docs/gige-vision.md shows these tables to users; a test holds it to them.
constexpr unsigned int kPropertyMappingCount = 10;
extern const PropertyMapping kPropertyMappings[kPropertyMappingCount];

constexpr char kAutoOff[] = "Off";
constexpr char kAutoOnce[] = "Once";
constexpr char kAutoContinuous[] = "Continuous";

/// Features of the other registers. The registers that each stands for are told in the views' own comments.
namespace FeatureName {
constexpr FeatureNames kTriggerMode{"TriggerMode"};
constexpr FeatureNames kTriggerSource{"TriggerSource"};
constexpr FeatureNames kTriggerActivation{"TriggerActivation"};
constexpr FeatureNames kTriggerSoftware{"TriggerSoftware"};
constexpr FeatureNames kExposureMode{"ExposureMode"};
constexpr FeatureNames kLineMode{"LineMode"};
constexpr FeatureNames kLineSource{"LineSource"};
constexpr FeatureNames kLineInverter{"LineInverter"};
constexpr FeatureNames kUserSetSelector{"UserSetSelector", "ConfigurationSetSelector"};
constexpr FeatureNames kUserSetLoad{"UserSetLoad", "ConfigurationSetLoad"};
constexpr FeatureNames kUserSetSave{"UserSetSave", "ConfigurationSetSave"};
constexpr FeatureNames kLutSelector{"LUTSelector"};
constexpr FeatureNames kLutEnable{"LUTEnable"};
constexpr FeatureNames kLutIndex{"LUTIndex"};
constexpr FeatureNames kLutValue{"LUTValue"};
constexpr FeatureNames kFramesLost{"TransferQueueOverflowCount"};
}  // namespace FeatureName

constexpr FeatureSelector kTriggerSelector{"TriggerSelector",
                                           {"FrameStart", "ExposureStart", "AcquisitionStart"}};

}  // namespace Zevrin
