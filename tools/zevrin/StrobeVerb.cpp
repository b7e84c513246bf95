#include <memory>

#include "CameraVerb.h"
#include "CommandLine.h"
#include "Numbers.h"
#include "Polarity.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::StrobeControl;
using Zevrin::StrobeInfo;

constexpr unsigned int kMaxOutput = 3;

struct NewSetting {
    unsigned int output = 0;
    Changes<StrobeControl> changes;
};

StrobeInfo ReadInfo(const Target& target, unsigned int output) {
    StrobeInfo info;
    info.source = output;
    target.Check(target.camera.GetStrobeInfo(&info));
    return info;
}

StrobeControl ReadControl(const Target& target, unsigned int output) {
    StrobeControl control;
    control.source = output;
    target.Check(target.camera.GetStrobe(&control));
    return control;
}

Fact DescribeTime(const char* label, const char* key, float ms, const char* zero = "0 ms") {
    return {label, key, Shorten(ms), ms == 0 ? zero : RealText(Shorten(ms)) + " ms"};
}

Facts Describe(const StrobeInfo& info, const StrobeControl& control) {
    return {
        {"Output", "output", control.source, ""},
        {"State", "on", control.onOff, OnOff(control.onOff)},
        {"Polarity", "polarity", WordFor(control.polarity, kPolarities), ""},
        DescribeTime("Delay", "delayMs", control.delay),
        DescribeTime("Duration", "durationMs", control.duration, "exposure"),
        {"Times", "", nullptr, RangeText(Shorten(info.minValue), Shorten(info.maxValue), "ms")},
        {"", "minMs", Shorten(info.minValue), ""},
        {"", "maxMs", Shorten(info.maxValue), ""},
        {"Switchable", "onOffSupported", info.onOffSupported, ""},
        {"Polarity settable", "polaritySupported", info.polaritySupported, ""},
    };
}

void Show(const Target& target) {
    std::vector<Facts> rows;
    for (unsigned int output = 0; output <= kMaxOutput; ++output) {
        const StrobeInfo info = ReadInfo(target, output);
        if (info.present) {
            rows.push_back(Describe(info, ReadControl(target, output)));
        }
    }
    if (rows.empty()) {
        target.Lack("strobe outputs");
    }
    target.Show({}, "outputs", rows);
}

void Set(const Target& target, const NewSetting& setting) {
    StrobeControl control = ReadControl(target, setting.output);
    setting.changes.Apply(&control);
    target.Check(target.camera.SetStrobe(&control));
    target.Show(Describe(ReadInfo(target, setting.output), ReadControl(target, setting.output)));
}

constexpr char kFooter[] = R"(Examples:
  zevrin strobe show 1001
  zevrin strobe set 1 --on --duration 2.5 1001
)";

constexpr char kShowFooter[] = R"(Examples:
  zevrin strobe show 1001
  zevrin --json strobe show 1001
)";

constexpr char kSetFooter[] =
    R"(What is not given stays as it is. The resulting setting is shown. The pin of the output must be an output too:
see `zevrin gpio`.

Examples:
  zevrin strobe set 0 --on 1001
  zevrin strobe set 1 --on --polarity high --delay 0.5 --duration 2.5 1001
)";

}  // namespace

void AddStrobeVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(app, "strobe", "Shows and sets the strobe outputs", kFooter);
    pVerb->require_subcommand(1);
    WorkOnCamera(*AddVerb(*pVerb, "show", "Shows all strobe outputs", kShowFooter), tool, Show);

    CLI::App* const pSet = AddVerb(*pVerb, "set", "Sets one strobe output", kSetFooter);
    auto pSetting = std::make_shared<NewSetting>();
    Changes<StrobeControl>& changes = pSetting->changes;
    AddNumber(*pSet, "OUTPUT", "<output>", &pSetting->output, {0, kMaxOutput, 1}, "The output, 0 to 3")
        ->required();
    AddSwitch(*pSet, "the output", changes.Into(&StrobeControl::onOff));
    AddChoice(*pSet, "--polarity", "<low|high>", changes.Into(&StrobeControl::polarity), kPolarities,
              "Level of the output while it is active");
    AddReal(*pSet, "--delay", "<ms>", changes.Into(&StrobeControl::delay),
            "From the start of exposure, in milliseconds; `zevrin strobe show` shows the range");
    AddReal(*pSet, "--duration", "<ms>", changes.Into(&StrobeControl::duration),
            "In milliseconds; 0: as long as the exposure");
    WorkOnCamera(*pSet, tool, [pSetting](const Target& target) { Set(target, *pSetting); });
}

}  // namespace ZevrinTool
