#pragma once

#include "zevrin/Export.h"

namespace Zevrin {

/// The adjustable features of a camera, as the IIDC feature registers name them.
enum PropertyType : unsigned int {
    BRIGHTNESS = 0,
    AUTO_EXPOSURE = 1,
    SHARPNESS = 2,
    WHITE_BALANCE = 3,
    HUE = 4,
    SATURATION = 5,
    GAMMA = 6,
    SHUTTER = 7,
    GAIN = 8,
    IRIS = 9,
    FOCUS = 10,
    ZOOM = 11,
    PAN = 12,
    TILT = 13,
    OPTICAL_FILTER = 14,
    TRIGGER_DELAY = 15,
    FRAME_RATE = 16,
    TEMPERATURE = 17,
    WHITE_SHADING = 18
};

/// Properties are numbered from 0 to one less.
constexpr unsigned int kPropertyTypeCount = 19;

/// The property's name, such as "white balance"; "unknown" for a number that is none of them.
/// Threads: any.
ZEVRIN_API const char* GetPropertyTypeName(PropertyType type) noexcept;

/// What a camera can do with one property. `type` chooses the property; the rest is filled in.
struct PropertyInfo {
    PropertyType type = BRIGHTNESS;  ///< chosen by the caller
    bool present = false;            ///< the camera has it
    bool autoSupported = false;      ///< can adjust by itself
    bool manualSupported = false;    ///< can be set
    bool onOffSupported = false;     ///< can be switched off
    bool onePushSupported = false;   ///< can adjust once
    bool absValSupported = false;    ///< has a value in a unit
    bool readOutSupported = false;   ///< can be read
    unsigned int min = 0;            ///< raw register units
    unsigned int max = 0;            ///< raw register units
    float absMin = 0;                ///< in `unitAbbreviation`
    float absMax = 0;                ///< in `unitAbbreviation`
    char unit[32] = {};              ///< such as "second"; empty when the value has no unit
    char unitAbbreviation[8] = {};   ///< such as "s"
    unsigned int reserved[8] = {};   ///< zero; for later versions
};

/// The setting of one property. `type` chooses the property.
struct Property {
    PropertyType type = BRIGHTNESS;  ///< chosen by the caller
    bool present = false;            ///< the camera has it
    bool absControl = false;         ///< `absValue` rules, not `valueA`
    bool onePush = false;            ///< set: begin one automatic adjustment; get: it is still running
    bool onOff = false;              ///< it is switched on
    bool autoManualMode = false;     ///< true: the camera adjusts by itself
    unsigned int valueA = 0;         ///< raw register units
    unsigned int valueB = 0;         ///< second raw value; white balance: blue (U), with red (V) in `valueA`
    float absValue = 0;              ///< in the unit that `PropertyInfo` names
    unsigned int reserved[8] = {};   ///< zero; for later versions
};

}  // namespace Zevrin
