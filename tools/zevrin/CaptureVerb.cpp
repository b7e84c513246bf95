#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <memory>
#include <thread>

#include <zevrin/ImageFile.h>

#include "CommandLine.h"
#include "Folder.h"
#include "Formats.h"
#include "Interruption.h"
#include "Numbers.h"
#include "Output.h"
#include "PictureWriter.h"
#include "Session.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr unsigned int kMaxCount = 1000000000;
constexpr unsigned int kMaxTimeoutMs = 3600000;
constexpr unsigned int kMaxQueue = 4000;
constexpr unsigned int kMaxWriters = 64;
constexpr unsigned int kMaxMebibytes = 1U << 30;
constexpr std::chrono::milliseconds kLookInterval(50);
constexpr std::chrono::milliseconds kShowInterval(250);
constexpr double kMebibyte = 1 << 20;
constexpr double kGibibyte = 1 << 30;

struct CaptureOptions {
    RecordPlan plan;
    std::vector<unsigned int> named;
    bool all = false;
    double durationSeconds = 0;  ///< 0: no limit
};

const Choices& FileFormats() {
    static const Choices choices = [] {
        Choices made;
        for (const std::string& suffix : Zevrin::GetImageFileSuffixes()) {
            made.push_back({suffix.substr(1), static_cast<unsigned int>(made.size())});
        }
        return made;
    }();
    return choices;
}

/// A line that is written over, while somebody looks at it.
class LiveLine {
  public:
    void Show(const Recorders& recorders, const WriteQueue& queue, const RecordPlan& plan) {
        const Clock::time_point now = Clock::now();
        if (!m_isTerminal || now - m_last < kShowInterval) {
            return;
        }
        unsigned long long delivered = 0;
        unsigned long long written = 0;
        unsigned long long dropped = 0;
        for (const auto& pRecorder : recorders) {
            const ShotCounts& counts = pRecorder->GetCounts();
            delivered += counts.delivered;
            written += counts.written;
            dropped += counts.queueDropped;
        }
        const double seconds = Seconds(now - m_last).count();
        const double rate = m_hasLast ? static_cast<double>(delivered - m_delivered) / seconds : 0;
        m_smoothRate = m_smoothRate == 0 ? rate : 0.8 * m_smoothRate + 0.2 * rate;
        const QueueFill fill = queue.GetFill();
        char line[160];
        std::snprintf(line, sizeof line,
                      "\r\x1b[K%.1f fps, %llu written, %llu dropped, queue %u/%zu (%.1f MiB), %.1f GiB free",
                      m_smoothRate, written, dropped, fill.frames,
                      plan.queue.framesPerCamera * recorders.size(),
                      static_cast<double>(fill.bytes) / kMebibyte,
                      static_cast<double>(GetFreeSpace(plan.folder)) / kGibibyte);
        std::cerr << line << std::flush;
        m_last = now;
        m_delivered = delivered;
        m_hasLast = true;
    }

    bool IsShown() const { return m_hasLast; }

    ~LiveLine() {
        if (m_hasLast) {
            std::cerr << "\r\x1b[K" << std::flush;  // the table takes the line's place
        }
    }

  private:
    const bool m_isTerminal = isatty(STDERR_FILENO) == 1;
    Clock::time_point m_last;
    unsigned long long m_delivered = 0;
    double m_smoothRate = 0;
    bool m_hasLast = false;
};

/// What ended a recording.
enum class End { kFailure, kCount, kDuration, kInterruption };
constexpr const char* kEndNames[] = {"failure", "count", "duration", "interruption"};

bool AreDone(const Recorders& recorders) {
    return std::all_of(recorders.begin(), recorders.end(),
                       [](const auto& pRecorder) { return pRecorder->IsDone(); });
}

