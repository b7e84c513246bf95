#include <memory>

#include "CameraVerb.h"
#include "CommandLine.h"
#include "Numbers.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr unsigned int kMaxChannel = 15;

unsigned int ReadHighest(const Target& target) {
    unsigned int highest = 0;
    target.Check(target.camera.GetMemoryChannelInfo(&highest));
    return highest;
}

void ShowChannels(const Target& target) {
    unsigned int current = 0;
    target.Check(target.camera.GetMemoryChannel(&current));
    target.Show({
        {"Loaded last", "current", current, std::to_string(current) + (current == 0 ? " (factory)" : "")},
        {"Highest channel", "highest", ReadHighest(target), ""},
    });
}

void Show(const Target& target) {
    if (ReadHighest(target) == 0) {
        target.Lack("memory channels");
    }
    ShowChannels(target);
}

using Operation = Zevrin::Error (Zevrin::CameraInternal::*)(unsigned int channel);

void AddOperation(CLI::App& verb, Tool& tool, unsigned int min, const char* help, Operation operation) {
    auto pChannel = std::make_shared<unsigned int>(0);
    AddNumber(verb, "CHANNEL", "<channel>", pChannel.get(), {min, kMaxChannel, 1}, help)->required();
    WorkOnCamera(verb, tool, [=](const Target& target) {
        target.Check((target.camera.*operation)(*pChannel));
        ShowChannels(target);  // channel 0 is restored by cameras without channels too
    });
}

}  // namespace

void AddMemoryVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb =
        AddVerb(app, "memory", "Saves settings in the camera, and restores them",
                ExamplesOf({"memory show 1001", "memory save 1 1001", "memory restore 0 1001"}));
    pVerb->require_subcommand(1);
    WorkOnCamera(*AddVerb(*pVerb, "show", "Shows the memory channels",
                          ExamplesOf({"memory show 1001", "--json memory show 1001"})),
                 tool, Show);
    AddOperation(*AddVerb(*pVerb, "save", "Saves the present settings in a channel",
                          ExamplesOf({"memory save 1 1001", "--json memory save 2 1001"})),
                 tool, 1, "The channel, from 1; `zevrin memory show` shows the highest",
                 &Zevrin::CameraInternal::SaveToMemoryChannel);
    AddOperation(*AddVerb(*pVerb, "restore", "Restores the settings of a channel",
                          ExamplesOf({"memory restore 0 1001", "--json memory restore 1 1001"})),
                 tool, 0, "The channel, from 0, which holds the factory's settings",
                 &Zevrin::CameraInternal::RestoreFromMemoryChannel);
}

}  // namespace ZevrinTool
