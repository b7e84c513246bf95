#include "PropertyManager.h"

#include "Failure.h"

namespace Zevrin {

Error PropertyManager::GetPropertyInfo(PropertyInfo*) {
    return Failure(ERR_NOT_IMPLEMENTED, "Properties are not implemented yet.");
}

Error PropertyManager::GetProperty(Property*) {
    return Failure(ERR_NOT_IMPLEMENTED, "Properties are not implemented yet.");
}

Error PropertyManager::SetProperty(const Property*, bool) {
    return Failure(ERR_NOT_IMPLEMENTED, "Properties are not implemented yet.");
}

}  // namespace Zevrin
