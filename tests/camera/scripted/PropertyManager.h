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
        return Script::Answer("PropertyManager::GetProperty", pProperty);
    }
    Error SetProperty(const Property* pProperty, bool broadcast) {
        Script::Get().lastProperty = *pProperty;
        return Script::Answer("PropertyManager::SetProperty", pProperty, broadcast);
    }
};

}  // namespace Zevrin
