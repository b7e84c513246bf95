#pragma once

namespace Zevrin {

class Image {
  public:
    virtual ~Image() = default;
};

}  // namespace Zevrin
