#pragma once

#include <set>

namespace ZevrinTool {

/// Which frames of a camera are kept. It goes by the camera's own numbers, so that a frame that is lost, late
/// or there twice does not shift those that follow, and cameras that run in step keep the same ones.
class FrameGate {
  public:
    /// @param every  keeps the first frame that comes of each so many numbers, counted from 0; 1: every frame
    /// @param burst  frames to keep of a burst; 0: there are no bursts, all are kept
    FrameGate(unsigned int every, unsigned int burst) : m_every(every), m_burst(burst) {}

    /// @param burstNumber  of the burst that was asked for last, from 1 on; a new one cuts short the one
    /// before
    bool Keep(unsigned long long number, unsigned long long burstNumber);

  private:
    bool IsFirstOfGroup(unsigned long long number);

    const unsigned int m_every;
    const unsigned int m_burst;
    std::set<unsigned long long> m_groups;  // the latest of which a frame has come
    unsigned long long m_burstNumber = 0;
    unsigned int m_left = 0;  // of the present burst
};

}  // namespace ZevrinTool
