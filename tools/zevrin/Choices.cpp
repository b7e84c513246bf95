#include "Choices.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>

namespace ZevrinTool {

namespace {

char ToWordLetter(unsigned char letter) {
    return letter == ' ' || letter == '_' ? '-' : static_cast<char>(std::tolower(letter));
}

}  // namespace

std::string ToWord(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), ToWordLetter);
    return name;
}

std::string ListWords(const Choices& choices) {
    std::string list;
    for (const Choice& choice : choices) {
        list += (list.empty() ? "" : ", ") + choice.word;
    }
    return list;
}

std::string WordFor(unsigned int value, const Choices& choices) {
    const auto found = std::find_if(choices.begin(), choices.end(),
                                    [value](const Choice& choice) { return choice.value == value; });
    return found != choices.end() ? found->word : std::to_string(value);
}

unsigned int ParseChoice(const std::string& argument, const std::string& text, const Choices& choices) {
    const auto found = std::find_if(choices.begin(), choices.end(), [&](const Choice& choice) {
        return ToWord(choice.word) == ToWord(text);
    });
    if (found == choices.end()) {
        throw CLI::ValidationError(argument,
                                   "\"" + text + "\" is not known; there are: " + ListWords(choices));
    }
    return found->value;
}

CLI::Option* AddChoice(CLI::App& verb, const std::string& name, const std::string& placeholder,
                       const NumberSink& sink, const Choices& choices, const std::string& help) {
    return AddText(
        verb, name, placeholder,
        [=](const std::string& argument, const std::string& text) {
            sink(ParseChoice(argument, text, choices));
        },
        help);
}

}  // namespace ZevrinTool
