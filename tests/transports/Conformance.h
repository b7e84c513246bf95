#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <memory>

#include "HardwareInterface.h"

namespace Zevrin {

/// What a transport brings along to be tested by the suite that every transport has to pass.
class ConformanceRig {
  public:
    virtual ~ConformanceRig() = default;

    /// A camera that is there and that nobody has opened.
    virtual boost::shared_ptr<HardwareInterface> GetCamera() = 0;

    /// Four consecutive quadlets of the camera that keep whatever is written to them.
    virtual unsigned short GetScratchHigh() const = 0;
    virtual unsigned int GetScratchLow() const = 0;

    /// Called again and again while frames are awaited: for clocks that are set by hand.
    virtual void LetTimePass() {}
};

/// Defined by each test program that contains the suite. Null, with a test failure, when the rig cannot be
/// built.
std::unique_ptr<ConformanceRig> MakeConformanceRig();

}  // namespace Zevrin
