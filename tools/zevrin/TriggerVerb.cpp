#include <memory>
#include <optional>

#include "Attempts.h"
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

Facts DescribeMode(const TriggerMode& mode, bool isKnown) {
    const auto known = [isKnown](const Json& value) { return isKnown ? value : Json(); };
    const std::string software = mode.source == kSoftwareSource ? " (software)" : "";
    return {
        {"Trigger", "trigger", known(mode.onOff), isKnown ? OnOff(mode.onOff) : ""},
        {"Source", "source", known(mode.source), isKnown ? std::to_string(mode.source) + software : ""},
        {"Mode", "mode", known(mode.mode), ""},
        {"Parameter", "parameter", known(mode.parameter), ""},
        {"Polarity", "polarity", known(WordFor(mode.polarity, kPolarities)), ""},
    };
}

Facts DescribeAbilities(const Zevrin::TriggerModeInfo& info, bool isKnown) {
    const auto known = [isKnown](const Json& value) { return isKnown ? value : Json(); };
    return {
        {"Sources", "sources", known(BitsOf(info.sourceMask)), ""},
        {"Modes", "modes", known(BitsOf(info.modeMask)), ""},
        {"Software trigger", "softwareTrigger", known(info.softwareTriggerSupported), ""},
        {"Polarity settable", "polaritySupported", known(info.polaritySupported), ""},
        {"Switchable", "onOffSupported", known(info.onOffSupported), ""},
    };
}

void Show(const Target& target) {
    Zevrin::TriggerModeInfo info;
    TriggerMode mode;
    Fact delay = {"Delay", "delay", nullptr, ""};
    Attempts attempts;
    const bool hasInfo = attempts.Try([&] { target.Check(target.camera.GetTriggerModeInfo(&info)); });
    const bool hasMode = attempts.Try([&] { target.Check(target.camera.GetTriggerMode(&mode)); });
    attempts.Try([&] { delay = DescribeDelay(target); });
    Facts facts = DescribeMode(mode, hasMode);
    facts.push_back(delay);
    const Facts abilities = DescribeAbilities(info, hasInfo);
    facts.insert(facts.end(), abilities.begin(), abilities.end());
    target.Show(facts);
    attempts.Conclude();
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
    TriggerMode before;
    if (!setting.mode.IsEmpty()) {
        target.Check(target.camera.GetTriggerMode(&before));
        SetMode(target, setting.mode);
    }
    if (setting.delay) {
        try {
            SetDelay(target, *setting.delay);
        } catch (const ToolFailure& failure) {
            if (!setting.mode.IsEmpty() && target.camera.SetTriggerMode(&before) != Zevrin::ERR_OK) {
                throw ToolFailure(failure.exitCode,
                                  std::string(failure.what()) + " The mode could not be put back.");
            }
            throw;
        }
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

constexpr char kSetFooter[] =
    R"(What is not given stays as it is. All is set or nothing. The resulting setting is shown.

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
