#pragma once

#include <cstring>
#include <map>

#include "IidcCamera.h"
#include "support/Checks.h"

namespace Zevrin {

// How one operation is described for a sweep that loses each of its accesses in turn.

class SweptCamera : public IidcCamera {
  public:
    using IidcCamera::m_bConnected;
};

constexpr unsigned int kEntries = 1024;  // of a channel of the look-up table
constexpr int kScribble = 0xA5;

/// Whatever a caller hands over to be filled in; full of nonsense before each operation.
struct Records {
    PropertyInfo propertyInfo;
    Property property;
    TriggerModeInfo triggerInfo;
    TriggerMode trigger;
    StrobeInfo strobeInfo;
    StrobeControl strobe;
    LUTData lut;
    BayerTileFormat bayer;
    ZevrinConfig config;
    EmbeddedImageInfo embedded;
    CameraStats stats;
    TimeStamp time;
    CameraInfo camera;
    VideoModeInfo videoModeInfo;
    VideoModeSetting videoMode;
    Format7Info format7Info;
    Format7Settings format7;
    unsigned int value;
    unsigned int values[kEntries];
    float floats[16];
    bool flags[2];

    void Scribble() {
        std::memset(static_cast<void*>(this), kScribble, sizeof *this);
        propertyInfo.type = property.type = GAIN;
        strobeInfo.source = strobe.source = 1;
        videoModeInfo.format = 0;
        videoModeInfo.mode = 5;
        format7Info.mode = 0;
    }
    /// The host's clock is the one thing that no two runs share.
    void ForgetHostTime() {
        for (TimeStamp* pTime : {&time, &stats.timeStamp}) {
            if (pTime->seconds > 1000000000 && pTime->seconds < 100000000000) {
                pTime->seconds = 1000000000;
                pTime->microSeconds = 0;
            }
        }
    }
};

/// What the loss of one access comes to.
struct Rule {
    ErrorType type;  ///< ERR_OK: it is passed over
    /// Null: the failure's own. With a blank at its end, what begins with it and ends with the failure's own.
    const char* text;
    int causes;  ///< how many errors stand between the caller and nothing
};
constexpr Rule kAsItIs{ERR_TIMEOUT, nullptr, 0};
constexpr Rule kWrapped{ERR_TIMEOUT, nullptr, 1};
constexpr Rule kWrappedTwice{ERR_TIMEOUT, nullptr, 2};
constexpr Rule kPassedOver{ERR_OK, nullptr, 0};

using Registers = std::map<unsigned int, unsigned int>;

struct Loss {
    std::size_t number;    ///< of the access, from 1
    std::string access;    ///< that was lost
    const Records& whole;  ///< the records as the operation fills them when nothing is lost
    Records& record;       ///< what they are to hold now: what they held before, or, passed over, `whole`
    Registers& left;       ///< registers that are to differ from before: none
};

struct Row {
    Row(const char* name, std::function<Error(SweptCamera&, Records&)> call, Rule common = kWrapped,
        const char* sequence = nullptr)
        : operation(name), run(std::move(call)), rule(common), accesses(sequence) {}
    Row& But(const char* access, const Rule& own) { return exceptions.emplace_back(access, own), *this; }
    Row& Leaves(std::function<void(const Loss&)> what) { return outcome = std::move(what), *this; }
    Row& After(std::function<void(SweptCamera&)> first) { return prepare = std::move(first), *this; }
    Row& Unguarded() { return isGuarded = false, *this; }

    const char* operation;  ///< as a header declares it
    std::function<Error(SweptCamera&, Records&)> run;
    Rule rule;
    std::vector<std::pair<const char*, Rule>> exceptions;  ///< by the beginning of the access
    std::function<void(const Loss&)> outcome;              ///< what is left, where it is not nothing
    const char* accesses;                                  ///< exactly these, where they are laid down
    std::function<void(SweptCamera&)> prepare;
    bool isGuarded = true;
};

}  // namespace Zevrin
