#include "CommandTree.h"

#include "Choices.h"
#include "CommandLine.h"

namespace ZevrinTool {

namespace {

OptionFacts Describe(const CLI::Option& option) {
    OptionFacts facts;
    if (option.get_positional()) {
        facts.names.push_back(option.get_name());
    }
    for (const std::string& name : option.get_snames()) {
        facts.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        facts.names.push_back("--" + name);
    }
    if (option.get_items_expected_max() != 0) {
        facts.placeholder = option.get_type_name();
    }
    facts.help = option.get_description();
    facts.words = WordsOf(&option);
    return facts;
}

void Describe(const CLI::App& app, const std::string& path, std::vector<VerbFacts>* pVerbs) {
    VerbFacts facts;
    facts.path = path;
    facts.description = app.get_description();
    facts.usage = UsageOf(app);
    facts.footer = app.get_footer();
    for (const CLI::Option* pOption : app.get_options()) {
        if (!pOption->get_group().empty()) {
            (pOption->get_positional() ? facts.arguments : facts.options).push_back(Describe(*pOption));
        }
    }
    const std::vector<const CLI::App*> verbs = app.get_subcommands({});
    const std::string begin = path.empty() ? "" : path + " ";
    for (const CLI::App* pVerb : verbs) {
        facts.verbs.push_back(begin + pVerb->get_name());
    }
    pVerbs->push_back(std::move(facts));
    for (const CLI::App* pVerb : verbs) {
        Describe(*pVerb, begin + pVerb->get_name(), pVerbs);
    }
}

}  // namespace

std::vector<VerbFacts> DescribeCommandLine(const CLI::App& app) {
    std::vector<VerbFacts> verbs;
    Describe(app, "", &verbs);
    return verbs;
}

}  // namespace ZevrinTool
