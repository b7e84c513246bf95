#include <iostream>
#include <memory>

#include "CommandLine.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr char kFooter[] = R"(It says the same as --help behind the verb.

Examples:
  zevrin help
  zevrin help grab
  zevrin help sync verify
)";

std::string NamesOfVerbs(const CLI::App& app) {
    std::string names;
    for (const CLI::App* pVerb : app.get_subcommands({})) {
        names += " " + pVerb->get_name();
    }
    return names;
}

void Help(const CLI::App& app, const std::vector<std::string>& words) {
    const CLI::App* pVerb = &app;
    std::string path = "zevrin";
    for (const std::string& word : words) {
        const CLI::App* pFound = nullptr;
        for (const CLI::App* pCandidate : pVerb->get_subcommands({})) {
            pFound = pCandidate->get_name() == word ? pCandidate : pFound;
        }
        if (pFound == nullptr) {
            const std::string names = NamesOfVerbs(*pVerb);
            throw ToolFailure(kExitUsage, "`" + path + "` has no verb \"" + word + "\"" +
                                              (names.empty() ? "" : "; there are:" + names));
        }
        pVerb = pFound;
        path += " " + word;
    }
    // Not `help()`, which goes on to the verb that was parsed: this one.
    std::cout << pVerb->get_formatter()->make_help(pVerb, pVerb->get_name(), CLI::AppFormatMode::Normal);
}

}  // namespace

void AddHelpVerb(CLI::App& app, Tool& tool) {
    CLI::App* const pVerb = AddVerb(app, "help", "Shows what a verb does, with examples", kFooter);
    auto pWords = std::make_shared<std::vector<std::string>>();
    pVerb->add_option("VERB", *pWords, "The verb; nothing: the program itself")->type_name("");
    pVerb->callback([&app, &tool, pWords] { tool.run = [&app, pWords] { Help(app, *pWords); }; });
}

}  // namespace ZevrinTool