/// Until the cameras have what was asked for, or something ends it sooner.
End WaitForEnd(const CaptureOptions& options, const RecordShare& share, const Recorders& recorders) {
    LiveLine live;
    const Clock::time_point begin = Clock::now();
    End end = End::kCount;
    while (!AreDone(recorders)) {
        const bool isOver =
            options.durationSeconds > 0 && Clock::now() - begin >= Seconds(options.durationSeconds);
        if (!share.stop && (isOver || IsInterrupted())) {
            end = isOver ? End::kDuration : End::kInterruption;
            share.stop = true;
        }
        live.Show(recorders, share.queue, options.plan);
        std::this_thread::sleep_for(kLookInterval);
    }
    share.queue.Close();
    while (share.queue.GetFill().frames > 0 && live.IsShown()) {  // what waits is still written
        live.Show(recorders, share.queue, options.plan);
        std::this_thread::sleep_for(kLookInterval);
    }
    return end;
}

/// What is known of a camera's frames, for programs and, as far as it is labelled, for people.
Facts Describe(Recorder& recorder) {
    const RecordOutcome& outcome = recorder.Join();
    const ShotCounts& counts = recorder.GetCounts();
    const auto lost = [&outcome](unsigned int Zevrin::CameraStats::*pCounter) {
        return outcome.losses ? Json((*outcome.losses).*pCounter) : Json();
    };
    const bool isAny = counts.delivered != 0;
    const std::string size = std::to_string(outcome.width) + " x " + std::to_string(outcome.height);
    return {
        {"Serial", "serialNumber", recorder.GetSerialNumber(), ""},
        {"Delivered", "delivered", counts.delivered.load(), ""},
        {"Written", "written", counts.written.load(), ""},
        {"Skipped", "skipped", counts.skipped.load(), ""},
        {"Queue full", "droppedByQueue", counts.queueDropped.load(), ""},
        {"Unwritten", "unwritten", counts.unwritten.load(), ""},
        {"Corrupt", "corrupt", lost(&Zevrin::CameraStats::numImagesCorrupt), ""},
        {"Lost", "lost", lost(&Zevrin::CameraStats::numImagesDropped), ""},
        {"Driver", "driverDropped", lost(&Zevrin::CameraStats::numImagesDriverDropped), ""},
        {"Rate", "framesPerSecond", outcome.framesPerSecond ? Json(*outcome.framesPerSecond) : Json(),
         RateText(outcome.framesPerSecond)},
        {"", "width", outcome.width, ""},
        {"", "height", outcome.height, ""},
        {"Image", "pixelFormat", outcome.pixelFormat, isAny ? size + " " + outcome.pixelFormat : "-"},
        {"", "failure", outcome.failure.empty() ? Json() : Json(outcome.failure), ""},
    };
}

void ShowSummary(const Tool& tool, const CaptureOptions& options, const Recorders& recorders,
                 const PictureWriter& writer, const WriteQueue& queue, End end) {
    std::vector<Facts> rows;
    Json cameras = Json::array();
    for (const auto& pRecorder : recorders) {
        rows.push_back(Describe(*pRecorder));
        cameras.push_back(ToJson(rows.back()));
    }
    if (!tool.json) {
        PrintRows(rows);
        return;
    }
    const QueueFill highest = queue.GetHighest();
    const std::string failure = writer.GetFailure();
    Print({{"cameras", cameras},
           {"folder", options.plan.folder},
           {"index", writer.CountBytes() != 0 ? Json(writer.GetIndexPath()) : Json()},
           {"bytes", writer.CountBytes()},
           {"highestQueue", {{"frames", highest.frames}, {"bytes", highest.bytes}}},
           {"end", kEndNames[static_cast<int>(end)]},
           {"failure", failure.empty() ? Json() : Json(failure)}});
}

/// The exit code tells whether there is what was asked for. Without a count or a duration, an interruption is
/// how a recording ends.
void ReportEnd(const CaptureOptions& options, const Recorders& recorders, const PictureWriter& writer,
               End end) {
    std::string failure = writer.GetFailure();
    if (!failure.empty()) {
        failure.erase(failure.find_last_not_of('.') + 1);
        throw ToolFailure(kExitFailed,
                          failure + (writer.CountBytes() != 0
                                         ? "; what was written is whole, and in " + writer.GetIndexPath()
                                         : "; nothing was written"));
    }
    for (const auto& pRecorder : recorders) {
        const RecordOutcome& outcome = pRecorder->Join();
        if (outcome.exitCode != kExitGood) {
            throw ToolFailure(outcome.exitCode,
                              NameOf(pRecorder->GetSerialNumber()) + " ended early: " + outcome.failure);
        }
    }
    if (end == End::kInterruption && (options.plan.count != 0 || options.durationSeconds > 0)) {
        throw ToolFailure(kExitFailed, "stopped before the end");
    }
}

