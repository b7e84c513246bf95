#pragma once

namespace Zevrin {

/// What a camera's trigger can do.
struct TriggerModeInfo {
    bool present = false;
    bool readOutSupported = false;
    bool onOffSupported = false;
    bool polaritySupported = false;
    bool valueReadable = false;
    bool softwareTriggerSupported = false;
    unsigned int sourceMask = 0;  ///< bit n: source n is there
    unsigned int modeMask = 0;    ///< bit n: mode n is there
    unsigned int reserved[8] = {};
};

/// How exposure is triggered.
struct TriggerMode {
    bool onOff = false;
    unsigned int polarity = 0;   ///< 0 active low, 1 active high
    unsigned int source = 0;     ///< input number; 7 is the software trigger
    unsigned int mode = 0;       ///< IIDC trigger mode, 0 to 15
    unsigned int parameter = 0;  ///< the mode's parameter, 0 to 4095
    unsigned int reserved[8] = {};
};

}  // namespace Zevrin
