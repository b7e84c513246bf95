#include "CameraConfig.h"

#include <algorithm>

#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr char kFormatName[] = "zevrin-camera-config";
constexpr unsigned int kVersion = 1;

const ConfigSection* const kSections[] = {&kStreamSection, &kImageSection,    &kPropertySection,
                                          &kLutSection,    &kEmbeddedSection, &kPinSection,
                                          &kStrobeSection, &kTriggerSection};

Json DescribeCamera(Zevrin::IidcCamera& camera) {
    Zevrin::CameraInfo info;
    Check(camera.GetCameraInfo(&info));
    return {{"serialNumber", info.serialNumber}, {"vendor", info.vendorName},
            {"model", info.modelName},           {"sensor", info.sensorInfo},
            {"firmware", info.firmwareVersion},  {"interface", GetInterfaceTypeName(info.interfaceType)}};
}

/// Whether a value is the camera's to choose: what it adjusts by itself, and a packet size that is left to
/// it.
bool IsLeftToCamera(const Json& object, const std::string& key) {
    const bool isAuto = object.contains("auto") && object.at("auto") == true;
    const bool isRegion = object.contains("coding");
    return (isAuto && (key == "raw" || key == "rawSecond" || key == "absolute")) ||
           (isRegion && key == "packetSize" && object.at(key) == 0);
}

void Compare(const Json& wanted, const Json& present, const std::string& path,
             std::vector<ConfigChange>* pChanges) {
    if (!wanted.is_object() || !present.is_object()) {
        if (wanted != present) {
            pChanges->push_back({path, present, wanted});
        }
        return;
    }
    for (const auto& entry : wanted.items()) {
        if (!IsLeftToCamera(wanted, entry.key())) {
            const auto found = present.find(entry.key());
            Compare(entry.value(), found != present.end() ? *found : Json(),
                    (path.empty() ? "" : path + ".") + entry.key(), pChanges);
        }
    }
}

}  // namespace

CameraConfig ReadConfig(Zevrin::IidcCamera& camera) {
    CameraConfig config;
    config.document = {{"format", kFormatName}, {"version", kVersion}, {"camera", DescribeCamera(camera)}};
    for (const ConfigSection* const pSection : kSections) {
        try {
            const Json section = pSection->pRead(camera, &config.unread);
            if (!section.is_null()) {
                config.document[pSection->key] = section;
            }
        } catch (const ToolFailure& failure) {
            config.unread.push_back({pSection->key, nullptr, failure.what()});
        }
    }
    return config;
}

std::string CheckConfigHead(const Json& document) {
    const auto find = [](const Json& object, const char* key) {
        return object.is_object() && object.contains(key) ? object.at(key) : Json();
    };
    if (find(document, "format") != kFormatName) {
        throw ToolFailure(kExitFailed, "it is no configuration of a camera: \"format\" is " +
                                           Quote(find(document, "format")) + "; it must be \"" + kFormatName +
                                           "\"");
    }
    if (find(document, "version") != kVersion) {
        throw ToolFailure(kExitFailed, "its \"version\" is " + Quote(find(document, "version")) +
                                           "; this program reads version " + std::to_string(kVersion));
    }
    const Json model = find(find(document, "camera"), "model");
    return model.is_string() ? model.get<std::string>() : "";
}

ConfigPlan PlanConfig(const Json& document, Zevrin::IidcCamera& camera) {
    ConfigPlan plan;
    ConfigEntry root(document, "", &plan.refused);
    for (const char* const pHead : {"format", "version", "camera"}) {
        root.Find(pHead);
    }
    for (const ConfigSection* const pSection : kSections) {
        if (root.Find(pSection->key) == nullptr) {
            continue;
        }
        ConfigEntry entry = root.Enter(pSection->key);
        if (entry.IsGood()) {
            try {
                pSection->pPlan(entry, camera, &plan);
            } catch (const ToolFailure& failure) {
                entry.Refuse(failure.what());
            }
        }
    }
    root.RefuseOthers();
    return plan;
}

Findings ApplyConfig(const ConfigPlan& plan) {
    std::vector<ConfigStep> steps = plan.steps;
    std::stable_sort(steps.begin(), steps.end(), [](const ConfigStep& left, const ConfigStep& right) {
        return left.stage < right.stage;
    });
    Findings failed;
    for (const ConfigStep& step : steps) {
        const Zevrin::Error error = step.make();
        if (error != Zevrin::ERR_OK) {
            failed.push_back({step.path, nullptr, error.GetDescription()});
        }
    }
    return failed;
}

std::vector<ConfigChange> CompareConfigs(const Json& wanted, const Json& present) {
    std::vector<ConfigChange> changes;
    for (const ConfigSection* const pSection : kSections) {
        if (wanted.contains(pSection->key)) {
            Compare(wanted.at(pSection->key), present.value(pSection->key, Json()), pSection->key, &changes);
        }
    }
    return changes;
}

}  // namespace ZevrinTool
