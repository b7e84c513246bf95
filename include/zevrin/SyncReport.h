#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "zevrin/Error.h"
#include "zevrin/Export.h"

namespace Zevrin {

/// How far a camera may be from the first one to be in step with it, in cycles of 125 µs: what the
/// synchronized start accepts.
constexpr unsigned int kSyncLimitCycles = 5;

/// Bus time is counted in ticks of 24.576 MHz, of which a cycle has 3072.
constexpr double kSyncTicksPerMicrosecond = 24.576;

/// One image of a synchronized run: whose it is, the camera's number for it, and its bus time.
struct SyncRecord {
    unsigned int serialNumber = 0;   ///< of the camera
    unsigned long long frameId = 0;  ///< the camera's number
    unsigned int cycleSeconds = 0;   ///< 0 to 127
    unsigned int cycleCount = 0;     ///< 0 to 7999
    unsigned int cycleOffset = 0;    ///< 0 to 3071
};

/// What a camera contributes to a set.
struct SyncMember {
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);  ///< no record

    std::size_t record = kNone;      ///< which of the records; `kNone`: the camera has no image in this set
    unsigned long long frameId = 0;  ///< the camera's number for its image
    long long ticks = 0;             ///< bus time since the first image of the run
    bool hasOffset = false;          ///< whether the first camera is in this set as well
    long long offsetTicks = 0;       ///< from the first camera; above 0 the image is the later one
    long long offsetCycles = 0;      ///< the same between the cycle counts, which is what the limit is for
};

/// Images that were taken together.
struct SyncSet {
    long long ticks = 0;              ///< bus time since the first image of the run
    std::vector<SyncMember> members;  ///< one for each camera, in the order of the cameras
};

/// A camera over the whole run. Offsets are from the first camera and 0 as long as `offsets` is.
struct SyncCamera {
    unsigned int serialNumber = 0;  ///< of the camera
    std::size_t images = 0;         ///< records of it
    unsigned long long lost = 0;  ///< by the camera's own numbers or, where these do not rise, by its stamps
    std::size_t outOfOrder = 0;   ///< came after an image that was taken later
    std::size_t duplicated = 0;   ///< carry the stamp of another image and are in no set
    std::size_t missingSets = 0;  ///< sets in which it has no image
    std::size_t offsets = 0;      ///< images that could be compared
    std::size_t unpaired = 0;     ///< taken between two images of the first camera, which lost none there
    long long minTicks = 0;       ///< smallest offset
    long long maxTicks = 0;       ///< largest offset
    double meanTicks = 0;         ///< mean offset
    long long worstCycles = 0;    ///< the offset that is furthest from 0
    bool hasDrift = false;        ///< from two comparable images on
    double driftPpm = 0;          ///< least squares; above 0 its images come later and later
    bool isInStep = false;        ///< within the limit
};

/// The two images of one set that are furthest apart.
struct SyncWorstPair {
    std::size_t set = 0;            ///< which of the sets
    std::size_t earlierCamera = 0;  ///< which of the cameras
    std::size_t laterCamera = 0;    ///< which of the cameras
    long long ticks = 0;            ///< between their times
    long long cycles = 0;           ///< between the cycle counts
};

/// What the time stamps of a run say.
struct SyncReport {
    std::vector<SyncCamera> cameras;   ///< the first one is what the others are compared with
    std::vector<SyncSet> sets;         ///< by their time
    std::size_t completeSets = 0;      ///< with an image of every camera
    long long periodTicks = 0;         ///< of the first camera's frames (the median); 0 when there is none
    long long durationTicks = 0;       ///< from the first image to the last
    bool hasWorstPair = false;         ///< whether two images were taken together at all
    SyncWorstPair worstPair;           ///< when there is one
    bool isInStep = false;             ///< within the limit
    std::vector<std::string> reasons;  ///< why the cameras are not in step, in sentences
};

/// Sorts the images of a run into sets by their time stamps and measures how far apart the cameras are.
///
/// Each camera's stamps are continued across the 128 seconds after which the bus clock begins anew; a camera
/// may be without an image for up to 112 seconds, or for 2 hours when its numbers count on meanwhile, and the
/// first images lie within 64 seconds. Sets gather around the images of the first camera, at most half a
/// frame period away from them; images from between two of those are sets of their own. The cameras are in
/// step when each can be compared with the first, is never more than `kSyncLimitCycles` from it, and has at
/// most a tenth of its images unpaired.
/// @param serialNumbers  the cameras, 1 to 64, each once
/// @param records        all images, those of one camera in the order of their arrival
/// Errors: ERR_INVALID_PARAMETER (no camera, no record, a camera twice, a record of another camera),
/// ERR_VALUE_OUT_OF_RANGE (a stamp); they name the record. The report is left alone then.
/// Threads: any.
ZEVRIN_API Error AnalyzeSync(const std::vector<unsigned int>& serialNumbers,
                             const std::vector<SyncRecord>& records, SyncReport* pReport);

/// A range check for outside data, as `AnalyzeSync` makes it; `what` names the record in the message.
/// Errors: ERR_VALUE_OUT_OF_RANGE.
ZEVRIN_API Error CheckSyncStamp(const SyncRecord& record, const std::string& what);

/// The report for programs: a JSON document with a line for each set.
ZEVRIN_API std::string FormatSyncReportAsJson(const SyncReport& report);

/// The report for people: an HTML page with its plots in it, which needs nothing else.
/// @param title  any text
ZEVRIN_API std::string FormatSyncReportAsHtml(const SyncReport& report, const std::string& title);

}  // namespace Zevrin
