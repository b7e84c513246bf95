#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace ZevrinTool {

/// An option or a positional argument.
struct OptionFacts {
    std::vector<std::string> names;  ///< "-n" and "--count"; "SERIAL" for an argument
    std::string placeholder;         ///< such as "<frames>"; empty for a flag
    std::string help;
    std::vector<std::string> words;  ///< that the value can be, where they are known
};

/// The program or one of its verbs, as the command line itself knows it.
struct VerbFacts {
    std::string path;  ///< "sync verify"; empty for the program
    std::string description;
    std::string usage;  ///< "zevrin [global options] sync verify [options] FOLDER"
    std::string footer;
    std::vector<OptionFacts> options;
    std::vector<OptionFacts> arguments;
    std::vector<std::string> verbs;  ///< paths of the verbs right below it
};

/// The whole command line: the program first, each verb before its own verbs.
std::vector<VerbFacts> DescribeCommandLine(const CLI::App& app);

/// A script for the shell's completion.
/// @param shell  "bash" or "zsh"; throws CLI::ValidationError for another
std::string FormatCompletion(const std::vector<VerbFacts>& verbs, const std::string& shell);

/// The manual page, in the macros of man(7).
std::string FormatManPage(const std::vector<VerbFacts>& verbs);

}  // namespace ZevrinTool
