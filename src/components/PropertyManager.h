#pragma once

#include <boost/thread/mutex.hpp>

#include "IOBase.h"
#include "zevrin/Property.h"

namespace Zevrin {

struct PropertyRow;
class RegisterSequence;

/// The camera's adjustable features.
///
/// A record's `type` chooses the feature. One that the camera lacks is told by `present` false, which is a
/// success; only setting it is refused. A record is filled whole or not at all.
/// Errors: ERR_INVALID_PARAMETER (no record, or no such property), the access's.
/// Threads: any; a change is one step for all users of this object.
class PropertyManager : public IOBase {
  public:
    Error GetPropertyInfo(PropertyInfo* pInfo);

    /// `valueA` is the register's value, `valueB` its second one: of white balance red (V) and blue (U). A
    /// feature that cannot be switched is on. `absValue` is filled in when the feature has absolute control,
    /// whichever value rules; temperature is in degrees Celsius.
    Error GetProperty(Property* pProperty);

    /// Sets the switch; then, unless the feature is switched off, the mode; then, in manual mode, the value
    /// that `absControl` says. `onePush` begins one adjustment in manual mode and leaves the values alone.
    /// `valueB` is used for white balance only.
    /// @param broadcast  every camera of the bus takes what this one takes
    /// Errors: ERR_FEATURE_ABSENT, ERR_FEATURE_READ_ONLY, ERR_NOT_SUPPORTED (the feature has no such
    /// mode or switch), ERR_VALUE_OUT_OF_RANGE; nothing is changed then.
    Error SetProperty(const Property* pProperty, bool broadcast);

  private:
    struct Abilities;

    Error ReadAbilities(const PropertyRow& row, Abilities* pAbilities);
    Error SetAbsolute(const PropertyRow& row, const Abilities& abilities, const Property& property,
                      unsigned int oldControl, unsigned int control, bool broadcast);

    boost::mutex m_mutex;  // guards the camera's feature registers between reading and writing them
};

}  // namespace Zevrin
