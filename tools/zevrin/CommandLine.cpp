#include "CommandLine.h"

#include <cstddef>
#include <sstream>
#include <vector>

namespace ZevrinTool {

namespace {

constexpr std::size_t kLineWidth = 110;
constexpr std::size_t kNameColumn = 30;

/// Lines of at most `width` characters; the formatter indents what follows a line break.
std::string Wrap(const std::string& text, std::size_t width) {
    std::istringstream words(text);
    std::string word;
    std::string wrapped;
    std::size_t length = 0;
    while (words >> word) {
        if (length != 0 && length + 1 + word.size() > width) {
            wrapped += '\n';
            length = 0;
        } else if (length != 0) {
            wrapped += ' ';
            ++length;
        }
        wrapped += word;
        length += word.size();
    }
    return wrapped;
}

}  // namespace

HelpFormatter::HelpFormatter() {
    column_width(kNameColumn);
    label("Positionals", "Arguments");
}

std::string UsageOf(const CLI::App& app) {
    std::string path;
    for (const CLI::App* pVerb = &app; pVerb->get_parent() != nullptr; pVerb = pVerb->get_parent()) {
        path = " " + pVerb->get_name() + path;
    }
    std::string usage = "zevrin [global options]" + path;
    if (app.get_require_subcommand_min() > 0) {
        return usage + " <verb> [arguments]";
    }
    usage += " [options]";
    const HelpFormatter formatter;
    for (const CLI::Option* pOption : app.get_options()) {
        if (pOption->get_positional()) {
            usage += " " + formatter.make_option_usage(pOption);
        }
    }
    return usage;
}

std::string HelpFormatter::make_usage(const CLI::App* pApp, std::string) const {
    return "\nUsage: " + UsageOf(*pApp) + "\n";
}

std::string HelpFormatter::make_option_opts(const CLI::Option* pOption) const {
    return pOption->get_positional() || pOption->get_type_name().empty() ? ""
                                                                         : " " + pOption->get_type_name();
}

std::string HelpFormatter::make_option_desc(const CLI::Option* pOption) const {
    return Wrap(pOption->get_description(), kLineWidth - kNameColumn);
}

std::string HelpFormatter::make_footer(const CLI::App* pApp) const {
    const bool isVerb = pApp->get_parent() != nullptr;
    return (isVerb ? "Global options: see `zevrin --help`\n\n" : "") + pApp->get_footer();
}

CLI::App* AddVerb(CLI::App& parent, const std::string& name, const std::string& description,
                  const std::string& footer) {
    CLI::App* const pVerb = parent.add_subcommand(name, description);
    pVerb->group("Verbs");
    pVerb->footer(footer);
    pVerb->set_help_flag("-h,--help", "Shows this text");
    return pVerb;
}

std::string ExamplesOf(std::initializer_list<const char*> commandLines) {
    std::string footer = "Examples:\n";
    for (const char* commandLine : commandLines) {
        footer += std::string("  zevrin ") + commandLine + "\n";
    }
    return footer;
}

std::string DescribeProblem(const CLI::App* pApp, const CLI::Error& problem) {
    const std::vector<std::string> unknown = pApp->remaining(true);
    std::string path = pApp->get_name();
    while (!pApp->get_subcommands().empty()) {
        pApp = pApp->get_subcommands().front();
        path += " " + pApp->get_name();
    }
    std::string text = problem.what();
    if (text.find("SERIAL: At Most 1 required") == 0) {
        text =
            "there are more arguments than the verb takes; the last one is SERIAL, a camera's serial number";
    }
    const std::vector<const CLI::App*> verbs = pApp->get_subcommands({});
    if (pApp->get_require_subcommand_min() > 0) {
        text = unknown.empty() ? "a verb is needed" : "there is no verb \"" + unknown.front() + "\"";
        text += "; there are:";
        for (const CLI::App* pVerb : verbs) {
            text += " " + pVerb->get_name();
        }
    }
    return "zevrin: " + text + "\n`" + path + " --help` shows what is possible.\n";
}

}  // namespace ZevrinTool
