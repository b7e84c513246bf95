#pragma once

#include "zevrin/TimeStamp.h"

namespace Zevrin {

/// A camera's counters and readings. They are read one after another: not one moment's picture.
struct CameraStats {
    static constexpr unsigned int kMaxMeasurements = 8;  ///< entries of a table

    unsigned int numImagesDropped = 0;           ///< lost between the camera and this computer
    unsigned int numImagesCorrupt = 0;           ///< arrived incomplete
    unsigned int transmitFailures = 0;           ///< the camera's own count
    unsigned int numImagesDriverDropped = 0;     ///< arrived and found no buffer, or were never taken
    unsigned int registerReadFailures = 0;       ///< over all components
    unsigned int registerWriteFailures = 0;      ///< over all components
    unsigned int portErrors = 0;                 ///< 0 also when it could not be asked
    bool cameraPowerUp = false;                  ///< the camera is switched on
    float measurementsA[kMaxMeasurements] = {};  ///< the first of the camera's two tables of readings
    unsigned int numMeasurementsA = 0;           ///< entries of it that are valid
    float measurementsB[kMaxMeasurements] = {};  ///< the second
    unsigned int numMeasurementsB = 0;           ///< entries of it that are valid
    unsigned int property17Value = 0;    ///< raw value of the temperature property; 0 when it is absent
    unsigned int register12E0Value = 0;  ///< meaning is the camera's; 0 when it could not be read
    unsigned int register12E4Value = 0;  ///< meaning is the camera's; 0 when it could not be read
    TimeStamp timeStamp;                 ///< the camera's bus time; all zero when it could not be asked
    unsigned int reserved[8] = {};       ///< zero; for later versions
    unsigned int numResendPacketsRequested = 0;  ///< packets asked for again
    unsigned int numResendPacketsReceived = 0;   ///< of those, the ones that came
};

}  // namespace Zevrin
