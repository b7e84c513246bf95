#include <iostream>
#include <memory>

#include "CameraConfig.h"
#include "CameraVerb.h"
#include "CommandLine.h"
#include "JsonFile.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

struct LoadRequest {
    std::string path;
    bool dryRun = false;
    bool partial = false;
};

/// What loading a configuration came to.
struct LoadResult {
    std::vector<ConfigChange> changes;
    Findings refused;
    Findings notes;
    bool isApplied = false;  ///< the camera is not as it was
};

std::string ToText(const Finding& finding) {
    return Printable(finding.path) + (finding.value.is_null() ? "" : " is " + Quote(finding.value)) + ": " +
           Printable(finding.reason);
}

Json ToJson(const Findings& findings) {
    Json list = Json::array();
    for (const Finding& finding : findings) {
        list.push_back({{"path", finding.path}, {"value", finding.value}, {"reason", finding.reason}});
    }
    return list;
}

void ComplainOf(const Target& target, const Findings& findings) {
    for (const Finding& finding : findings) {
        Complain(NameOf(target.serialNumber) + ": " + ToText(finding));
    }
}

void Save(const Target& target, const std::string& path, bool partial) {
    const CameraConfig config = ReadConfig(target.camera);
    ComplainOf(target, config.unread);
    if (!config.unread.empty() && !partial) {
        throw ToolFailure(kExitFailed, "nothing is saved, since " + std::to_string(config.unread.size()) +
                                           " settings could not be read; --partial saves the others");
    }
    if (path.empty()) {
        std::cout << ToReadableText(config.document);
        return;
    }
    WriteJsonFile(config.document, path);
    if (target.tool.json) {
        target.Show({{"", "file", path, ""}, {"", "unread", ToJson(config.unread), ""}});
    }
}

void WarnOfModel(const Target& target, const std::string& model, Findings* pNotes) {
    Zevrin::CameraInfo info;
    target.Check(target.camera.GetCameraInfo(&info));
    if (!model.empty() && model != info.modelName) {
        pNotes->push_back(
            {"camera.model", model, std::string("this camera is another model: ") + info.modelName});
    }
}

/// What the camera made of it. Numbers with a fraction are rounded by every camera, and of a raw and an
/// absolute value only one rules.
void Verify(const Json& document, const Json& now, LoadResult* pResult) {
    for (const ConfigChange& change : CompareConfigs(document, now)) {
        const std::string key = change.path.substr(change.path.rfind('.') + 1);
        const bool isRounded = change.to.is_number_float() || key == "raw" || key == "rawSecond" ||
                               key == "absolute" || key == "packetSize";
        Findings& list = isRounded ? pResult->notes : pResult->refused;
        list.push_back({change.path, change.to, "the camera made " + Quote(change.from) + " of it"});
    }
}

void PutBack(const Target& target, const ConfigPlan& undo, const Json& before, LoadResult* pResult) {
    const Findings stuck = ApplyConfig(undo);
    pResult->refused.insert(pResult->refused.end(), stuck.begin(), stuck.end());
    for (const ConfigChange& change : CompareConfigs(before, ReadConfig(target.camera).document)) {
        pResult->refused.push_back({change.path, change.from, "it could not be put back"});
        pResult->isApplied = true;
    }
}

void Apply(const Target& target, const Json& document, const ConfigPlan& plan, const Json& before,
           bool partial, LoadResult* pResult) {
    const ConfigPlan undo = PlanConfig(before, target.camera);
    const Findings failed = ApplyConfig(plan);
    pResult->refused.insert(pResult->refused.end(), failed.begin(), failed.end());
    if (failed.empty()) {
        Verify(document, ReadConfig(target.camera).document, pResult);
    }
    pResult->isApplied = partial || pResult->refused.empty();
    if (!pResult->isApplied) {
        PutBack(target, undo, before, pResult);
    }
}

/// A list of a thousand numbers is told by their count.
std::string ToCell(const Json& value) {
    return value.is_array() && value.size() > 8 ? std::to_string(value.size()) + " entries" : Quote(value);
}

