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

/// Adds an option or positional argument that is a number.
/// @param placeholder  shown in the help, such as "<ms>"
CLI::Option* AddNumber(CLI::App& verb, const std::string& name, const std::string& placeholder,
                       unsigned int* pValue, const NumberRule& rule, const std::string& help);

/// The same for several numbers: arguments of their own, or one argument with commas between them.
CLI::Option* AddNumbers(CLI::App& verb, const std::string& name, std::vector<unsigned int>* pValues,
                        const NumberRule& rule, const std::string& help);
CLI::Option* AddNumberList(CLI::App& verb, const std::string& name, std::vector<unsigned int>* pValues,
                           const NumberRule& rule, const std::string& help);

/// "0x00000614".
std::string Hex(unsigned int value);

}  // namespace ZevrinTool
