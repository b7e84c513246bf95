
#include "CommandLine.h"
#include "Output.h"
#include "Session.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

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

constexpr char kFooter[] = R"(Examples:
  zevrin list
  zevrin --simulate 4 list
  zevrin --json list
)";

}  // namespace

void AddListVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(app, "list", "Lists the cameras that are there", kFooter);
    pVerb->callback([&tool] { tool.run = [&tool] { List(tool); }; });
}

}  // namespace ZevrinTool
