#pragma once

namespace Zevrin {

class HardwareInterface {
  public:
    virtual ~HardwareInterface() = default;
};

}  // namespace Zevrin
