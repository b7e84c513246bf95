#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>

#include "CommandLine.h"
#include "Interruption.h"
#include "Numbers.h"
#include "Output.h"
#include "Session.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr std::chrono::milliseconds kLookInterval(1000);

struct ListOptions {
    bool watch = false;
    double durationSeconds = 0;  ///< 0: no limit
};

void ShowChange(const Tool& tool, const Zevrin::CameraListing& camera, bool isPresent) {
    if (tool.json) {
        Json change = {{"change", isPresent ? "arrived" : "gone"}};
        change.update(ToJson(camera));
        PrintLine(change);
        return;
    }
    std::cout << (isPresent ? "arrived  " : "gone     ") << camera.serialNumber << "  "
              << Zevrin::GetInterfaceTypeName(camera.interfaceType) << "  " << camera.modelName << "  "
              << camera.address << std::endl;
}

/// Networks tell of no change: they are looked at again and again. The library calls one at a time.
void Watch(const Tool& tool, const ListOptions& options) {
    using Clock = std::chrono::steady_clock;
    Session session(tool);
    CatchInterruptions();
    session.Watch([&tool](const Zevrin::CameraListing& camera, bool isPresent) {
        ShowChange(tool, camera, isPresent);
    });
    const auto end = TimeAfter(options.durationSeconds);
    do {
        session.Rescan();
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        WaitFor(options.durationSeconds > 0 ? std::min(left, kLookInterval) : kLookInterval);
    } while (!IsInterrupted() && (options.durationSeconds == 0 || Clock::now() < end));
}

void List(const Tool& tool) {
    Session session(tool);
    const std::vector<Zevrin::CameraListing> cameras = session.List();
    for (const Zevrin::CameraListing& camera : session.GetLeftOut()) {
        Complain("the camera at " + camera.address + " is left out: serial number " +
                 std::to_string(camera.serialNumber) + " is taken");
    }
    if (tool.json) {
        Json list = Json::array();
        for (const Zevrin::CameraListing& camera : cameras) {
            list.push_back(ToJson(camera));
        }
        Print({{"cameras", list}});
        return;
    }
    if (cameras.empty()) {
        Complain("no camera was found (--simulate 1 makes one)");
        return;
    }
    Table table({"SERIAL", "INTERFACE", "VENDOR", "MODEL", "ADDRESS"});
    for (const Zevrin::CameraListing& camera : cameras) {
        table.Add({std::to_string(camera.serialNumber), Zevrin::GetInterfaceTypeName(camera.interfaceType),
                   camera.vendorName, camera.modelName, camera.address});
    }
    table.Print();
}

constexpr char kFooter[] =
    R"(With --watch, cameras that are there when it begins are told as arrived; with --json, each line is a document then.
It ends when it is interrupted.

Examples:
  zevrin list
  zevrin --simulate 4 list
  zevrin --json list
  zevrin --simulate 2 list --watch --duration 0.5
)";

}  // namespace

void AddListVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(app, "list", "Lists the cameras that are there", kFooter);
    auto pOptions = std::make_shared<ListOptions>();
    CLI::Option* const pWatch =
        pVerb->add_flag("--watch", pOptions->watch, "Tells of cameras as they come and go");
    AddSeconds(*pVerb, "--duration", &pOptions->durationSeconds,
               "Ends after this time in seconds, at most 10000000 (default: no limit)")
        ->needs(pWatch);
    pVerb->callback([&tool, pOptions] {
        tool.run = [&tool, pOptions] { pOptions->watch ? Watch(tool, *pOptions) : List(tool); };
    });
}

}  // namespace ZevrinTool
