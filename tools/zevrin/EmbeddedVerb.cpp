#include <memory>
#include <sstream>

#include "CameraVerb.h"
#include "Choices.h"
#include "CommandLine.h"
#include "EmbeddedItems.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::EmbeddedImageInfo;
using Zevrin::EmbeddedImageItem;

void List(const Target& target) {
    EmbeddedImageInfo info;
    target.Check(target.camera.GetEmbeddedImageInfo(&info));
    std::vector<Facts> rows;
    for (const Choice& name : kEmbeddedItems) {
        const EmbeddedImageItem& item = EmbeddedItem(&info, name.value);
        rows.push_back({{"Item", "item", name.word, ""},
                        {"Available", "available", item.available, ""},
                        {"State", "on", item.onOff, OnOff(item.onOff)}});
    }
    target.Show({}, "items", rows);
}

void Switch(const Target& target, const std::vector<unsigned int>& items, bool on) {
    EmbeddedImageInfo info;
    target.Check(target.camera.GetEmbeddedImageInfo(&info));
    for (const unsigned int number : items) {
        EmbeddedImageItem& item = EmbeddedItem(&info, number);
        if (on && !item.available) {
            throw ToolFailure(kExitFailed, NameOf(target.serialNumber) + " has no embedded item " +
                                               WordFor(number, kEmbeddedItems) +
                                               "; `zevrin embedded list` shows what it has");
        }
        item.onOff = on;
    }
    target.Check(target.camera.SetEmbeddedImageInfo(&info));
    List(target);
}

constexpr char kFooter[] = R"(Examples:
  zevrin embedded list 1001
  zevrin embedded on timestamp 1001
)";

constexpr char kListFooter[] = R"(To find out what is there, all items are on for a moment.

Examples:
  zevrin embedded list 1001
  zevrin --json embedded list 1001
)";

constexpr char kOnFooter[] =
    R"(Each item that is on takes the place of four bytes at the start of every image.

Examples:
  zevrin embedded on timestamp 1001
  zevrin embedded on timestamp,5,6 1001
)";

constexpr char kOffFooter[] = R"(Examples:
  zevrin embedded off timestamp 1001
  zevrin --json embedded off 5,6 1001
)";

void AddSwitching(CLI::App& verb, Tool& tool, bool on) {
    auto pItems = std::make_shared<std::vector<unsigned int>>();
    AddText(
        verb, "ITEMS", "<items>",
        [pItems](const std::string& argument, const std::string& text) {
            std::istringstream parts(text + ",");
            for (std::string part; std::getline(parts, part, ',');) {
                pItems->push_back(ParseChoice(argument, part, kEmbeddedItems));
            }
        },
        "timestamp or 1 to 9; several are separated by commas")
        ->required();
    WorkOnCamera(verb, tool, [=](const Target& target) { Switch(target, *pItems, on); });
}

}  // namespace

void AddEmbeddedVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb =
        AddVerb(app, "embedded", "Shows and switches the items that are stamped into images", kFooter);
    pVerb->require_subcommand(1);
    WorkOnCamera(*AddVerb(*pVerb, "list", "Lists the items", kListFooter), tool, List);
    AddSwitching(*AddVerb(*pVerb, "on", "Switches items on", kOnFooter), tool, true);
    AddSwitching(*AddVerb(*pVerb, "off", "Switches items off", kOffFooter), tool, false);
}

}  // namespace ZevrinTool
