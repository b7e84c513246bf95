#pragma once

#include <string>
#include <vector>

#include "Numbers.h"

namespace ZevrinTool {

/// A word that an argument may be, and the number that it stands for.
struct Choice {
    std::string word;
    unsigned int value;
};
using Choices = std::vector<Choice>;

/// Finds a word; upper and lower case are the same, and so are space, underscore and hyphen. Throws
/// CLI::ValidationError, which names the argument, its text, and the words that there are.
unsigned int ParseChoice(const std::string& argument, const std::string& text, const Choices& choices);

/// Adds an option or positional argument that is one of some words.
CLI::Option* AddChoice(CLI::App& verb, const std::string& name, const std::string& placeholder,
                       const NumberSink& sink, const Choices& choices, const std::string& help);

/// The words of an option or argument that `AddChoice` has added; none for any other.
std::vector<std::string> WordsOf(const CLI::Option* pOption);

/// "mono8, rgb8".
std::string ListWords(const Choices& choices);

/// The word for a number, or the number itself when there is none.
std::string WordFor(unsigned int value, const Choices& choices);

/// Words to write a name of the library with: "white-balance" for "white balance".
std::string ToWord(std::string name);

}  // namespace ZevrinTool
