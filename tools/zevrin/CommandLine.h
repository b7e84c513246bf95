#pragma once

#include <CLI/CLI.hpp>
#include <initializer_list>
#include <string>

namespace ZevrinTool {

/// Help texts in the form that all verbs share: one usage line, placeholders as the options name them,
/// descriptions broken into lines.
class HelpFormatter : public CLI::Formatter {
  public:
    HelpFormatter();

    std::string make_usage(const CLI::App* pApp, std::string name) const override;
    std::string make_option_opts(const CLI::Option* pOption) const override;
    std::string make_option_desc(const CLI::Option* pOption) const override;
    std::string make_footer(const CLI::App* pApp) const override;
};

/// One line, "zevrin [global options] sync verify [options] FOLDER".
std::string UsageOf(const CLI::App& app);

/// Adds a verb to the program or to another verb.
/// @param footer  what the help says after the options; ends with examples
CLI::App* AddVerb(CLI::App& parent, const std::string& name, const std::string& description,
                  const std::string& footer);

/// A footer that is nothing but examples.
/// @param commandLines  what follows the name of the program
std::string ExamplesOf(std::initializer_list<const char*> commandLines);

/// What is said when a command line cannot be understood.
std::string DescribeProblem(const CLI::App* pApp, const CLI::Error& problem);

}  // namespace ZevrinTool
