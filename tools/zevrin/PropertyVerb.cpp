#include <memory>

#include "Attempts.h"
#include "CameraVerb.h"
#include "CommandLine.h"
#include "Numbers.h"
#include "Properties.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::PropertyType;

PropertyReading Read(const Target& target, PropertyType type) {
    return ReadProperty(target.camera, type, NameOf(target.serialNumber));
}

PropertyReading Require(const Target& target, PropertyType type) {
    const PropertyReading reading = Read(target, type);
    if (!reading.info.present) {
        throw ToolFailure(kExitFailed, NameOf(target.serialNumber) + " has no " +
                                           Zevrin::GetPropertyTypeName(type) +
                                           "; `zevrin property list` shows what it has");
    }
    return reading;
}

void List(const Target& target) {
    std::vector<Facts> rows;
    Attempts attempts;
    for (unsigned int type = 0; type < Zevrin::kPropertyTypeCount; ++type) {
        attempts.Try([&] {
            const PropertyReading reading = Read(target, static_cast<PropertyType>(type));
            if (reading.info.present) {
                rows.push_back(Describe(reading.info, reading.property));
            }
        });
    }
    target.Show({}, "properties", rows);
    attempts.Conclude();
}

void Get(const Target& target, PropertyType type) {
    const PropertyReading reading = Require(target, type);
    target.Show(Describe(reading.info, reading.property));
}

/// Shows what came of it: a camera may round.
void Set(const Target& target, PropertyType type, const PropertyChange& change) {
    PropertyReading reading = Require(target, type);
    change.Apply(reading.info, &reading.property);
    target.Check(target.camera.SetProperty(&reading.property));
    Get(target, type);
}

constexpr char kFooter[] = R"(Examples:
  zevrin property list 1001
  zevrin property set gain 12.5 1001
)";

constexpr char kListFooter[] = R"(Examples:
  zevrin property list 1001
  zevrin --json property list 1001
)";

constexpr char kGetFooter[] = R"(Examples:
  zevrin property get shutter 1001
  zevrin --json property get white-balance 1002
)";

constexpr char kSetFooter[] =
    R"(A value makes the property manual and switches it on. White balance takes two raw values, red (V) and blue (U);
with one value both become the same. The resulting setting is shown.

Examples:
  zevrin property set shutter 0.02 1001
  zevrin property set gain raw:120 1001
  zevrin property set white-balance raw:512,600 1002
  zevrin property set shutter auto 1001
  zevrin property set auto-exposure -1.5 1001
)";

std::shared_ptr<PropertyType> AddName(CLI::App& verb) {
    auto pType = std::make_shared<PropertyType>();
    AddChoice(
        verb, "NAME", "<name>", [pType](unsigned int type) { *pType = static_cast<PropertyType>(type); },
        PropertyNames(), "The property: " + ListWords(PropertyNames()))
        ->required();
    return pType;
}

}  // namespace

void AddPropertyVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb =
        AddVerb(app, "property", "Shows and sets exposure, gain and other properties", kFooter);
    pVerb->require_subcommand(1);

    WorkOnCamera(*AddVerb(*pVerb, "list", "Lists the camera's properties with ranges and units", kListFooter),
                 tool, List);

    CLI::App* const pGet = AddVerb(*pVerb, "get", "Shows one property", kGetFooter);
    const auto pToGet = AddName(*pGet);
    WorkOnCamera(*pGet, tool, [pToGet](const Target& target) { Get(target, *pToGet); });

    CLI::App* const pSet = AddVerb(*pVerb, "set", "Sets one property", kSetFooter);
    const auto pToSet = AddName(*pSet);
    auto pChange = std::make_shared<PropertyChange>();
    AddText(
        *pSet, "VALUE", "<value>",
        [pChange](const std::string& argument, const std::string& text) {
            *pChange = PropertyChange::Parse(argument, text);
        },
        std::string("The new setting: ") + kPropertyValueHelp)
        ->required();
    WorkOnCamera(*pSet, tool, [pToSet, pChange](const Target& target) { Set(target, *pToSet, *pChange); });
}

}  // namespace ZevrinTool
