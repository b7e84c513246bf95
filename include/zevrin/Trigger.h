#pragma once

namespace Zevrin {

/// What a camera's trigger can do.
struct TriggerModeInfo {
    bool present = false;                   ///< the camera has one
    bool readOutSupported = false;          ///< can be read
    bool onOffSupported = false;            ///< can be switched off
    bool polaritySupported = false;         ///< polarity can be set
    bool valueReadable = false;             ///< level of the input can be read
    bool softwareTriggerSupported = false;  ///< `FireSoftwareTrigger` works
    unsigned int sourceMask = 0;            ///< bit n: source n is there
    unsigned int modeMask = 0;              ///< bit n: mode n is there
    unsigned int reserved[8] = {};          ///< zero; for later versions
};

/// How exposure is triggered.
struct TriggerMode {
    bool onOff = false;             ///< exposure waits for it
    unsigned int polarity = 0;      ///< 0 active low, 1 active high
    unsigned int source = 0;        ///< input number; 7 is the software trigger
    unsigned int mode = 0;          ///< IIDC trigger mode, 0 to 15
    unsigned int parameter = 0;     ///< the mode's parameter, 0 to 4095
    unsigned int reserved[8] = {};  ///< zero; for later versions
};

}  // namespace Zevrin
