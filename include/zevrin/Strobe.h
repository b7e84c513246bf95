#pragma once

namespace Zevrin {

/// What a camera's strobe output `source` can do.
struct StrobeInfo {
    unsigned int source = 0;  ///< output number, 0 to 3: chosen by the caller
    bool present = false;
    bool readOutSupported = false;
    bool onOffSupported = false;
    bool polaritySupported = false;
    float minValue = 0;  ///< milliseconds, of delay and duration
    float maxValue = 0;  ///< milliseconds, of delay and duration
    unsigned int reserved[8] = {};
};

/// The setting of the strobe output `source`.
struct StrobeControl {
    unsigned int source = 0;  ///< output number, 0 to 3: chosen by the caller
    bool onOff = false;
    unsigned int polarity = 0;  ///< 0 active low, 1 active high
    float delay = 0;            ///< milliseconds from the start of exposure
    float duration = 0;         ///< milliseconds; 0: as long as the exposure
    unsigned int reserved[8] = {};
};

}  // namespace Zevrin
