#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>

#include <zevrin/InterfaceType.h>
#include <zevrin/SaveBytes.h>

#include "Choices.h"
#include "CommandLine.h"
#include "Folder.h"
#include "Interruption.h"
#include "Numbers.h"
#include "Output.h"
#include "PictureMetadata.h"
#include "Progress.h"
#include "Session.h"
#include "SyncGrabber.h"
#include "SyncOutput.h"
#include "SyncVerify.h"

namespace ZevrinTool {

namespace {

constexpr unsigned int kMaxCount = 100000;
constexpr unsigned int kMaxTimeoutMs = 3600000;
constexpr unsigned int kMaxRetries = 1000;
constexpr unsigned int kMaxQueueMiB = 65536;
constexpr std::size_t kMiB = 1024 * 1024;

enum Format : unsigned int { kPng, kRaw, kNone };
const Choices kFormats = {{"png", kPng}, {"raw", kRaw}, {"none", kNone}};

struct SyncOptions {
    SyncPlan plan;
    std::vector<unsigned int> named;
    std::string folder;
    std::string contactSheet;
    unsigned int format = kPng;
    unsigned int retries = 3;
    unsigned int queueMiB = 512;
};

using Cameras = std::vector<boost::shared_ptr<Zevrin::IidcCamera>>;

bool HasBusClock(const Zevrin::CameraListing& camera) {
    return camera.interfaceType != Zevrin::INTERFACE_GIGE && camera.interfaceType != Zevrin::INTERFACE_U3V;
}

/// All of one interface that has a bus clock, with a word on those left out. When none has, GigE Vision
/// cameras are left to the library to refuse.
std::vector<unsigned int> ChooseAllOnBuses(Session& session) {
    const std::vector<Zevrin::CameraListing> cameras = session.List();
    const auto first = std::find_if(cameras.begin(), cameras.end(), HasBusClock);
    if (first == cameras.end()) {
        if (!cameras.empty()) {
            Complain("no camera shares a bus clock with another: their stamps prove nothing");
        }
        return session.ChooseAll();
    }
    std::vector<unsigned int> chosen;
    for (const Zevrin::CameraListing& camera : cameras) {
        if (camera.interfaceType == first->interfaceType) {
            chosen.push_back(camera.serialNumber);
        } else {
            Complain(NameOf(camera.serialNumber) + " (" + Zevrin::GetInterfaceTypeName(camera.interfaceType) +
                     ") is left out: it shares no bus clock with " + NameOf(first->serialNumber) + " (" +
                     Zevrin::GetInterfaceTypeName(first->interfaceType) + ")");
        }
    }
    return chosen;
}

void StopAll(const Cameras& cameras) {
    for (const auto& pCamera : cameras) {
        const Zevrin::Error ignored = pCamera->StopCapture();  // those that did not start
        static_cast<void>(ignored);
    }
}

/// Failures that another attempt can turn into success.
bool IsWorthARetry(const Zevrin::Error& error) {
    return error == Zevrin::ERR_ISOCH_SYNC_FAILED || error == Zevrin::ERR_ISOCH_START_FAILED ||
           error == Zevrin::ERR_ISOCH_FAILED || error == Zevrin::ERR_TIMESTAMP_FAILED;
}

/// Returns how many attempts it took.
unsigned int StartInStep(const Cameras& cameras, unsigned int retries) {
    const std::vector<boost::shared_ptr<Zevrin::CameraInternal>> all(cameras.begin(), cameras.end());
    for (unsigned int attempt = 1;; ++attempt) {
        const Zevrin::Error error = Zevrin::CameraInternal::StartSyncCapture(
            static_cast<unsigned int>(all.size()), all, nullptr, nullptr);
        if (error == Zevrin::ERR_OK) {
            return attempt;
        }
        StopAll(cameras);
        if (error == Zevrin::ERR_NOT_SUPPORTED) {
            Check(error, "GigE Vision cameras share no bus clock and cannot be started in step");
        }
        const std::string what = "start " + std::to_string(attempt) + " of at most " +
                                 std::to_string(retries + 1) + " failed: " + error.GetDescription();
        if (IsInterrupted() || attempt > retries || !IsWorthARetry(error)) {
            throw ToolFailure(ExitCodeOf(error), what);
        }
        Complain(what + " Starting again.");
    }
}

/// The cameras of a run, and all that came of it.
class SyncRun {
  public:
    SyncRun(const SyncOptions& options, const std::vector<unsigned int>& serialNumbers,
            const Cameras& cameras)
        : m_options(options), m_sheet(serialNumbers.size()), m_pool(options.queueMiB * kMiB) {
        m_index.cameras = serialNumbers;
        for (std::size_t i = 0; i < cameras.size(); ++i) {
            m_metadata.push_back(ReadMetadata(*cameras[i], serialNumbers[i]));
        }
    }
    /// Nothing is handed over any more when the pool ends.
    ~SyncRun() { EndGrabbing(); }
    SyncRun(const SyncRun&) = delete;
    SyncRun& operator=(const SyncRun&) = delete;

