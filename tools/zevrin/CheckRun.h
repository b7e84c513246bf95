#pragma once

#include <functional>
#include <string>
#include <vector>

#include <zevrin/IidcCamera.h>
#include <zevrin/Image.h>

#include "Tool.h"

namespace ZevrinTool {

enum CheckVerdict { kCheckPass, kCheckFail, kCheckAbsent };

/// What one check of a camera found.
struct CheckRow {
    std::string group;
    std::string name;
    CheckVerdict verdict;
    std::string reason;  ///< why; of a check that passed, what was looked at
};

/// Thrown by a check of something that the camera does not have.
struct CheckIsAbsent {
    std::string reason;
};

/// Throws `ToolFailure` when what a check found is not what it should be.
void Require(bool isGood, const std::string& reason);

/// The checks of one camera.
class CheckRun {
  public:
    CheckRun(Zevrin::IidcCamera& camera, unsigned int timeoutMs) : m_camera(camera), m_timeoutMs(timeoutMs) {}

    Zevrin::IidcCamera& GetCamera() const { return m_camera; }
    unsigned int GetTimeoutMs() const { return m_timeoutMs; }
    const std::vector<CheckRow>& GetRows() const { return m_rows; }
    unsigned int Count(CheckVerdict verdict) const;

    /// Later checks are of this group.
    void Begin(const std::string& group) { m_group = group; }

    /// Runs one check, which throws `ToolFailure` or `CheckIsAbsent`, or returns what it looked at. After an
    /// interruption nothing is run any more.
    void Try(const std::string& name, const std::function<std::string()>& check);

    /// The same whether interrupted or not.
    void TryAlways(const std::string& name, const std::function<std::string()>& check);

  private:
    Zevrin::IidcCamera& m_camera;
    const unsigned int m_timeoutMs;
    std::string m_group;
    std::vector<CheckRow> m_rows;
};

/// A stream of a camera that is set so that frames come by themselves and quickly.
class CheckStream {
  public:
    /// Throws `ToolFailure`.
    explicit CheckStream(const CheckRun& run);
    ~CheckStream();
    CheckStream(const CheckStream&) = delete;
    CheckStream& operator=(const CheckStream&) = delete;

    /// The next whole frame, by its number the one after the last unless this computer missed some. Frames
    /// that arrive incomplete are the link's fault: some are passed over. Throws `ToolFailure`, also when too
    /// many are.
    void TakeNext(Zevrin::Image* pImage);

    /// The next frame; whether it is whole. Throws `ToolFailure`.
    bool TakeAny(Zevrin::Image* pImage);

    unsigned int CountIncomplete() const { return m_incomplete; }

    /// Whether no frame comes for a while in which none should.
    bool IsQuiet();

  private:
    Zevrin::IidcCamera& m_camera;
    const unsigned int m_timeoutMs;
    unsigned int m_count = 0;
    unsigned int m_incomplete = 0;
    unsigned int m_missed = 0;  // of all streams until now
    bool m_isLastWhole = false;
    unsigned long long m_lastId = 0;
};

/// Sets what streams depend on: no trigger, a moderate frame rate, nothing stamped into images. Throws
/// `ToolFailure`.
void PrepareToStream(Zevrin::IidcCamera& camera);

/// A look at a camera's clock, some time between two moments of this computer's. In microseconds.
struct ClockReading {
    double earliest;
    double latest;
    double camera;
};

/// Throws `ToolFailure` when the camera's clock stood still between two looks, or was wrong by more than half
/// a per cent whenever within them it was read.
void JudgeClock(const ClockReading& first, const ClockReading& last);

// The groups of checks.
void CheckRegisters(CheckRun& run);
void CheckProperties(CheckRun& run);
void CheckStrobes(CheckRun& run);
void CheckEmbedded(CheckRun& run);
void CheckLut(CheckRun& run);
void CheckMemory(CheckRun& run);
void CheckFormats(CheckRun& run);
void CheckTrigger(CheckRun& run);
void CheckTime(CheckRun& run);

}  // namespace ZevrinTool
