#pragma once

namespace ZevrinTool {

/// Which frames of a camera are kept. It goes by the camera's own numbers, so that a lost frame does not
/// shift those that follow, and cameras that run in step keep the same ones.
class FrameGate {
  public:
    /// @param every  keeps the first frame that comes of each so many numbers
    /// @param burst  frames to keep of a burst; 0: there are no bursts, all are kept
    FrameGate(unsigned int every, unsigned int burst) : m_every(every), m_burst(burst) {}

    /// @param number       the frame's, never less than the one before
    /// @param burstNumber  of the burst that was asked for last, from 1 on; a new one cuts short the one
    /// before
    bool Keep(unsigned long long number, unsigned long long burstNumber);

  private:
    const unsigned int m_every;
    const unsigned int m_burst;
    bool m_hasFirst = false;
    unsigned long long m_next = 0;  // the first number of the next group
    unsigned long long m_burstNumber = 0;
    unsigned int m_left = 0;  // of the present burst
};

}  // namespace ZevrinTool