    void Grab(const Cameras& cameras) {
        for (std::size_t i = 0; i < cameras.size(); ++i) {
            m_grabbers.push_back(
                std::make_unique<SyncGrabber>(m_metadata[i], cameras[i], m_options.plan, &m_pool,
                                              m_options.contactSheet.empty() ? nullptr : &m_sheet));
        }
        for (const auto& pGrabber : m_grabbers) {
            pGrabber->Start();
        }
        WaitForAll(m_grabbers, m_options.plan.count);
        EndGrabbing();
        m_pool.Finish();
        for (const auto& pGrabber : m_grabbers) {
            const auto& entries = pGrabber->GetEntries();
            m_index.entries.insert(m_index.entries.end(), entries.begin(), entries.end());
        }
    }

    SyncIndex& GetIndex() { return m_index; }

    unsigned int CountRefused() const {
        unsigned int refused = 0;
        for (const auto& pGrabber : m_grabbers) {
            refused += pGrabber->CountRefused();
        }
        return refused;
    }

    void SaveContactSheet(const Zevrin::SyncReport& report) const {
        if (!m_options.contactSheet.empty()) {
            m_sheet.Save(report, RecordsOf(m_index), m_options.contactSheet);
        }
    }

    /// Every camera that ended early is named, and whatever was not written.
    void ReportFailures() const {
        ExitCode exitCode = kExitGood;
        std::string text;
        const auto add = [&](ExitCode code, const std::string& line) {
            exitCode = exitCode == kExitGood ? code : exitCode;
            text += (text.empty() ? "" : "\nzevrin: ") + line;
        };
        for (const auto& pGrabber : m_grabbers) {
            const WorkEnd& end = pGrabber->Join();
            if (end.exitCode != kExitGood) {
                add(end.exitCode, NameOf(pGrabber->GetSerialNumber()) + ": " + end.failure + " (" +
                                      std::to_string(pGrabber->CountFrames()) + " of " +
                                      std::to_string(m_options.plan.count) + " images were grabbed)");
            }
            if (const std::string failure = pGrabber->GetWriteFailure(); !failure.empty()) {
                add(kExitFailed, NameOf(pGrabber->GetSerialNumber()) + ": " + failure);
            }
        }
        if (const unsigned int refused = CountRefused(); refused > 0) {
            add(kExitFailed, std::to_string(refused) +
                                 " images were not written: more than --queue allows were waiting for it");
        }
        if (exitCode != kExitGood) {
            throw ToolFailure(exitCode, text);
        }
    }

  private:
    void EndGrabbing() {
        for (const auto& pGrabber : m_grabbers) {
            pGrabber->Stop();
        }
        for (const auto& pGrabber : m_grabbers) {
            pGrabber->Join();
        }
    }

