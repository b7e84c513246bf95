#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <system_error>

#include "CameraVerb.h"
#include "CommandLine.h"
#include "JsonFile.h"
#include "Numbers.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

using Zevrin::LUTData;

using Entries = std::vector<unsigned int>;

constexpr unsigned int kMaxNumber = 15;  // banks and channels are counted in four bits
constexpr NumberRule kNumberRule = {0, kMaxNumber, 1};

/// Which of the table is meant.
struct Part {
    std::optional<unsigned int> bank;     ///< none: the active one
    std::optional<unsigned int> channel;  ///< none: the first to read, all to write
};

LUTData RequireTable(const Target& target) {
    LUTData data;
    target.Check(target.camera.GetLUTInfo(&data));
    if (!data.supported) {
        target.Lack("look-up table");
    }
    return data;
}

unsigned int BankOf(const Target& target, const Part& part) {
    unsigned int bank = 0;
    if (part.bank) {
        return *part.bank;
    }
    target.Check(target.camera.GetActiveLUTBank(&bank));
    return bank;
}

void Show(const Target& target) {
    const LUTData data = RequireTable(target);
    const unsigned int active = BankOf(target, Part());
    std::vector<Facts> banks;
    for (unsigned int bank = 0; bank < data.numBanks; ++bank) {
        bool isReadable = false;
        bool isWritable = false;
        target.Check(target.camera.GetLUTBankInfo(bank, &isReadable, &isWritable));
        banks.push_back({{"Bank", "bank", bank, ""},
                         {"Active", "active", bank == active, ""},
                         {"Readable", "readable", isReadable, ""},
                         {"Writable", "writable", isWritable, ""}});
    }
    target.Show({{"Look-up table", "lut", data.enabled, OnOff(data.enabled)},
                 {"Active bank", "activeBank", active, ""},
                 {"Channels", "channels", data.numChannels, ""},
                 {"Entries", "entries", data.numEntries, ""},
                 {"Bits in", "inputBits", data.inputBitDepth, ""},
                 {"Bits out", "outputBits", data.outputBitDepth, ""}},
                "banks", banks);
}

/// What the system has against a file, as its last call says.
std::string LastProblem() {
    return std::generic_category().message(errno);
}

void WriteFile(const std::string& path, const Entries& entries) {
    std::ofstream stream(path);
    for (const unsigned int entry : entries) {
        stream << entry << "\n";
    }
    stream.close();
    if (!stream) {
        throw ToolFailure(kExitFailed, "the file \"" + path + "\" cannot be written: " + LastProblem());
    }
}

/// A word of a file, of which a number needs little.
unsigned int ParseEntry(std::string word, unsigned int lineNumber, const std::string& file) {
    constexpr std::size_t kMaxWord = 40;
    if (word.size() > kMaxWord) {
        word = word.substr(0, kMaxWord) + "...";
    }
    try {
        return ParseNumber(file, Printable(word), NumberRule());
    } catch (const std::exception& problem) {
        throw ToolFailure(kExitUsage, "line " + std::to_string(lineNumber) + " of " + problem.what());
    }
}

/// Numbers between white space or commas; behind a # there is a comment.
Entries ReadEntries(const std::string& path, unsigned int count) {
    const std::string file = Printable(path);
    std::istringstream stream(ReadTextFile(path));
    Entries entries;
    unsigned int number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        line = line.substr(0, line.find('#'));
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream words(line);
        for (std::string word; words >> word;) {
            entries.push_back(ParseEntry(word, number, file));
        }
    }
    if (entries.size() != count) {
        throw ToolFailure(kExitUsage, "the file \"" + file + "\" has " + std::to_string(entries.size()) +
                                          " entries; it must have " + std::to_string(count));
    }
    return entries;
}

void Get(const Target& target, const Part& part, const std::string& path) {
    const LUTData data = RequireTable(target);
    const unsigned int bank = BankOf(target, part);
    const unsigned int channel = part.channel.value_or(0);
    Entries entries(data.numEntries);
    target.Check(target.camera.GetLUTChannel(bank, channel, data.numEntries, entries.data()));
    if (!path.empty()) {
        WriteFile(path, entries);
    }
    if (target.tool.json) {
        target.Show({{"", "bank", bank, ""}, {"", "channel", channel, ""}, {"", "entries", entries, ""}});
    } else if (path.empty()) {
        for (const unsigned int entry : entries) {
            std::cout << entry << "\n";
        }
    }
}

void Set(const Target& target, const Part& part, const LUTData& data, const Entries& entries) {
    const unsigned int bank = BankOf(target, part);
    const unsigned int first = part.channel.value_or(0);
    const unsigned int last = part.channel.value_or(data.numChannels - 1);
    for (unsigned int channel = first; channel <= last; ++channel) {
        target.Check(target.camera.SetLUTChannel(bank, channel, static_cast<unsigned int>(entries.size()),
                                                 entries.data()));
    }
    Show(target);
}

/// Zero stays zero and full stays full; more than 1 makes what is between brighter.
Entries MakeGamma(double gamma, const LUTData& data) {
    if (!(gamma > 0)) {
        throw ToolFailure(kExitUsage, "the gamma is to be " + RealText(gamma) + "; it must be more than 0");
    }
    const double maxInput = data.numEntries - 1.0;
    const double maxOutput = std::ldexp(1.0, static_cast<int>(data.outputBitDepth)) - 1;
    Entries entries;
    for (unsigned int input = 0; input < data.numEntries; ++input) {
        const double share = std::pow(input / maxInput, 1 / gamma);
        entries.push_back(static_cast<unsigned int>(std::lround(maxOutput * share)));
    }
    return entries;
}

