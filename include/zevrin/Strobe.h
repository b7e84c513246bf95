#pragma once

namespace Zevrin {

/// What a camera's strobe output `source` can do.
struct StrobeInfo {
    unsigned int source = 0;         ///< output number, 0 to 3: chosen by the caller
    bool present = false;            ///< the camera has it
    bool readOutSupported = false;   ///< can be read
    bool onOffSupported = false;     ///< can be switched off
    bool polaritySupported = false;  ///< polarity can be set
    float minValue = 0;              ///< milliseconds, of delay and duration
    float maxValue = 0;              ///< milliseconds, of delay and duration
    unsigned int reserved[8] = {};   ///< zero; for later versions
};

/// The setting of the strobe output `source`.
struct StrobeControl {
    unsigned int source = 0;        ///< output number, 0 to 3: chosen by the caller
    bool onOff = false;             ///< it is switched on
    unsigned int polarity = 0;      ///< 0 active low, 1 active high
    float delay = 0;                ///< milliseconds from the start of exposure
    float duration = 0;             ///< milliseconds; 0: as long as the exposure
    unsigned int reserved[8] = {};  ///< zero; for later versions
};

}  // namespace Zevrin
