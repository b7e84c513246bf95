#pragma once

namespace Zevrin {

/// Turns the frame numbers of a stream into ones that never wrap, and finds gaps.
///
/// GigE Vision counts frames with 16 bits, from 65535 on to 1, unless the camera uses its extended ids of 64
/// bits, as USB3 Vision always does. A camera may begin anew when its acquisition does.
class FrameIds {
  public:
    struct Step {
        unsigned long long id = 0;
        unsigned int missed = 0;  ///< frames between the previous one and this
    };

    Step Next(unsigned long long received);

    /// A frame whose number was lost is taken for the one that was due.
    Step NextWithoutNumber();

    /// Acquisition is begun again: the next lower number is no wrap and no gap.
    void ExpectRestart() { m_mayRestart = true; }

  private:
    unsigned long long DistanceTo(unsigned long long received) const;

    bool m_isFirst = true;
    bool m_mayRestart = false;
    unsigned long long m_received = 0;
    unsigned long long m_id = 0;
};

}  // namespace Zevrin
