#include "zevrin/Error.h"

#include "ErrorDetails.h"

namespace Zevrin {

namespace {

struct ErrorTypeFacts {
    ErrorType type;
    const char* name;
    const char* text;
};

constexpr ErrorTypeFacts kErrorTypes[] = {
    {ERR_OK, "ERR_OK", "Success."},
    {ERR_FAILED, "ERR_FAILED", "The operation failed."},
    {ERR_NOT_IMPLEMENTED, "ERR_NOT_IMPLEMENTED", "This function is not implemented."},
    {ERR_BUS_MASTER_FAILED, "ERR_BUS_MASTER_FAILED", "The bus manager is not available."},
    {ERR_NOT_CONNECTED, "ERR_NOT_CONNECTED", "No camera is connected."},
    {ERR_ALREADY_CONNECTED, "ERR_ALREADY_CONNECTED", "The object is already connected to a camera."},
    {ERR_CAMERA_NOT_FOUND, "ERR_CAMERA_NOT_FOUND", "No such camera."},
    {ERR_INVALID_PARAMETER, "ERR_INVALID_PARAMETER", "An argument is not valid."},
    {ERR_VALUE_OUT_OF_RANGE, "ERR_VALUE_OUT_OF_RANGE", "A value is out of range."},
    {ERR_INVALID_ADDRESS, "ERR_INVALID_ADDRESS", "A register address is not valid."},
    {ERR_FEATURE_ABSENT, "ERR_FEATURE_ABSENT", "The camera lacks this feature."},
    {ERR_FEATURE_READ_ONLY, "ERR_FEATURE_READ_ONLY", "This feature can only be read."},
    {ERR_INVALID_MODE, "ERR_INVALID_MODE", "The camera does not offer this mode."},
    {ERR_INVALID_DESCRIPTION, "ERR_INVALID_DESCRIPTION", "A description could not be understood."},
    {ERR_OUT_OF_MEMORY, "ERR_OUT_OF_MEMORY", "Memory has run out."},
    {ERR_FILE_FAILED, "ERR_FILE_FAILED", "A file could not be read or written."},
    {ERR_ACCESS_DENIED, "ERR_ACCESS_DENIED", "Someone else controls the camera."},
    {ERR_NOT_SUPPORTED, "ERR_NOT_SUPPORTED", "This is not supported here."},
    {ERR_TIMEOUT, "ERR_TIMEOUT", "The time ran out."},
    {ERR_INTERFACE_NOT_FOUND, "ERR_INTERFACE_NOT_FOUND", "The camera's interface was not found."},
    {ERR_INVALID_GENERATION, "ERR_INVALID_GENERATION", "The bus has changed since the connection was made."},
    {ERR_CAMERA_LOST, "ERR_CAMERA_LOST", "The camera went away."},
    {ERR_TRANSPORT_FAILED, "ERR_TRANSPORT_FAILED", "The transport failed."},
    {ERR_PROPERTY_FAILED, "ERR_PROPERTY_FAILED", "A property could not be read or set."},
    {ERR_TRIGGER_FAILED, "ERR_TRIGGER_FAILED", "The trigger could not be read or set."},
    {ERR_LUT_FAILED, "ERR_LUT_FAILED", "The look-up table could not be read or set."},
    {ERR_MEMORY_CHANNEL_FAILED, "ERR_MEMORY_CHANNEL_FAILED", "A memory channel could not be used."},
    {ERR_REGISTER_FAILED, "ERR_REGISTER_FAILED", "A register access failed."},
    {ERR_READ_REGISTER_FAILED, "ERR_READ_REGISTER_FAILED", "A register could not be read."},
    {ERR_WRITE_REGISTER_FAILED, "ERR_WRITE_REGISTER_FAILED", "A register could not be written."},
    {ERR_ISOCH_FAILED, "ERR_ISOCH_FAILED", "Streaming failed."},
    {ERR_ISOCH_ALREADY_STARTED, "ERR_ISOCH_ALREADY_STARTED", "Isoch has already been started."},
    {ERR_ISOCH_NOT_STARTED, "ERR_ISOCH_NOT_STARTED", "Isoch has not been started."},
    {ERR_ISOCH_START_FAILED, "ERR_ISOCH_START_FAILED", "The stream could not be started."},
    {ERR_ISOCH_RETRIEVE_FAILED, "ERR_ISOCH_RETRIEVE_FAILED", "An image could not be retrieved."},
    {ERR_ISOCH_STOP_FAILED, "ERR_ISOCH_STOP_FAILED", "Error stopping stream."},
    {ERR_ISOCH_SYNC_FAILED, "ERR_ISOCH_SYNC_FAILED", "Failed to synchronize cameras."},
    {ERR_ISOCH_BUFFERS_FAILED, "ERR_ISOCH_BUFFERS_FAILED", "The stream's buffers could not be set up."},
    {ERR_EVENT_FAILED, "ERR_EVENT_FAILED", "Device events could not be used."},
    {ERR_TIMESTAMP_FAILED, "ERR_TIMESTAMP_FAILED", "A time stamp could not be read."},
};

constexpr bool IsIndexedByType() {
    int index = 0;
    for (const ErrorTypeFacts& facts : kErrorTypes) {
        if (facts.type != index++) {
            return false;
        }
    }
    return true;
}
static_assert(IsIndexedByType(), "row n describes error type n");

constexpr ErrorTypeFacts kUnknown = {ERR_FAILED, "ERR_UNKNOWN", "Unknown kind of error."};

const ErrorTypeFacts& FactsOf(ErrorType type) {
    const auto index = static_cast<unsigned int>(type);
    return index < sizeof(kErrorTypes) / sizeof(kErrorTypes[0]) ? kErrorTypes[index] : kUnknown;
}

}  // namespace

const char* GetErrorTypeName(ErrorType type) noexcept {
    return FactsOf(type).name;
}

const char* GetErrorTypeText(ErrorType type) noexcept {
    return FactsOf(type).text;
}

const char* Error::GetDescription() const noexcept {
    return m_pDetails ? m_pDetails->description.c_str() : GetErrorTypeText(m_type);
}

Error Error::GetCause() const noexcept {
    return m_pDetails ? m_pDetails->cause : Error();
}

const char* Error::GetSourceFile() const noexcept {
    return m_pDetails ? m_pDetails->file : "";
}

int Error::GetSourceLine() const noexcept {
    return m_pDetails ? m_pDetails->line : 0;
}

const char* Error::GetBuildDate() const noexcept {
    return m_pDetails ? m_pDetails->buildDate : "";
}

const char* Error::GetBuildTime() const noexcept {
    return m_pDetails ? m_pDetails->buildTime : "";
}

std::string Error::GetTrace() const {
    std::string trace;
    for (Error error = *this; error != ERR_OK; error = error.GetCause()) {
        trace += trace.empty() ? "" : "\n  because ";
        trace += error.GetDescription();
        trace += " (";
        trace += GetErrorTypeName(error.GetType());
        if (error.m_pDetails) {
            trace += ", ";
            trace += error.GetSourceFile();
            trace += ":" + std::to_string(error.GetSourceLine());
        }
        trace += ")";
    }
    return trace;
}

}  // namespace Zevrin
