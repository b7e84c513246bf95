#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <system_error>
#include <thread>

#include "CommandLine.h"
#include "Grabber.h"
#include "Interruption.h"
#include "Numbers.h"
#include "Output.h"
#include "Session.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Grabbers = std::vector<std::unique_ptr<Grabber>>;

constexpr unsigned int kMaxCount = 1000000;
constexpr unsigned int kMaxTimeoutMs = 3600000;
constexpr unsigned int kMaxBuffers = 4096;
constexpr std::chrono::milliseconds kLookInterval(50);
constexpr std::size_t kProgressWidth = 79;

struct GrabOptions {
    GrabPlan plan;
    std::vector<unsigned int> named;
    bool all = false;
};

/// Before a camera is touched: a folder that cannot be written to is no reason to start a stream.
void PrepareFolder(const std::string& folder) {
    std::error_code problem;
    std::filesystem::create_directories(folder, problem);
    if (!std::filesystem::is_directory(folder)) {
        const std::string reason = problem ? problem.message() : "it is no folder";
        throw ToolFailure(kExitFailed, "the folder \"" + folder + "\" cannot be made: " + reason);
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        throw ToolFailure(kExitFailed, "the folder \"" + folder + "\" cannot be written to: " +
                                           std::generic_category().message(errno));
    }
}

std::vector<unsigned int> ChooseAll(Session& session, const GrabOptions& options) {
    if (!options.all) {
        const std::set<unsigned int> distinct(options.named.begin(), options.named.end());
        if (distinct.size() != options.named.size()) {
            throw ToolFailure(kExitUsage, "a serial number is given twice");
        }
        return session.Choose(options.named);
    }
    std::vector<unsigned int> all;
    for (const Zevrin::CameraListing& camera : session.List()) {
        all.push_back(camera.serialNumber);
    }
    return all.empty() ? session.Choose({}) : all;
}

/// One line, for each camera as long as there is room.
void ShowProgress(const Grabbers& grabbers, unsigned int count) {
    std::string line;
    unsigned long long sum = 0;
    for (const auto& pGrabber : grabbers) {
        sum += pGrabber->CountFrames();
        line += std::to_string(pGrabber->GetSerialNumber()) + ": " + std::to_string(pGrabber->CountFrames()) +
                "/" + std::to_string(count) + "  ";
    }
    if (line.size() > kProgressWidth) {
        line = std::to_string(grabbers.size()) + " cameras: " + std::to_string(sum) + "/" +
               std::to_string(1ULL * count * grabbers.size());
    }
    std::cerr << "\r" + line << std::flush;
}

void WaitForAll(const Grabbers& grabbers, unsigned int count) {
    const bool onTerminal = isatty(STDERR_FILENO) == 1;
    const auto isDone = [](const auto& pGrabber) { return pGrabber->IsDone(); };
    while (!std::all_of(grabbers.begin(), grabbers.end(), isDone)) {
        if (IsInterrupted()) {
            std::for_each(grabbers.begin(), grabbers.end(), [](const auto& pGrabber) { pGrabber->Stop(); });
        }
        if (onTerminal) {
            ShowProgress(grabbers, count);
        }
        std::this_thread::sleep_for(kLookInterval);
    }
    if (onTerminal) {
        std::cerr << "\r\x1b[K" << std::flush;  // the table takes the line's place
    }
}

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

std::string RateText(const GrabOutcome& outcome) {
    char text[32] = "-";
    if (outcome.framesPerSecond) {
        std::snprintf(text, sizeof text, "%.2f fps", *outcome.framesPerSecond);
    }
    return text;
}

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
                                        std::to_string(outcome.frames), RateText(outcome)};
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
    }
    Session session(tool);
    Grabbers grabbers;
    for (const unsigned int serialNumber : ChooseAll(session, options)) {
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
    R"(Files are named <serial number>-<frame number>.png and are whole whenever they are there. Of the frames
that did not come, dropped ones were lost on their way, corrupt ones arrived incomplete, and driver-dropped ones
found no free buffer: more --buffers help.

Examples:
  zevrin --simulate 1 grab -n 20 -o images
  zevrin grab 1001 1002 -n 20 --buffers 20
  zevrin --json grab --all -n 5 --timeout 5000
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
    pVerb->callback([&tool, pOptions] { tool.run = [&tool, pOptions] { Grab(tool, *pOptions); }; });
}

}  // namespace ZevrinTool
