#pragma once

#include "IOBase.h"
#include "zevrin/Property.h"

namespace Zevrin {

class PropertyManager : public IOBase {
  public:
    PropertyManager() : IOBase("PropertyManager") {}

    Error GetPropertyInfo(PropertyInfo* pInfo) {
        return Script::Answer("PropertyManager::GetPropertyInfo", pInfo);
    }
    Error GetProperty(Property* pProperty) {
        Script::Get().lastProperty = *pProperty;
        const Error error = Script::Answer("PropertyManager::GetProperty", pProperty);
        if (error == ERR_OK && !Script::Get().isQuiet) {
            pProperty->present = Script::Get().property.present;
            pProperty->valueA = Script::Get().property.valueA;
        }
        return error;
    }
    Error SetProperty(const Property* pProperty, bool broadcast) {
        Script::Get().lastProperty = *pProperty;
        return Script::Answer("PropertyManager::SetProperty", pProperty, broadcast);
    }
};

}  // namespace Zevrin