/// Nothing is begun that cannot be written.
void RequireSavable(const RecordPlan& plan) {
    const Zevrin::Error error =
        plan.pixelFormat ? TryToSave(*plan.pixelFormat, std::nullopt, plan.suffix) : Zevrin::Error();
    if (error != Zevrin::ERR_OK) {
        throw ToolFailure(kExitUsage, std::string("--pixels ") +
                                          Zevrin::GetPixelFormatName(*plan.pixelFormat) + " with --format " +
                                          plan.suffix.substr(1) + ": " + error.GetDescription());
    }
}

void RequireSavable(const RecordPlan& plan, Zevrin::IidcCamera& camera, unsigned int serialNumber) {
    const std::optional<Zevrin::PixelFormat> format = ReadPixelFormat(camera);
    if (format) {
        Check(TryToSave(*format, plan.pixelFormat, plan.suffix), NameOf(serialNumber));
    }
}

void Capture(const Tool& tool, const CaptureOptions& options) {
    if (options.plan.intervalSeconds > 0 && options.plan.burst == 0) {
        throw ToolFailure(kExitUsage, "--interval is between bursts; it needs --burst");
    }
    RequireSavable(options.plan);
    PrepareFolder(options.plan.folder);
    RequireNoRecording(options.plan.folder);
    Session session(tool);
    const std::vector<unsigned int> chosen =
        options.all ? session.ChooseAll() : session.ChooseSeveral(options.named);
    std::vector<boost::shared_ptr<Zevrin::IidcCamera>> cameras;
    for (const unsigned int serialNumber : chosen) {
        cameras.push_back(session.Connect(serialNumber));
        RequireSavable(options.plan, *cameras.back(), serialNumber);
    }
    CatchInterruptions();
    CatchTriggers();
    std::atomic<bool> stop{false};
    const BurstClock bursts(options.plan.intervalSeconds);
    WriteQueue queue(options.plan.queue, cameras.size());
    const RecordShare share{options.plan, bursts, queue, stop};
    Recorders recorders;
    for (std::size_t index = 0; index < cameras.size(); ++index) {
        recorders.push_back(std::make_unique<Recorder>(index, chosen[index], cameras[index], share));
    }
    PictureWriter writer(share, recorders);
    writer.Start();
    for (const auto& pRecorder : recorders) {
        pRecorder->Start();
    }
    End end = WaitForEnd(options, share, recorders);
    writer.Join();
    const auto hasFailed = [](const auto& pRecorder) { return pRecorder->Join().exitCode != kExitGood; };
    if (!writer.GetFailure().empty() || std::any_of(recorders.begin(), recorders.end(), hasFailed)) {
        end = End::kFailure;
    }
    ShowSummary(tool, options, recorders, writer, queue, end);
    ReportEnd(options, recorders, writer, end);
}

constexpr char kFooter[] =
    R"(Files are named <serial number>-<frame number>.<format>; a number that comes again, as of a frame that arrived
twice, becomes <frame number>-2. index.jsonl in the same folder has a line of JSON for each file, written when the file
is whole. A folder that holds a recording is not written to again.

Frames wait in a queue for the threads that write them. A frame that finds it full is dropped and counted. On a
terminal the rate, the drops, the queue and the free space are shown while it records.

Frames to keep are counted by the camera's own numbers: --every 10 keeps one of ten, also when some get lost. --burst 5
keeps five frames and then none until the next burst begins: --interval seconds after the one before began, or when the
process gets SIGUSR1. A burst that is still under way is cut short by the next.

It ends with --count, --duration, or SIGINT or SIGTERM (Ctrl-C), after which what waits is still written; and when the
disk is full or a file cannot be written, with exit code 1.

In the table, "skipped" are frames that were not asked for, "queue full" those that were dropped before the queue,
"unwritten" those given up since the disk was full or a file could not be written, "driver" those that found no buffer
of the stream or waited in it at the end, "lost" those that never arrived.

