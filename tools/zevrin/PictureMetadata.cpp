#include "PictureMetadata.h"

#include <optional>
#include <string>

#include <zevrin/Property.h>

#include "Output.h"

namespace ZevrinTool {

namespace {

/// They are the pictures' only while the camera does not change them by itself.
std::optional<double> ReadProperty(Zevrin::IidcCamera& camera, Zevrin::PropertyType type, const char* unit) {
    Zevrin::PropertyInfo info;
    Zevrin::Property property;
    info.type = type;
    property.type = type;
    if (camera.GetPropertyInfo(&info) != Zevrin::ERR_OK || !info.present || !info.absValSupported ||
        std::string(info.unitAbbreviation) != unit || camera.GetProperty(&property) != Zevrin::ERR_OK ||
        property.autoManualMode) {
        return std::nullopt;
    }
    return Shorten(property.absValue);
}

}  // namespace

Zevrin::ImageMetadata ReadMetadata(Zevrin::IidcCamera& camera, unsigned int serialNumber) {
    Zevrin::ImageMetadata metadata;
    metadata.serialNumber = serialNumber;
    metadata.exposureSeconds = ReadProperty(camera, Zevrin::SHUTTER, "s");
    metadata.gainDb = ReadProperty(camera, Zevrin::GAIN, "dB");
    return metadata;
}

}  // namespace ZevrinTool
