#pragma once

#include <boost/thread/mutex.hpp>

#include "IOBase.h"
#include "zevrin/Strobe.h"

namespace Zevrin {

/// The camera's strobe outputs.
///
/// A record's `source` chooses the output. Times are kept by the camera in hundredths of a millisecond and
/// rounded to them. A record is filled whole or not at all.
/// Errors: ERR_INVALID_PARAMETER (no record), ERR_VALUE_OUT_OF_RANGE (no such output), the access's.
/// Threads: any; a change is one step for all users of this object.
class Strobe : public IOBase {
  public:
    /// An output that the camera lacks is a success with `present` false.
    Error GetStrobeInfo(StrobeInfo* pInfo);

    /// Errors: ERR_FEATURE_ABSENT.
    Error GetStrobe(StrobeControl* pControl);

    /// @param broadcast  every camera of the bus takes what this one takes
    /// Errors: ERR_FEATURE_ABSENT, ERR_NOT_SUPPORTED (no switch, no choice of polarity),
    /// ERR_VALUE_OUT_OF_RANGE; nothing is changed then.
    Error SetStrobe(const StrobeControl* pControl, bool broadcast);

  private:
    struct Output;

    Error FindOutput(unsigned int source, Output* pOutput);
    Error RequireOutput(unsigned int source, Output* pOutput);

    boost::mutex m_mutex;  // guards the camera's strobe registers between reading and writing them
};

}  // namespace Zevrin