Examples:
  zevrin --simulate 1 capture -n 20 -o recording
  zevrin --simulate 2 capture --all --duration 1 --every 3 --format pgm -o every-third
  zevrin --simulate 1 --json capture -n 10 --burst 5 --interval 0.5 --format raw --queue 100 -o bursts
)";

void AddLimits(CLI::App& verb, CaptureOptions* pOptions) {
    RecordPlan& plan = pOptions->plan;
    AddNumber(verb, "-n,--count", "<frames>", &plan.count, {1, kMaxCount, 1},
              "Frames to keep of each camera, 1 to 1000000000 (default: no limit)");
    AddSeconds(verb, "--duration", &pOptions->durationSeconds,
               "Ends after this time in seconds, at most 10000000 (default: no limit)");
    AddNumber(verb, "--every", "<n>", &plan.every, {1, kMaxCount, 1},
              "Keeps one frame of so many, 1 to 1000000000 (default: 1)");
    AddNumber(verb, "--burst", "<frames>", &plan.burst, {1, kMaxCount, 1},
              "Keeps so many frames, 1 to 1000000000, then none until the next burst (default: no bursts)");
    AddSeconds(verb, "--interval", &plan.intervalSeconds,
               "From the beginning of a burst to the next in seconds, at most 10000000 (default: bursts "
               "begin with SIGUSR1)");
    AddNumber(
        verb, "--timeout", "<ms>", &plan.timeoutMs, {0, kMaxTimeoutMs, 1},
        "Longest wait for one frame in milliseconds, 1 to 3600000; 0: no limit, as for a camera that waits "
        "for triggers (default: 10000)");
}

void AddFiles(CLI::App& verb, CaptureOptions* pOptions) {
    RecordPlan& plan = pOptions->plan;
    verb.add_option("-o,--output", plan.folder, "Folder for the files, made when it is missing")
        ->type_name("<folder>")
        ->required();
    AddChoice(
        verb, "--format", "<format>",
        [&plan](unsigned int value) { plan.suffix = Zevrin::GetImageFileSuffixes()[value]; }, FileFormats(),
        "Format of the files: " + ListWords(FileFormats()) + " (default: png)");
    AddChoice(
        verb, "--pixels", "<format>",
        [&plan](unsigned int value) { plan.pixelFormat = static_cast<Zevrin::PixelFormat>(value); },
        ConvertedFormats(),
        "Converts to a pixel format: " + ListWords(ConvertedFormats()) + " (default: as they come)");
    const auto addMebibytes = [&verb](const char* name, unsigned long long* pBytes, const NumberRule& rule,
                                      const char* help) {
        AddNumber(
            verb, name, "<MiB>", [pBytes](unsigned int value) { *pBytes = 1ULL * value << 20; }, rule, help);
    };
    AddNumber(verb, "--queue", "<frames>", &plan.queue.framesPerCamera, {1, kMaxQueue, 1},
              "Frames of each camera that may wait to be written, 1 to 4000 (default: 32)");
    addMebibytes("--queue-size", &plan.queue.bytes, {1, kMaxMebibytes, 1},
                 "Memory of the frames of all cameras that may wait in MiB, 1 to 1073741824 (default: 512)");
    AddNumber(verb, "--writers", "<threads>", &plan.writers, {1, kMaxWriters, 1},
              "Threads that write, 1 to 64 (default: 2)");
    addMebibytes("--keep-free", &plan.keepFree, {0, kMaxMebibytes, 1},
                 "Ends when the disk would have less than this free in MiB, 0 to 1073741824 (default: 100)");
}

}  // namespace

void AddCaptureVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(
        app, "capture", "Records images to files, from several cameras and for as long as wanted", kFooter);
    auto pOptions = std::make_shared<CaptureOptions>();
    AddNumbers(*pVerb, "SERIAL", &pOptions->named, NumberRule(), "Serial numbers of the cameras");
    pVerb->add_flag("--all", pOptions->all, "Records from every camera that is there")
        ->excludes(pVerb->get_option("SERIAL"));
    AddLimits(*pVerb, pOptions.get());
    AddFiles(*pVerb, pOptions.get());
    pVerb->callback([&tool, pOptions] { tool.run = [&tool, pOptions] { Capture(tool, *pOptions); }; });
}

}  // namespace ZevrinTool
