#pragma once

#include "zevrin/Property.h"

namespace Zevrin {

/// What the standard says of one feature: where its registers are and what its absolute value means.
struct PropertyRow {
    PropertyType type;
    const char* name;
    const char* unit;  ///< of the absolute value; empty when it has none
    const char* unitAbbreviation;
    unsigned int presenceRegister;
    unsigned int presenceMask;
    unsigned int inquiryRegister;
    unsigned int controlRegister;
    unsigned int absoluteCsrRegister;
    double absoluteOffset;  ///< added to the camera's absolute value to give the one shown to people
    bool hasSecondValue;    ///< of white balance: valueA is red or V, valueB is blue or U
};

/// Null for a number that is no property.
const PropertyRow* FindProperty(PropertyType type);

}  // namespace Zevrin