void Show(const Target& target, const LoadRequest& request, const LoadResult& result) {
    std::vector<Facts> rows;
    for (const ConfigChange& change : result.changes) {
        rows.push_back({{"Setting", "path", change.path, ""},
                        {"From", "from", change.from, ToCell(change.from)},
                        {"To", "to", change.to, ToCell(change.to)}});
    }
    target.Show({{"", "file", request.path, ""},
                 {"", "dryRun", request.dryRun, ""},
                 {request.dryRun ? "Would be applied" : "Applied", "applied", result.isApplied, ""},
                 {"Changes", "", nullptr, std::to_string(rows.size())},
                 {"", "refused", ToJson(result.refused), ""},
                 {"", "notes", ToJson(result.notes), ""}},
                "changes", rows);
}

void Load(const Target& target, const LoadRequest& request) {
    const Json document = ReadJsonFile(request.path);
    LoadResult result;
    WarnOfModel(target, CheckConfigHead(document), &result.notes);
    const CameraConfig before = ReadConfig(target.camera);
    const ConfigPlan plan = PlanConfig(document, target.camera);
    result.refused = plan.refused;
    result.changes = CompareConfigs(document, before.document);
    const bool isAccepted = request.partial || plan.refused.empty();
    if (isAccepted && request.dryRun) {
        result.isApplied = true;
    } else if (isAccepted) {
        Apply(target, document, plan, before.document, request.partial, &result);
    }
    ComplainOf(target, result.notes);
    ComplainOf(target, result.refused);
    Show(target, request, result);
    if (!result.refused.empty()) {
        throw ToolFailure(kExitFailed, std::to_string(result.refused.size()) + " settings were refused" +
                                           (result.isApplied ? "" : "; the camera is left as it was"));
    }
}

constexpr char kFooter[] = R"(Examples:
  zevrin config save -o camera.json 1001
  zevrin config save -o camera.json 1001 && zevrin config load camera.json --dry-run 1001
)";

constexpr char kSaveFooter[] =
    R"(The file is there whole or not at all. Among the settings is how the library streams ("stream"), which is the
program's and not the camera's.

Examples:
  zevrin config save -o camera.json 1001
  zevrin config save 1002 > colour.json
)";

constexpr char kLoadFooter[] =
    R"(Every value is checked against the camera before anything is written; ranges that follow from the image format are
those of the present one. What is refused is told with its path, its value and what would be right; the camera is then
left as it was, or put back. What the file does not name stays as it is. For a property, "absoluteRules" says which of
"raw" and "absolute" is set.

Examples:
  zevrin config save -o camera.json 1001 && zevrin config load camera.json --dry-run 1001
  zevrin config save -o camera.json 1001 && zevrin --json config load camera.json 1001
)";

}  // namespace

void AddConfigVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb =
        AddVerb(app, "config", "Saves everything that can be set of a camera, and loads it", kFooter);
    pVerb->require_subcommand(1);

    CLI::App* const pSave = AddVerb(*pVerb, "save", "Saves the settings as JSON", kSaveFooter);
    auto pPath = std::make_shared<std::string>();
    auto pPartial = std::make_shared<bool>(false);
    pSave->add_option("-o,--output", *pPath, "File for the settings (default: standard output)")
        ->type_name("<file>");
    pSave->add_flag("--partial", *pPartial, "Saves what can be read when some settings cannot");
    WorkOnCamera(*pSave, tool, [=](const Target& target) { Save(target, *pPath, *pPartial); });

    CLI::App* const pLoad = AddVerb(*pVerb, "load", "Makes a camera as a file says", kLoadFooter);
    auto pRequest = std::make_shared<LoadRequest>();
    pLoad->add_option("FILE", pRequest->path, "File with the settings")->required();
    pLoad->add_flag("--dry-run", pRequest->dryRun, "Says what would be done, and does nothing");
    pLoad->add_flag("--partial", pRequest->partial, "Does what is accepted even if something is refused");
    WorkOnCamera(*pLoad, tool, [pRequest](const Target& target) { Load(target, *pRequest); });
}

}  // namespace ZevrinTool
