#pragma once

#include <string>
#include <vector>

#include "zevrin/Error.h"
#include "zevrin/InterfaceType.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

/// Which frames meet a fault: a share of all, and the n-th ones (counted from 1 since the faults were set).
struct FrameFault {
    double share = 0;
    std::vector<unsigned int> frames;
};

/// What goes wrong with a camera, as data.
struct FaultDescription {
    unsigned int seed = 1;                        ///< of the generator that chooses among shares
    double registerShare = 0;                     ///< of the register accesses, 0 to 1
    std::vector<unsigned int> registerAccesses;   ///< the n-th ones, from 1
    std::vector<unsigned int> registerAddresses;  ///< offsets from the command registers
    unsigned int readLatencyUs = 0;
    unsigned int writeLatencyUs = 0;
    unsigned int latencyJitterUs = 0;  ///< up to this much on top, evenly spread
    struct Silence {
        unsigned int frames = 0;           ///< that are not sent after the camera was switched on
        std::vector<unsigned int> starts;  ///< the n-th times, from 1; empty: each time
    } silent;
    FrameFault drop;
    FrameFault corrupt;
    FrameFault duplicate;
    FrameFault delay;
    unsigned int delayUs = 100000;
};

struct CameraDescription {
    unsigned int serialNumber = 0;
    InterfaceType interfaceType = INTERFACE_IEEE1394;
    std::string vendorName = "Zevrin";
    std::string modelName;
    std::string firmwareVersion = "1.0.0";
    std::string sensorInfo;
    unsigned int iidcVersion = 132;
    unsigned int width = 640;   ///< of the sensor, a multiple of `kPixelUnitX`
    unsigned int height = 480;  ///< of the sensor, a multiple of `kPixelUnitY`
    BayerTileFormat bayer = BAYER_NONE;
    double frameRate = 15;           ///< frames per second in format 7 after power-up
    unsigned int exposureUs = 5000;  ///< shutter after power-up, a multiple of `kExposureUnitUs`
    double clockErrorPpm = 0;        ///< of the frame period's oscillator; above 0 it runs fast
    bool paint = true;
    unsigned int embeddedItems = 0x3FF;  ///< bit i, from the least significant: item i can be stamped
    FaultDescription faults;
};

struct BusDescription {
    std::vector<CameraDescription> cameras;
};

struct WorldDescription {
    bool isClockManual = false;
    std::vector<BusDescription> buses;
};

constexpr unsigned int kPixelUnitX = 4;
constexpr unsigned int kPixelUnitY = 2;
constexpr unsigned int kMaxCamerasPerBus = 64;
constexpr unsigned int kFirstSerialNumber = 1001;
constexpr double kMaxFrameRate = 1000;
constexpr double kMinFrameRate = 0.25;
constexpr unsigned int kExposureUnitUs = 20;
constexpr unsigned int kMaxExposureUs = 81900;
constexpr unsigned int kMaxLatencyUs = 10000000;
constexpr double kMaxClockErrorPpm = 10000;

/// Errors: ERR_INVALID_DESCRIPTION, which names the key, its value and what would be right. The result is
/// left alone then.
Error ParseWorld(const std::string& json, WorldDescription* pWorld);
Error ParseFaults(const std::string& json, FaultDescription* pFaults);

/// One bus of mono and colour cameras in turn.
/// Errors: ERR_VALUE_OUT_OF_RANGE.
Error DescribeCount(unsigned int cameraCount, WorldDescription* pWorld);

}  // namespace Zevrin
