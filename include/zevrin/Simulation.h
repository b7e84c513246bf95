#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <string>

#include "zevrin/Error.h"
#include "zevrin/Export.h"

namespace Zevrin {

struct WorldDescription;

/// Frames of one simulated camera since it was made, as far as a stream was listening. Each one that was
/// sent ends in the stream as delivered, corrupt, dropped or driver-dropped.
struct SimulatedFrameCounts {
    unsigned long long exposed = 0;  ///< pictures taken
    unsigned long long sent = 0;     ///< put on the bus: the pictures but for those that a silent camera
                                     ///< keeps, and the copies that a fault makes
    unsigned long long lost = 0;     ///< of those sent, lost on the bus
};

/// How fast a simulated camera answers and how exactly it keeps time. What its registers set, such as its
/// frame rate and exposure, is not in here.
struct SimulatedTiming {
    unsigned int readLatencyUs = 0;   ///< microseconds until a register is read, 0 to 10000000
    unsigned int writeLatencyUs = 0;  ///< microseconds until a write takes effect, 0 to 10000000
    unsigned int jitterUs = 0;        ///< up to so many more, evenly spread, 0 to 10000000
    double clockErrorPpm = 0;         ///< -10000 to 10000; above 0 its frames follow each other too fast
};

/// Simulated buses with their cameras, inside this process. The cameras are found by discovery like any
/// other, for as long as the object lives.
///
/// The environment variable ZEVRIN_SIMULATE (a number of cameras, or the path of a description) makes a
/// simulation that lives as long as the process.
/// Threads: any.
class ZEVRIN_API Simulation {
  public:
    /// One bus with this many cameras, 1 to 64, with serial numbers 1001 and on.
    /// Errors: ERR_VALUE_OUT_OF_RANGE, ERR_INVALID_PARAMETER, ERR_FAILED (no thread to be had).
    static Error FromCount(unsigned int cameraCount, boost::shared_ptr<Simulation>* ppSimulation);

    /// As described by a JSON text or file; docs/simulation.md lists its keys.
    /// Errors: ERR_INVALID_DESCRIPTION (names the key, its value and what would be right),
    /// ERR_FILE_FAILED, ERR_INVALID_PARAMETER. Nothing is simulated then.
    static Error FromJson(const std::string& text, boost::shared_ptr<Simulation>* ppSimulation);
    /// The same from a file. Errors: as above.
    static Error FromFile(const std::string& path, boost::shared_ptr<Simulation>* ppSimulation);

    /// A number of cameras, or the path of a description: what a command line or the environment says.
    /// Errors: those of the three above.
    static Error FromText(const std::string& countOrPath, boost::shared_ptr<Simulation>* ppSimulation);

    ~Simulation();
    Simulation(const Simulation&) = delete;
    Simulation& operator=(const Simulation&) = delete;

    /// Takes a camera off its bus, which resets the bus.
    /// Errors: ERR_CAMERA_NOT_FOUND.
    Error Unplug(unsigned int serialNumber);
    /// Puts it back, which resets the bus. Errors: ERR_CAMERA_NOT_FOUND.
    Error Replug(unsigned int serialNumber);

    /// Resets the bus that this camera is on.
    /// Errors: ERR_CAMERA_NOT_FOUND.
    Error ResetBus(unsigned int serialNumber);

    /// Lets time pass when the clock is set by hand, on all buses together: whatever falls due happens on
    /// the calling thread, in the order of the times, before this returns. Without an effect on the real
    /// clock.
    /// @param microseconds  at most 2^50 at once; more is taken for that. The clock ends after 146 years.
    /// Threads: any; several take turns, as do register accesses that take time by this clock.
    void AdvanceClock(unsigned long long microseconds);

    /// Drives one of a camera's pins from outside, until further notice. Without an effect on a pin that is
    /// an output.
    /// @param pin  0 to 3; pin n is trigger source n and, as an output, strobe n
    /// Errors: ERR_CAMERA_NOT_FOUND, ERR_VALUE_OUT_OF_RANGE.
    Error SetInput(unsigned int serialNumber, unsigned int pin, bool isHigh);
    /// The same, high for 1 to 2^50 microseconds. Errors: as above.
    Error PulseInput(unsigned int serialNumber, unsigned int pin, unsigned long long microseconds);

    /// The present level of a pin, with its strobe when it is an output.
    /// Errors: ERR_CAMERA_NOT_FOUND, ERR_VALUE_OUT_OF_RANGE, ERR_INVALID_PARAMETER.
    Error GetPin(unsigned int serialNumber, unsigned int pin, bool* pIsHigh) const;

    /// Takes the place of what a description or `SetFaults` said of the latencies, and of "clockErrorPpm".
    /// Errors: ERR_CAMERA_NOT_FOUND, ERR_VALUE_OUT_OF_RANGE (nothing is changed).
    Error SetTiming(unsigned int serialNumber, const SimulatedTiming& timing);

    /// What became of the pictures of a camera.
    /// Errors: ERR_CAMERA_NOT_FOUND, ERR_INVALID_PARAMETER.
    Error GetFrameCounts(unsigned int serialNumber, SimulatedFrameCounts* pCounts) const;

    /// Replaces the faults of one camera, as in the "faults" of a description: what is not named in it goes.
    /// Errors: ERR_CAMERA_NOT_FOUND, ERR_INVALID_DESCRIPTION (nothing is changed).
    Error SetFaults(unsigned int serialNumber, const std::string& json);

  private:
    class World;
    explicit Simulation(boost::shared_ptr<World> pWorld);
    static Error FromDescription(const WorldDescription& description,
                                 boost::shared_ptr<Simulation>* ppSimulation);
    Error DrivePin(unsigned int serialNumber, unsigned int pin, bool isHigh, unsigned long long microseconds);

    boost::shared_ptr<World> m_pWorld;
};

}  // namespace Zevrin
