#pragma once

#include <functional>
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

/// The same for a number with a fraction, without a rule: what it may be is the camera's to say.
double ParseReal(const std::string& argument, const std::string& text);

using TextSink = std::function<void(const std::string& argument, const std::string& text)>;
using NumberSink = std::function<void(unsigned int)>;
using RealSink = std::function<void(double)>;

/// Adds an option or positional argument whose text goes to `sink`, with the name of the argument for what
/// it throws.
/// @param placeholder  shown in the help, such as "<ms>"
CLI::Option* AddText(CLI::App& verb, const std::string& name, const std::string& placeholder,
                     const TextSink& sink, const std::string& help);

/// The same for one that is a number.
CLI::Option* AddNumber(CLI::App& verb, const std::string& name, const std::string& placeholder,
                       const NumberSink& sink, const NumberRule& rule, const std::string& help);
CLI::Option* AddNumber(CLI::App& verb, const std::string& name, const std::string& placeholder,
                       unsigned int* pValue, const NumberRule& rule, const std::string& help);
CLI::Option* AddReal(CLI::App& verb, const std::string& name, const std::string& placeholder,
                     const RealSink& sink, const std::string& help);

/// The same for a time in seconds, more than 0 and at most 10000000, which is a season.
CLI::Option* AddSeconds(CLI::App& verb, const std::string& name, double* pSeconds, const std::string& help);

/// The same for several numbers: arguments of their own, or one argument with commas between them.
CLI::Option* AddNumbers(CLI::App& verb, const std::string& name, std::vector<unsigned int>* pValues,
                        const NumberRule& rule, const std::string& help);
CLI::Option* AddNumberList(CLI::App& verb, const std::string& name, std::vector<unsigned int>* pValues,
                           const NumberRule& rule, const std::string& help);

/// "0x00000614".
std::string Hex(unsigned int value);

}  // namespace ZevrinTool
