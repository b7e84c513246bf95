#include "AravisError.h"

#include <arv.h>

#include "FormatText.h"

namespace Zevrin {

namespace {

struct TypeOfReport {
    ArvDeviceError code;
    ErrorType type;
};

/// Codes that are not here say no more than that the access failed.
constexpr TypeOfReport kTypes[] = {
    {ARV_DEVICE_ERROR_FEATURE_NOT_FOUND, ERR_FEATURE_ABSENT},
    {ARV_DEVICE_ERROR_WRONG_FEATURE, ERR_INVALID_DESCRIPTION},
    {ARV_DEVICE_ERROR_GENICAM_NOT_FOUND, ERR_INVALID_DESCRIPTION},
    {ARV_DEVICE_ERROR_NOT_CONNECTED, ERR_CAMERA_LOST},
    {ARV_DEVICE_ERROR_NOT_FOUND, ERR_CAMERA_LOST},
    {ARV_DEVICE_ERROR_TIMEOUT, ERR_TIMEOUT},
    {ARV_DEVICE_ERROR_NOT_CONTROLLER, ERR_ACCESS_DENIED},
    {ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED, ERR_ACCESS_DENIED},
    {ARV_DEVICE_ERROR_PROTOCOL_ERROR_NOT_IMPLEMENTED, ERR_NOT_SUPPORTED},
};

}  // namespace

ErrorType AravisError::GetType(ErrorType otherwise) const {
    if (m_pError != nullptr && m_pError->domain == ARV_DEVICE_ERROR) {
        for (const TypeOfReport& row : kTypes) {
            if (row.code == m_pError->code) {
                return row.type;
            }
        }
    }
    return otherwise;
}

std::string AravisError::GetText() const {
    return m_pError != nullptr && m_pError->message != nullptr ? Printable(m_pError->message) : std::string();
}

}  // namespace Zevrin
