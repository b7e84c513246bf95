#pragma once

#include <limits>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace ZevrinTool {

/// The numbers that an argument may be.
struct NumberRule {
    unsigned int min = 0;
    unsigned int max = std::numeric_limits<unsigned int>::max();
    unsigned int multipleOf = 1;
};

/// Reads a number as people write it: decimal, or hexadecimal with 0x.
/// Throws CLI::ValidationError, which names the argument, its text, and what would be right.
unsigned int ParseNumber(const std::string& argument, const std::string& text, const NumberRule& rule);

/// Adds an option or positional argument that is a number, or numbers separated by commas or spaces.
/// @param placeholder  shown in the help, such as "<ms>"
CLI::Option* AddNumber(CLI::App& verb, const std::string& name, const std::string& placeholder,
                       unsigned int* pValue, const NumberRule& rule, const std::string& help);
CLI::Option* AddNumbers(CLI::App& verb, const std::string& name, const std::string& placeholder,
                        std::vector<unsigned int>* pValues, const NumberRule& rule, const std::string& help);

/// "0x00000614".
std::string Hex(unsigned int value);

}  // namespace ZevrinTool
