#include <cstdio>
#include <memory>

#include "CommandLine.h"
#include "Folder.h"
#include "Grabber.h"
#include "Interruption.h"
#include "Numbers.h"
#include "Output.h"
#include "Progress.h"
#include "Session.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Grabbers = std::vector<std::unique_ptr<Grabber>>;

constexpr unsigned int kMaxCount = 1000000;
constexpr unsigned int kMaxTimeoutMs = 3600000;
constexpr unsigned int kMaxBuffers = 4096;
constexpr unsigned int kMaxReconnectSeconds = 86400;

struct GrabOptions {
    GrabPlan plan;
    std::vector<unsigned int> named;
    bool all = false;
};

/// What can become of a frame that does not come.
struct Loss {
    const char* heading;
    const char* key;
    unsigned int Zevrin::CameraStats::*pCount;
};
constexpr Loss kLosses[] = {
    {"DROPPED", "dropped", &Zevrin::CameraStats::numImagesDropped},
    {"CORRUPT", "corrupt", &Zevrin::CameraStats::numImagesCorrupt},
    {"DRIVER-DROPPED", "driverDropped", &Zevrin::CameraStats::numImagesDriverDropped}};

std::string ImageText(const GrabOutcome& outcome) {
    return outcome.frames == 0 ? "-"
                               : std::to_string(outcome.width) + " x " + std::to_string(outcome.height) +
                                     " " + outcome.pixelFormat;
}

Json ToJson(unsigned int serialNumber, const GrabOutcome& outcome) {
    Json camera = {{"serialNumber", serialNumber}, {"frames", outcome.frames}, {"framesPerSecond", nullptr}};
    for (const Loss& loss : kLosses) {
        camera[loss.key] = outcome.losses ? Json((*outcome.losses).*loss.pCount) : Json();
    }
    camera.update({{"width", outcome.width},
                   {"height", outcome.height},
                   {"pixelFormat", outcome.pixelFormat},
                   {"files", outcome.files},
                   {"failure", nullptr}});
    if (outcome.framesPerSecond) {
        camera["framesPerSecond"] = *outcome.framesPerSecond;
    }
    if (!outcome.failure.empty()) {
        camera["failure"] = outcome.failure;
    }
    return camera;
}

void ShowOutcomes(const Tool& tool, const Grabbers& grabbers) {
    Table table({"SERIAL", "FRAMES", "RATE", kLosses[0].heading, kLosses[1].heading, kLosses[2].heading,
                 "FILES", "IMAGE"});
    Json cameras = Json::array();
    for (const auto& pGrabber : grabbers) {
        const GrabOutcome& outcome = pGrabber->Join();
        cameras.push_back(ToJson(pGrabber->GetSerialNumber(), outcome));
        std::vector<std::string> row = {std::to_string(pGrabber->GetSerialNumber()),
                                        std::to_string(outcome.frames), RateText(outcome.framesPerSecond)};
        for (const Loss& loss : kLosses) {
            row.push_back(outcome.losses ? std::to_string((*outcome.losses).*loss.pCount) : "-");
        }
        row.push_back(std::to_string(outcome.files.size()));
        row.push_back(ImageText(outcome));
        table.Add(row);
    }
    if (tool.json) {
        Print({{"cameras", cameras}});
    } else {
        table.Print();
    }
}

/// Every camera that ended early is named; the first decides the exit code.
void ReportFailures(const Grabbers& grabbers, unsigned int count) {
    const GrabOutcome* pFirst = nullptr;
    std::string text;
    for (const auto& pGrabber : grabbers) {
        const GrabOutcome& outcome = pGrabber->Join();
        if (outcome.exitCode != kExitGood) {
            text += (pFirst != nullptr ? "\nzevrin: " : "") + NameOf(pGrabber->GetSerialNumber()) + ": " +
                    outcome.failure + " (" + std::to_string(outcome.frames) + " of " + std::to_string(count) +
                    " frames were grabbed)";
            pFirst = pFirst != nullptr ? pFirst : &outcome;
        }
    }
    if (pFirst != nullptr) {
        throw ToolFailure(pFirst->exitCode, text);
    }
}

void Grab(const Tool& tool, const GrabOptions& options) {
    if (!options.plan.folder.empty()) {
        PrepareFolder(options.plan.folder);
        RequireNoRecording(options.plan.folder);
    }
    Session session(tool);
    Grabbers grabbers;
    for (const unsigned int serialNumber :
         options.all ? session.ChooseAll() : session.ChooseSeveral(options.named)) {
        grabbers.push_back(
            std::make_unique<Grabber>(serialNumber, session.Connect(serialNumber), options.plan));
    }
    CatchInterruptions();
    for (const auto& pGrabber : grabbers) {
        pGrabber->Start();
    }
    WaitForAll(grabbers, options.plan.count);
    ShowOutcomes(tool, grabbers);
    ReportFailures(grabbers, options.plan.count);
}

constexpr char kFooter[] =
    R"(Files are named <serial number>-<frame number>.png and are whole whenever they are there. Those of the same names
that an earlier run has left are replaced, others stay; a folder that holds a recording (index.jsonl) is not written to.

Of the frames that did not come, dropped ones were lost on their way, corrupt ones arrived incomplete, and
driver-dropped ones found no free buffer: more --buffers help.

Examples:
  zevrin --simulate 1 grab -n 20 -o images
  zevrin grab 1001 1002 -n 20 --buffers 20
  zevrin --json grab --all -n 5 --timeout 5000
  zevrin --simulate 1 grab -n 5 --reconnect 60
)";

}  // namespace

void AddGrabVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb =
        AddVerb(app, "grab", "Grabs images, from several cameras at the same time", kFooter);
    auto pOptions = std::make_shared<GrabOptions>();
    AddNumbers(*pVerb, "SERIAL", &pOptions->named, NumberRule(), "Serial numbers of the cameras");
    pVerb->add_flag("--all", pOptions->all, "Grabs from every camera that is there")
        ->excludes(pVerb->get_option("SERIAL"));
    AddNumber(*pVerb, "-n,--count", "<frames>", &pOptions->plan.count, {1, kMaxCount, 1},
              "Frames to grab from each camera, 1 to 1000000 (default: 10)");
    pVerb
        ->add_option("-o,--output", pOptions->plan.folder,
                     "Folder for PNG files, made when it is missing (default: no files are written)")
        ->type_name("<folder>");
    AddNumber(*pVerb, "--timeout", "<ms>", &pOptions->plan.timeoutMs, {1, kMaxTimeoutMs, 1},
              "Longest wait for one frame in milliseconds, 1 to 3600000 (default: 2000)");
    AddNumber(*pVerb, "--buffers", "<frames>", &pOptions->plan.buffers, {1, kMaxBuffers, 1},
              "Frames that may wait while files are written, 1 to 4096 (default: 10)");
    AddNumber(*pVerb, "--reconnect", "<s>", &pOptions->plan.reconnectSeconds, {1, kMaxReconnectSeconds, 1},
              "Waits so many seconds for a camera that went away, 1 to 86400, puts its settings back and "
              "goes on, and "
              "tells each step (default: it is not waited for)");
    pVerb->callback([&tool, pOptions] { tool.run = [&tool, pOptions] { Grab(tool, *pOptions); }; });
}

}  // namespace ZevrinTool
