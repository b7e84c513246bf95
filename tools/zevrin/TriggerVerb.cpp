#include <memory>
#include <optional>

#include "CameraVerb.h"
#include "CommandLine.h"
#include "Numbers.h"
#include "Polarity.h"
#include "Properties.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::TriggerMode;

constexpr unsigned int kMaxSource = 7;
constexpr unsigned int kSoftwareSource = 7;
constexpr unsigned int kMaxMode = 15;
constexpr unsigned int kMaxParameter = 4095;

struct NewSetting {
    Changes<TriggerMode> mode;
    std::optional<PropertyChange> delay;
};

/// Null when the camera has none.
Fact DescribeDelay(const Target& target) {
    Zevrin::PropertyInfo info;
    Zevrin::Property delay;
    target.Check(target.camera.GetTriggerDelayInfo(&info));
    target.Check(target.camera.GetTriggerDelay(&delay));
    Fact fact = {"Delay", "delay", nullptr, ""};
    if (info.present) {
        fact.value = ToJson(Describe(info, delay));
        fact.text = delay.onOff ? ValueText(info, delay) : "off";
    }
    return fact;
}

void Show(const Target& target) {
    Zevrin::TriggerModeInfo info;
    target.Check(target.camera.GetTriggerModeInfo(&info));
    TriggerMode mode;
    target.Check(target.camera.GetTriggerMode(&mode));
    target.Show({
        {"Trigger", "trigger", OnOff(mode.onOff), ""},
        {"Source", "source", mode.source,
         std::to_string(mode.source) + (mode.source == kSoftwareSource ? " (software)" : "")},
        {"Mode", "mode", mode.mode, ""},
        {"Parameter", "parameter", mode.parameter, ""},
        {"Polarity", "polarity", WordFor(mode.polarity, kPolarities), ""},
        DescribeDelay(target),
        {"Sources", "sources", BitsOf(info.sourceMask), ""},
        {"Modes", "modes", BitsOf(info.modeMask), ""},
        {"Software trigger", "softwareTrigger", info.softwareTriggerSupported, ""},
        {"Polarity settable", "polaritySupported", info.polaritySupported, ""},
        {"Switchable", "onOffSupported", info.onOffSupported, ""},
    });
}

void SetDelay(const Target& target, const PropertyChange& change) {
    Zevrin::PropertyInfo info;
    Zevrin::Property delay;
    target.Check(target.camera.GetTriggerDelayInfo(&info));
    target.Check(target.camera.GetTriggerDelay(&delay));
    change.Apply(info, &delay);
    target.Check(target.camera.SetTriggerDelay(&delay));
}

void SetMode(const Target& target, const Changes<TriggerMode>& changes) {
    TriggerMode mode;
    target.Check(target.camera.GetTriggerMode(&mode));
    changes.Apply(&mode);
    target.Check(target.camera.SetTriggerMode(&mode));
}

void Set(const Target& target, const NewSetting& setting) {
    RequireAny(!setting.mode.IsEmpty() || setting.delay);
    if (setting.delay) {
        SetDelay(target, *setting.delay);
    }
    if (!setting.mode.IsEmpty()) {
        SetMode(target, setting.mode);
    }
    Show(target);
}

void Fire(const Target& target, bool arm) {
    if (arm) {
        TriggerMode mode;
        target.Check(target.camera.GetTriggerMode(&mode));
        mode.onOff = true;
        mode.source = kSoftwareSource;
        target.Check(target.camera.SetTriggerMode(&mode));
    }
    target.Check(target.camera.FireSoftwareTrigger());
    if (target.tool.json) {
        target.Show({{"", "fired", true, ""}});
    }
}

constexpr char kFooter[] = R"(Examples:
  zevrin trigger show 1001
  zevrin trigger set --on --source 7 --mode 0 1001
  zevrin trigger fire --arm 1001
)";

constexpr char kShowFooter[] = R"(Examples:
  zevrin trigger show 1001
  zevrin --json trigger show 1001
)";

constexpr char kSetFooter[] = R"(What is not given stays as it is. The resulting setting is shown.

Examples:
  zevrin trigger set --on --source 0 --polarity high 1001
  zevrin trigger set --on --source 7 --mode 15 --parameter 5 1001
  zevrin trigger set --delay 0.005 1001
  zevrin trigger set --off 1001
)";

constexpr char kFireFooter[] = R"(The trigger must be on and listen to the software (source 7).

Examples:
  zevrin trigger fire --arm 1001
  zevrin --json trigger fire --arm 1001
)";

void AddSet(CLI::App& verb, Tool& tool) {
    auto pSetting = std::make_shared<NewSetting>();
    Changes<TriggerMode>& mode = pSetting->mode;
    AddSwitch(verb, "the trigger", mode.Into(&TriggerMode::onOff));
    AddNumber(verb, "--source", "<source>", mode.Into(&TriggerMode::source), {0, kMaxSource, 1},
              "Input that triggers, 0 to 7; 7 is the software trigger");
    AddNumber(verb, "--mode", "<mode>", mode.Into(&TriggerMode::mode), {0, kMaxMode, 1},
              "IIDC trigger mode, 0 to 15");
    AddNumber(verb, "--parameter", "<number>", mode.Into(&TriggerMode::parameter), {0, kMaxParameter, 1},
              "Parameter of the mode, 0 to 4095");
    AddChoice(verb, "--polarity", "<low|high>", mode.Into(&TriggerMode::polarity), kPolarities,
              "Level at which the input is active");
    AddText(
        verb, "--delay", "<s|raw:number|on|off>",
        [pSetting](const std::string& argument, const std::string& text) {
            pSetting->delay = PropertyChange::Parse(argument, text);
        },
        "From trigger to exposure, in seconds or raw register units; `zevrin property get trigger-delay` "
        "shows the range");
    WorkOnCamera(verb, tool, [pSetting](const Target& target) { Set(target, *pSetting); });
}

}  // namespace

void AddTriggerVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(app, "trigger", "Shows, sets and fires the trigger", kFooter);
    pVerb->require_subcommand(1);
    WorkOnCamera(
        *AddVerb(*pVerb, "show", "Shows how exposure is triggered, and what is possible", kShowFooter), tool,
        Show);
    AddSet(*AddVerb(*pVerb, "set", "Sets how exposure is triggered", kSetFooter), tool);

    CLI::App* const pFire = AddVerb(*pVerb, "fire", "Fires the software trigger", kFireFooter);
    auto pArm = std::make_shared<bool>(false);
    pFire->add_flag("--arm", *pArm, "Switches the trigger on, with the software as its source, before that");
    WorkOnCamera(*pFire, tool, [pArm](const Target& target) { Fire(target, *pArm); });
}

}  // namespace ZevrinTool
