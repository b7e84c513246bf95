#pragma once

#include <ostream>

#include "IidcCamera.h"
#include "Iso.h"
#include "zevrin/Simulation.h"

namespace Zevrin {

/// What a camera sent, and what has become of it.
struct FrameAccount {
    unsigned long long sent = 0;
    unsigned long long delivered = 0;
    unsigned long long corrupt = 0;
    unsigned long long dropped = 0;
    unsigned long long driverDropped = 0;

    bool AddsUp() const { return sent == delivered + corrupt + dropped + driverDropped; }
};

inline std::ostream& operator<<(std::ostream& stream, const FrameAccount& account) {
    return stream << "sent " << account.sent << ", delivered " << account.delivered << ", corrupt "
                  << account.corrupt << ", dropped " << account.dropped << ", driver-dropped "
                  << account.driverDropped;
}

/// A camera whose counts can also be had while it is lost.
class AccountedCamera : public IidcCamera {
  public:
    FrameAccount GetAccount(const Simulation& simulation) const {
        SimulatedFrameCounts counts;
        const Error unknown = simulation.GetFrameCounts(m_serialNumber, &counts);
        static_cast<void>(unknown);  // nothing was sent then
        return {counts.sent, m_pIso->GetNumOfImageDelivered(), m_pIso->GetNumOfImageCorrupt(),
                m_pIso->GetNumOfImageDropped(), m_pIso->GetNumOfImageDriverDropped()};
    }
};

}  // namespace Zevrin