void Enable(const Target& target, bool on) {
    target.Check(target.camera.EnableLUT(on));
    Show(target);
}

void Choose(const Target& target, unsigned int bank) {
    target.Check(target.camera.SetActiveLUTBank(bank));
    Show(target);
}

constexpr char kGetFooter[] = R"(Entries stand one on each line, as `zevrin lut set` reads them.

Examples:
  zevrin lut get 1001
  zevrin lut get --bank 2 --channel 1 -o blue.txt 1002
)";

constexpr char kSetFooter[] =
    R"(The file holds as many numbers as the channel has entries, decimal or hexadecimal with 0x, between white space
or commas; behind a # there is a comment.

Examples:
  zevrin lut get -o curve.txt 1001 && zevrin lut set curve.txt --bank 1 1001
  seq 1023 -1 0 > inverse.txt && zevrin lut set inverse.txt --channel 2 1002
)";

constexpr char kGammaFooter[] = R"(Every entry becomes its own share of full to the power of 1 / GAMMA.

Examples:
  zevrin lut gamma 2.2 1001
  zevrin lut gamma 0.45 --bank 1 --channel 0 1002
)";

std::shared_ptr<Part> AddPart(CLI::App& verb, const char* defaultChannel) {
    auto pPart = std::make_shared<Part>();
    AddNumber(
        verb, "--bank", "<bank>", [pPart](unsigned int bank) { pPart->bank = bank; }, kNumberRule,
        "Bank of the table, from 0; `zevrin lut show` shows them (default: the active one)");
    AddNumber(
        verb, "--channel", "<channel>", [pPart](unsigned int channel) { pPart->channel = channel; },
        kNumberRule, std::string("Channel of the bank, from 0 (default: ") + defaultChannel + ")");
    return pPart;
}

void AddGet(CLI::App& verb, Tool& tool) {
    const auto pPart = AddPart(verb, "0");
    auto pPath = std::make_shared<std::string>();
    verb.add_option("-o,--output", *pPath, "File for the entries (default: standard output)")
        ->type_name("<file>");
    WorkOnCamera(verb, tool, [=](const Target& target) { Get(target, *pPart, *pPath); });
}

void AddSet(CLI::App& verb, Tool& tool) {
    auto pPath = std::make_shared<std::string>();
    verb.add_option("FILE", *pPath, "File with the entries")->required();
    const auto pPart = AddPart(verb, "all");
    WorkOnCamera(verb, tool, [=](const Target& target) {
        const LUTData data = RequireTable(target);
        Set(target, *pPart, data, ReadEntries(*pPath, data.numEntries));
    });
}

void AddGamma(CLI::App& verb, Tool& tool) {
    auto pGamma = std::make_shared<double>(1);
    AddReal(
        verb, "GAMMA", "<gamma>", [pGamma](double gamma) { *pGamma = gamma; },
        "More than 0; more than 1 makes the middle brighter")
        ->required();
    const auto pPart = AddPart(verb, "all");
    WorkOnCamera(verb, tool, [=](const Target& target) {
        const LUTData data = RequireTable(target);
        Set(target, *pPart, data, MakeGamma(*pGamma, data));
    });
}

void AddBank(CLI::App& verb, Tool& tool) {
    auto pBank = std::make_shared<unsigned int>(0);
    AddNumber(verb, "BANK", "<bank>", pBank.get(), kNumberRule, "The bank, from 0")->required();
    WorkOnCamera(verb, tool, [pBank](const Target& target) { Choose(target, *pBank); });
}

}  // namespace

void AddLutVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb =
        AddVerb(app, "lut", "Shows and sets the look-up table",
                ExamplesOf({"lut show 1001", "lut gamma 2.2 --bank 1 1001", "lut enable 1001"}));
    pVerb->require_subcommand(1);
    WorkOnCamera(*AddVerb(*pVerb, "show", "Shows the look-up table and its banks",
                          ExamplesOf({"lut show 1001", "--json lut show 1001"})),
                 tool, Show);
    AddGet(*AddVerb(*pVerb, "get", "Shows the entries of one channel", kGetFooter), tool);
    AddSet(*AddVerb(*pVerb, "set", "Sets the entries from a file", kSetFooter), tool);
    AddGamma(*AddVerb(*pVerb, "gamma", "Sets the entries to a gamma curve", kGammaFooter), tool);
    WorkOnCamera(*AddVerb(*pVerb, "enable", "Switches the look-up table on",
                          ExamplesOf({"lut enable 1001", "--json lut enable 1002"})),
                 tool, [](const Target& target) { Enable(target, true); });
    WorkOnCamera(*AddVerb(*pVerb, "disable", "Switches the look-up table off",
                          ExamplesOf({"lut disable 1001", "--json lut disable 1002"})),
                 tool, [](const Target& target) { Enable(target, false); });
    AddBank(*AddVerb(*pVerb, "bank", "Makes a bank the active one",
                     ExamplesOf({"lut bank 1 1001", "--json lut bank 2 1002"})),
            tool);
}

}  // namespace ZevrinTool
