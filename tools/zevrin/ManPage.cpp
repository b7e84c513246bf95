#include <sstream>

#include "CommandTree.h"

namespace ZevrinTool {

namespace {

/// A text line of roff: a backslash begins an escape, a hyphen is not a minus sign, and a dot or an
/// apostrophe at the beginning of a line makes a request of it.
std::string Escape(const std::string& text) {
    std::string escaped;
    for (const char letter : text) {
        escaped += letter == '\\' ? "\\e" : letter == '-' ? "\\-" : std::string(1, letter);
    }
    const bool isRequest = !escaped.empty() && (escaped.front() == '.' || escaped.front() == '\'');
    return (isRequest ? "\\&" : "") + escaped;
}

/// Keeps indented lines and the examples as they are, and lets everything else flow.
std::string FormatFooter(const std::string& footer) {
    std::istringstream lines(footer);
    std::string page;
    bool isAsIs = false;
    for (std::string line; std::getline(lines, line);) {
        const bool isIndented = line.compare(0, 2, "  ") == 0;
        if (isIndented != isAsIs) {
            page += isIndented ? ".nf\n" : ".fi\n";
            isAsIs = isIndented;
        }
        page += line.empty() ? ".PP\n" : Escape(line) + "\n";
    }
    return page + (isAsIs ? ".fi\n" : "");
}

std::string FormatOptions(const std::vector<OptionFacts>& options) {
    std::string page;
    for (const OptionFacts& option : options) {
        std::string names;
        for (const std::string& name : option.names) {
            names += (names.empty() ? "\\fB" : ", \\fB") + Escape(name) + "\\fR";
        }
        page += ".TP\n" + names;
        if (!option.placeholder.empty() && option.names.front().front() == '-') {
            page += " \\fI" + Escape(option.placeholder) + "\\fR";
        }
        page += "\n" + Escape(option.help) + ".\n";
    }
    return page;
}

std::string FormatVerb(const VerbFacts& verb) {
    return ".SS zevrin " + Escape(verb.path) + "\n" + Escape(verb.description) + ".\n.PP\n.B " +
           Escape(verb.usage) + "\n" + FormatOptions(verb.arguments) + FormatOptions(verb.options) + ".PP\n" +
           FormatFooter(verb.footer);
}

}  // namespace

std::string FormatManPage(const std::vector<VerbFacts>& verbs) {
    const VerbFacts& program = verbs.front();
    std::string page = ".TH ZEVRIN 1 \"\" \"Zevrin " ZEVRIN_VERSION
                       "\" \"Zevrin\"\n"
                       ".SH NAME\nzevrin \\- register\\-mapped machine\\-vision cameras\n"
                       ".SH SYNOPSIS\n.B " +
                       Escape(program.usage) + "\n.SH DESCRIPTION\n" + Escape(program.description) +
                       "\n.PP\n" + FormatFooter(program.footer) + ".SH GLOBAL OPTIONS\n" +
                       FormatOptions(program.options) + ".SH VERBS\n";
    for (std::size_t index = 1; index < verbs.size(); ++index) {
        page += FormatVerb(verbs[index]);
    }
    return page;
}

}  // namespace ZevrinTool
