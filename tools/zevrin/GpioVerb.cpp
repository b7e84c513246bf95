#include <memory>

#include "CameraVerb.h"
#include "Choices.h"
#include "CommandLine.h"
#include "Numbers.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr unsigned int kPinCount = 32;

const Choices kDirections = {{"in", 0}, {"out", 1}};

struct NewSetting {
    unsigned int pin = 0;
    unsigned int direction = 0;
};

void CheckPins(const Target& target, const Zevrin::Error& error) {
    if (IsAboutAbsence(error)) {
        target.Lack("pins");
    }
    target.Check(error);
}

unsigned int ReadDirection(const Target& target, unsigned int pin) {
    unsigned int direction = 0;
    CheckPins(target, target.camera.GetGPIOPinDirection(pin, &direction));
    return direction;
}

Facts Describe(unsigned int pin, unsigned int direction) {
    return {{"Pin", "pin", pin, ""}, {"Direction", "direction", WordFor(direction, kDirections), ""}};
}

void Show(const Target& target) {
    std::vector<Facts> pins;
    for (unsigned int pin = 0; pin < kPinCount; ++pin) {
        pins.push_back(Describe(pin, ReadDirection(target, pin)));
    }
    target.Show({}, "pins", pins);
}

void Set(const Target& target, const NewSetting& setting) {
    CheckPins(target, target.camera.SetGPIOPinDirection(setting.pin, setting.direction));
    const unsigned int direction = ReadDirection(target, setting.pin);
    if (direction != setting.direction) {
        throw ToolFailure(kExitFailed, NameOf(target.serialNumber) + ": pin " + std::to_string(setting.pin) +
                                           " stays " + WordFor(direction, kDirections) +
                                           "; the camera may not have it");
    }
    target.Show(Describe(setting.pin, direction));
}

constexpr char kFooter[] = R"(Examples:
  zevrin gpio show 1001
  zevrin gpio set 1 out 1001
)";

constexpr char kShowFooter[] = R"(A pin that the camera lacks is shown as its register has it.

Examples:
  zevrin gpio show 1001
  zevrin --json gpio show 1001
)";

constexpr char kSetFooter[] =
    R"(The other pins keep their directions. It fails when the pin does not take the direction.

Examples:
  zevrin gpio set 1 out 1001
  zevrin --json gpio set 1 in 1001
)";

}  // namespace

void AddGpioVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(app, "gpio", "Shows and sets the directions of the pins", kFooter);
    pVerb->require_subcommand(1);
    WorkOnCamera(*AddVerb(*pVerb, "show", "Shows all pins", kShowFooter), tool, Show);

    CLI::App* const pSet = AddVerb(*pVerb, "set", "Sets the direction of one pin", kSetFooter);
    auto pSetting = std::make_shared<NewSetting>();
    AddNumber(*pSet, "PIN", "<pin>", &pSetting->pin, {0, kPinCount - 1, 1}, "The pin, 0 to 31")->required();
    AddChoice(
        *pSet, "DIRECTION", "<in|out>",
        [pSetting](unsigned int direction) { pSetting->direction = direction; }, kDirections, "in or out")
        ->required();
    WorkOnCamera(*pSet, tool, [pSetting](const Target& target) { Set(target, *pSetting); });
}

}  // namespace ZevrinTool
