#include "Numbers.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>
#include <system_error>

namespace ZevrinTool {

namespace {

bool ReadNumber(const std::string& text, unsigned int* pValue) {
    const bool isHex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const char* const begin = text.data() + (isHex ? 2 : 0);
    const char* const end = text.data() + text.size();
    const auto [stop, problem] = std::from_chars(begin, end, *pValue, isHex ? 16 : 10);
    return problem == std::errc() && stop == end;
}

std::string Describe(const NumberRule& rule) {
    if (rule.multipleOf == 1) {
        return std::to_string(rule.min) + " to " + std::to_string(rule.max);
    }
    return Hex(rule.min) + " to " + Hex(rule.max / rule.multipleOf * rule.multipleOf);
}

}  // namespace

unsigned int ParseNumber(const std::string& argument, const std::string& text, const NumberRule& rule) {
    unsigned int value = 0;
    const std::string quoted = "\"" + text + "\"";
    if (!ReadNumber(text, &value)) {
        throw CLI::ValidationError(argument, quoted + " is not a number from " + Describe(rule) +
                                                 ", decimal or hexadecimal with 0x");
    }
    if (value < rule.min || value > rule.max) {
        throw CLI::ValidationError(argument, quoted + " is out of range; it must be " + Describe(rule));
    }
    if (value % rule.multipleOf != 0) {
        const unsigned int below = value / rule.multipleOf * rule.multipleOf;
        throw CLI::ValidationError(argument, quoted + " is not a multiple of " +
                                                 std::to_string(rule.multipleOf) + "; " + Hex(below) +
                                                 " before it is");
    }
    return value;
}

double ParseReal(const std::string& argument, const std::string& text) {
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, problem] = std::from_chars(text.data(), end, value);
    const bool isNumber = stop == end && !text.empty() && std::isfinite(value);
    // The library and the cameras have numbers of single precision.
    if (isNumber && (problem == std::errc::result_out_of_range ||
                     std::fabs(value) > static_cast<double>(std::numeric_limits<float>::max()))) {
        throw CLI::ConversionError(argument + ": \"" + text +
                                   "\" is out of range; no camera counts that far");
    }
    if (problem != std::errc() || !isNumber) {
        throw CLI::ValidationError(argument, "\"" + text + "\" is not a number, such as 12.5");
    }
    return value;
}

CLI::Option* AddText(CLI::App& verb, const std::string& name, const std::string& placeholder,
                     const TextSink& sink, const std::string& help) {
    const std::string argument = name.substr(name.rfind(',') + 1);
    return verb
        .add_option_function<std::string>(
            name, [=](const std::string& text) { sink(argument, text); }, help)
        ->type_name(placeholder);
}

CLI::Option* AddNumber(CLI::App& verb, const std::string& name, const std::string& placeholder,
                       const NumberSink& sink, const NumberRule& rule, const std::string& help) {
    return AddText(
        verb, name, placeholder,
        [=](const std::string& argument, const std::string& text) {
            sink(ParseNumber(argument, text, rule));
        },
        help);
}

CLI::Option* AddNumber(CLI::App& verb, const std::string& name, const std::string& placeholder,
                       unsigned int* pValue, const NumberRule& rule, const std::string& help) {
    return AddNumber(
        verb, name, placeholder, [pValue](unsigned int value) { *pValue = value; }, rule, help);
}

CLI::Option* AddReal(CLI::App& verb, const std::string& name, const std::string& placeholder,
                     const RealSink& sink, const std::string& help) {
    return AddText(
        verb, name, placeholder,
        [=](const std::string& argument, const std::string& text) { sink(ParseReal(argument, text)); }, help);
}

CLI::Option* AddSeconds(CLI::App& verb, const std::string& name, double* pSeconds, const std::string& help) {
    return AddText(
        verb, name, "<seconds>",
        [pSeconds](const std::string& argument, const std::string& text) {
            constexpr double kMaxSeconds = 1e7;
            *pSeconds = ParseReal(argument, text);
            if (!(*pSeconds > 0 && *pSeconds <= kMaxSeconds)) {
                throw CLI::ValidationError(
                    argument,
                    "\"" + text + "\" is out of range; it must be more than 0, and at most 10000000");
            }
        },
        help);
}

CLI::Option* AddNumbers(CLI::App& verb, const std::string& name, std::vector<unsigned int>* pValues,
                        const NumberRule& rule, const std::string& help) {
    return verb.add_option_function<std::vector<std::string>>(
        name,
        [=](const std::vector<std::string>& texts) {
            for (const std::string& text : texts) {
                pValues->push_back(ParseNumber(name, text, rule));
            }
        },
        help);
}

CLI::Option* AddNumberList(CLI::App& verb, const std::string& name, std::vector<unsigned int>* pValues,
                           const NumberRule& rule, const std::string& help) {
    return verb.add_option_function<std::string>(
        name,
        [=](const std::string& list) {
            std::istringstream parts(list + ",");  // an empty part behind the last comma is a mistake too
            for (std::string part; std::getline(parts, part, ',');) {
                pValues->push_back(ParseNumber(name, part, rule));
            }
        },
        help);
}

std::string Hex(unsigned int value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

}  // namespace ZevrinTool
