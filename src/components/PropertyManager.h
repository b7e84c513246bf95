#pragma once

#include "IOBase.h"
#include "zevrin/Property.h"

namespace Zevrin {

/// The camera's adjustable features.
/// Errors: ERR_NOT_IMPLEMENTED, always, for now.
/// Threads: any.
class PropertyManager : public IOBase {
  public:
    Error GetPropertyInfo(PropertyInfo* pInfo);
    Error GetProperty(Property* pProperty);
    Error SetProperty(const Property* pProperty, bool broadcast);
};

}  // namespace Zevrin
