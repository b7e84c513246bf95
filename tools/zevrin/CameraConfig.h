#pragma once

#include <string>
#include <vector>

#include <zevrin/IidcCamera.h>

#include "ConfigEntry.h"

namespace ZevrinTool {

/// One part of a camera's configuration, an object of the document.
struct ConfigSection {
    const char* key;
    /// Null when the camera has nothing of it. What cannot be read is left out and told; throws
    /// `ToolFailure` when that is everything.
    Json (*pRead)(Zevrin::IidcCamera& camera, Findings* pUnread);
    /// Checks an object of this kind against the camera, which it does not change. Throws likewise.
    void (*pPlan)(ConfigEntry& entry, Zevrin::IidcCamera& camera, ConfigPlan* pPlan);
};

extern const ConfigSection kStreamSection;
extern const ConfigSection kImageSection;
extern const ConfigSection kPropertySection;
extern const ConfigSection kLutSection;
extern const ConfigSection kEmbeddedSection;
extern const ConfigSection kPinSection;
extern const ConfigSection kStrobeSection;
extern const ConfigSection kTriggerSection;

/// Everything that can be set of one camera, as it is set now.
struct CameraConfig {
    Json document;
    Findings unread;  ///< what the camera did not tell
};
CameraConfig ReadConfig(Zevrin::IidcCamera& camera);

/// Whose configuration a document says it is, for messages; throws `ToolFailure` when it is none, or one of
/// another version.
std::string CheckConfigHead(const Json& document);

/// What is to be done so that the camera is as the document says. Nothing is changed.
ConfigPlan PlanConfig(const Json& document, Zevrin::IidcCamera& camera);

/// Takes all steps in the order that cameras need, also after a failure, and gives the failures.
Findings ApplyConfig(const ConfigPlan& plan);

/// A value of a configuration that is not what the other one has.
struct ConfigChange {
    std::string path;
    Json from;
    Json to;
};

/// What `wanted` has and `present` has not, leaving out values that are the camera's to choose.
std::vector<ConfigChange> CompareConfigs(const Json& wanted, const Json& present);

}  // namespace ZevrinTool
