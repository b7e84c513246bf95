#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <iostream>
#include <memory>
#include <mutex>

#include "CameraVerb.h"
#include "CommandLine.h"
#include "Interruption.h"
#include "Numbers.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int kMaxCount = 1000000;
constexpr std::chrono::milliseconds kLookInterval(50);

struct EventsOptions {
    std::vector<std::string> names;  ///< empty: all
    unsigned int count = 0;          ///< 0: no limit
    double durationSeconds = 0;      ///< 0: no limit
    bool idle = false;
};

/// An event that outlives its callback.
struct Event {
    std::string name;
    unsigned int id;
    unsigned long long timeStamp;
    std::vector<unsigned char> data;
};

/// Takes events from the library's thread to the program's.
class EventQueue {
  public:
    static void OnEvent(const Zevrin::DeviceEvent* pEvent) {
        auto* const pSelf = const_cast<EventQueue*>(static_cast<const EventQueue*>(pEvent->userData));
        const std::lock_guard<std::mutex> lock(pSelf->m_mutex);
        pSelf->m_events.push_back(
            {pEvent->name, pEvent->id, pEvent->timeStamp, {pEvent->data, pEvent->data + pEvent->dataSize}});
        pSelf->m_changed.notify_one();
    }

    /// False when none came until `deadline`.
    bool Take(Clock::time_point deadline, Event* pEvent) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_changed.wait_until(lock, deadline, [this] { return !m_events.empty(); })) {
            return false;
        }
        *pEvent = std::move(m_events.front());
        m_events.pop_front();
        return true;
    }

  private:
    std::mutex m_mutex;  // guards the events
    std::condition_variable m_changed;
    std::deque<Event> m_events;
};

/// The names of the camera's events, in one text. Throws `ToolFailure` when it has none, with the reason.
std::string ListEvents(const Target& target) {
    if (!target.camera.InterfaceSupportsEvents()) {
        target.Lack(
            "device events: its interface must be GigE Vision or USB3 Vision; `zevrin list` shows it");
    }
    std::vector<std::string> names;
    target.Check(target.camera.GetEventNames(&names));
    if (names.empty()) {
        target.Lack("device events");
    }
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ", ") + Printable(name);
    }
    return list;
}

/// No event comes any more when it is gone.
class Registration {
  public:
    Registration(const Target& target, EventQueue* pQueue, const std::vector<std::string>& names)
        : m_camera(target.camera) {
        // The camera object gives no reason why a registration fails.
        const std::string known = ListEvents(target);
        Zevrin::EventOptions options;
        options.callback = EventQueue::OnEvent;
        options.userData = pQueue;
        if (names.empty()) {
            target.Check(m_camera.RegisterAllEvents(&options));
        }
        for (const std::string& name : names) {
            options.eventName = name.c_str();
            const Zevrin::Error error = m_camera.RegisterEvent(&options);
            if (error != Zevrin::ERR_OK) {
                Withdraw();
                // That it is registered already cannot be the reason here.
                throw ToolFailure(kExitFailed, NameOf(target.serialNumber) + " does not report an event \"" +
                                                   name + "\"; there are: " + known);
            }
        }
    }
    ~Registration() { Withdraw(); }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

  private:
    void Withdraw() {
        const Zevrin::Error ignored = m_camera.DeregisterAllEvents();
        static_cast<void>(ignored);  // none may have been registered
    }

    Zevrin::IidcCamera& m_camera;
};

std::string HexText(const std::vector<unsigned char>& data) {
    std::string text;
    for (const unsigned char byte : data) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned int>(byte));
        text += digits;
    }
    return text;
}

void ShowEvent(const Target& target, const Event& event) {
    if (target.tool.json) {
        PrintLine({{"serialNumber", target.serialNumber},
                   {"event", event.name},
                   {"id", event.id},
                   {"timeStampNs", event.timeStamp},
                   {"data", HexText(event.data)}});
        return;
    }
    char line[96];
    std::snprintf(line, sizeof line, "%16.6f s  0x%04X  ", static_cast<double>(event.timeStamp) * 1e-9,
                  event.id);
    std::cout << line << Printable(event.name) << "  " << HexText(event.data) << std::endl;
}

void ShowAll(const Target& target, const EventsOptions& options, EventQueue* pQueue) {
    const auto end = TimeAfter(options.durationSeconds);
    unsigned int count = 0;
    while (!IsInterrupted() && (options.count == 0 || count < options.count)) {
        const auto now = Clock::now();
        if (options.durationSeconds > 0 && now >= end) {
            break;
        }
        const auto slice = now + kLookInterval;
        Event event;
        if (pQueue->Take(options.durationSeconds > 0 ? std::min(end, slice) : slice, &event)) {
            ShowEvent(target, event);
            ++count;
        }
    }
    if (count < options.count) {
        const std::string tally =
            std::to_string(count) + " of " + std::to_string(options.count) + " events came";
        throw IsInterrupted()
            ? ToolFailure(kExitFailed, "stopped: " + tally)
            : ToolFailure(kExitTimeout, tally + " within " + RealText(options.durationSeconds) + " s");
    }
}

void Run(const Target& target, const EventsOptions& options) {
    CatchInterruptions();
    EventQueue queue;
    const Registration registration(target, &queue, options.names);
    std::unique_ptr<IdleStream> pStream;
    if (!options.idle) {
        pStream = std::make_unique<IdleStream>(target);  // without one there is little to tell
    }
    ShowAll(target, options, &queue);
}

constexpr char kFooter[] =
    R"(A line tells the time by the camera's own clock, the number of the event, its name, and its data. With --json,
each line is a document. Without limits it ends when it is interrupted.

GigE Vision cameras have events when their description does (EventSelector). Those of USB3 Vision cameras can be had
from simulated ones only, and cameras of other interfaces have none.

Examples:
  echo '{"cameras": [{"interface": "gige"}]}' > gige.json; zevrin --simulate gige.json events -n 10
  echo '{"cameras": [{"interface": "u3v"}]}' > u3v.json; zevrin --simulate u3v.json --json events --duration 0.5
  zevrin --simulate gige.json events --event ExposureEnd -n 3
)";

}  // namespace

void AddEventsVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(app, "events", "Shows device events as they come", kFooter);
    auto pOptions = std::make_shared<EventsOptions>();
    AddNumber(*pVerb, "-n,--count", "<events>", &pOptions->count, {1, kMaxCount, 1},
              "Ends after so many events, 1 to 1000000 (default: no limit)");
    AddSeconds(*pVerb, "--duration", &pOptions->durationSeconds,
               "Ends after this time in seconds, at most 10000000 (default: no limit)");
    AddText(
        *pVerb, "--event", "<name>",
        [pOptions](const std::string&, const std::string& text) { pOptions->names.push_back(text); },
        "Shows this event only, such as ExposureEnd (default: all events)");
    pVerb->add_flag("--idle", pOptions->idle,
                    "Does not start a stream, which otherwise lets the camera expose");
    WorkOnCamera(*pVerb, tool, [pOptions](const Target& target) { Run(target, *pOptions); });
}

}  // namespace ZevrinTool
