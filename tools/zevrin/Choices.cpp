#include "Choices.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <map>

namespace ZevrinTool {

namespace {

char ToWordLetter(unsigned char letter) {
    return letter == ' ' || letter == '_' ? '-' : static_cast<char>(std::tolower(letter));
}

/// CLI11 has no place for them in an option. The command line is put together once, on one thread.
std::map<const CLI::Option*, std::vector<std::string>>& KnownWords() {
    static std::map<const CLI::Option*, std::vector<std::string>> words;
    return words;
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
    CLI::Option* const pOption = AddText(
        verb, name, placeholder,
        [=](const std::string& argument, const std::string& text) {
            sink(ParseChoice(argument, text, choices));
        },
        help);
    for (const Choice& choice : choices) {
        KnownWords()[pOption].push_back(choice.word);
    }
    return pOption;
}

std::vector<std::string> WordsOf(const CLI::Option* pOption) {
    const auto found = KnownWords().find(pOption);
    return found != KnownWords().end() ? found->second : std::vector<std::string>();
}

}  // namespace ZevrinTool