    const SyncOptions& m_options;
    SyncIndex m_index;
    std::vector<Zevrin::ImageMetadata> m_metadata;
    std::vector<std::unique_ptr<SyncGrabber>> m_grabbers;
    ContactSheet m_sheet;
    WriterPool m_pool;  // ends before what its work is for
};

constexpr char kReportJson[] = "/report.json";
constexpr char kReportPage[] = "/report.html";

void Save(const std::string& text, const std::string& path) {
    Check(Zevrin::SaveBytes(text.data(), text.size(), path));
}

/// What is written at the end must not fail there.
void PrepareOutput(const SyncOptions& options) {
    namespace fs = std::filesystem;
    if (!options.folder.empty()) {
        PrepareFolder(options.folder);
        RequireNoRecording(options.folder);
    }
    if (!options.contactSheet.empty()) {
        const fs::path folder = fs::path(options.contactSheet).parent_path();
        PrepareFolder(folder.empty() ? "." : folder.string());
        if (fs::is_directory(options.contactSheet)) {
            throw ToolFailure(kExitFailed,
                              "the contact sheet \"" + Printable(options.contactSheet) + "\" is a folder");
        }
    }
}

std::string MakeTitle(const std::vector<unsigned int>& serialNumbers) {
    std::string title = "Synchronized run of cameras ";
    for (std::size_t i = 0; i < serialNumbers.size(); ++i) {
        title += (i == 0                          ? ""
                  : i + 1 == serialNumbers.size() ? " and "
                                                  : ", ") +
                 std::to_string(serialNumbers[i]);
    }
    return title;
}

void Sync(const Tool& tool, SyncOptions options) {
    if (options.format != kNone) {
        options.plan.folder = options.folder;
        options.plan.suffix = options.format == kRaw ? ".raw" : ".png";
    }
    Session session(tool);
    const std::vector<unsigned int> serialNumbers =
        options.named.empty() ? ChooseAllOnBuses(session) : session.ChooseSeveral(options.named);
    Cameras cameras;
    for (const unsigned int serialNumber : serialNumbers) {
        cameras.push_back(session.Connect(serialNumber));
    }
    CatchInterruptions();
    PrepareOutput(options);
    SyncRun run(options, serialNumbers,
                cameras);  // before they stream: it makes threads, and reads registers
    const unsigned int attempts = StartInStep(cameras, options.retries);
    run.Grab(cameras);
    if (run.GetIndex().entries.empty()) {
        run.ReportFailures();  // and there is no recording
    }
    if (!options.folder.empty()) {
        Save(FormatSyncIndex(run.GetIndex()), options.folder + "/" + kIndexName);
    }
    const auto notWritten = CountUnwritten(run.GetIndex());
    SyncProblems problems;
    SetBadStampsAside(&run.GetIndex(), &problems);
    problems.Complain();
    const Zevrin::SyncReport report = Analyze(run.GetIndex());
    if (!options.folder.empty()) {
        Save(Zevrin::FormatSyncReportAsJson(report), options.folder + kReportJson);
        Save(Zevrin::FormatSyncReportAsHtml(report, MakeTitle(serialNumbers)), options.folder + kReportPage);
    }
    ShowSyncReport(tool, report,
                   {{"attempts", attempts}, {"notWritten", notWritten}, {"problems", problems.GetLines()}});
    run.SaveContactSheet(report);
    run.ReportFailures();
    Conclude(run.GetIndex(), report, problems);
}

constexpr char kFooter[] =
    R"(Without serial numbers it takes all cameras of the first interface that has a bus clock, and says which it leaves
out; GigE Vision and USB3 Vision cameras have none. They must be on one bus. The first one is what the others are
compared with. LATE are images that came after one that was taken later, TWICE those that came again.

The folder gets the images, index.jsonl with the time stamp of each, report.json and report.html. A folder that holds
a recording is not written to again.

Examples:
  zevrin sync -n 5
  zevrin sync 1002 1001 -n 5 -o run --contact-sheet run/sheet.png
  zevrin sync verify run
)";

void AddOptions(CLI::App& verb, SyncOptions* pOptions) {
    AddNumbers(verb, "SERIAL", &pOptions->named, NumberRule(), "Serial numbers of the cameras");
    AddNumber(verb, "-n,--count", "<sets>", &pOptions->plan.count, {1, kMaxCount, 1},
              "Images to grab from each camera, 1 to 100000 (default: 200)");
    verb.add_option(
            "-o,--output", pOptions->folder,
            "Folder for images, index and report, made when it is missing (default: nothing is written)")
        ->type_name("<folder>");
    AddChoice(
        verb, "--format", "<format>", [pOptions](unsigned int value) { pOptions->format = value; }, kFormats,
        "Form of the images: png, raw (the bytes as they are) or none (default: png)");
    verb.add_option("--contact-sheet", pOptions->contactSheet,
                    "PNG file that shows images of some sets side by side (default: none)")
        ->type_name("<file>");
    AddNumber(verb, "--retries", "<times>", &pOptions->retries, {0, kMaxRetries, 1},
              "Starts again when the cameras did not start in step, 0 to 1000 times (default: 3)");
    AddNumber(verb, "--timeout", "<ms>", &pOptions->plan.timeoutMs, {1, kMaxTimeoutMs, 1},
              "Longest wait for one image in milliseconds, 1 to 3600000 (default: 2000)");
    AddNumber(verb, "--queue", "<MiB>", &pOptions->queueMiB, {1, kMaxQueueMiB, 1},
              "Memory for images that wait to be written in MiB, 1 to 65536 (default: 512)");
}

}  // namespace

void AddSyncVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb =
        AddVerb(app, "sync", "Starts cameras in step, grabs, and proves that they are in step", kFooter);
    auto pOptions = std::make_shared<SyncOptions>();
    AddOptions(*pVerb, pOptions.get());
    const std::vector<CLI::Option*> options = pVerb->get_options();
    CLI::App* const pVerify = AddSyncVerifyVerb(*pVerb, tool);
    for (CLI::Option* const pOption : options) {
        if (pOption != pVerb->get_help_ptr()) {
            pVerify->excludes(pOption);
        }
    }
    pVerb->callback([&tool, pOptions, pVerify] {
        if (!pVerify->parsed()) {
            tool.run = [&tool, pOptions] { Sync(tool, *pOptions); };
        }
    });
}

}  // namespace ZevrinTool
