#include <algorithm>

#include "CommandTree.h"

namespace ZevrinTool {

namespace {

// Both shells take the same tables and the same walk over the words; only the ends differ. Names that zsh
// gives a meaning of its own (path, options, words) are left alone.

constexpr char kWalk[] = R"shell(
# Goes along the words before the one that is completed: which verb, how many arguments, an open option.
_zevrin_walk() {
    local word entry
    verb= count=0 pending=
    _zevrin_facts ''
    common=("${flags[@]}") commonvalued=$valued
    for word in "$@"; do
        if [ -n "$pending" ]; then
            pending=
            continue
        fi
        case "$valued$commonvalued" in *" $word "*)
            pending=$word
            continue ;;
        esac
        case $word in -*) continue ;; esac
        for entry in "${verbs[@]}"; do
            if [ "${entry%%:*}" = "$word" ]; then
                verb="${verb:+$verb }$word"
                count=-1
                break
            fi
        done
        count=$((count + 1))
        [ "$verb" != help ] || verb=
        _zevrin_facts "$verb"
    done
}

# What can stand where the word is: entries with a description after a colon, files or folders.
_zevrin_offer() {
    offers=() files=
    if [ -n "$pending" ]; then
        _zevrin_values "$verb:$pending"
        case $commonvalued in *" $pending "*) _zevrin_values ":$pending" ;; esac
    elif [ "${1#-}" != "$1" ]; then
        offers=("${flags[@]}")
        [ -z "$verb" ] || offers+=("${common[@]}")
    elif [ ${#verbs[@]} -gt 0 ]; then
        offers=("${verbs[@]}")
    else
        _zevrin_values "$verb:$((count + 1))"
    fi
}
)shell";

constexpr char kBashEnd[] = R"shell(
_zevrin() {
    local verb count pending valued commonvalued files current=${COMP_WORDS[COMP_CWORD]}
    local -a verbs flags common offers
    _zevrin_walk "${COMP_WORDS[@]:1:COMP_CWORD-1}"
    _zevrin_offer "$current"
    case $files in
        file) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
        folder) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
        *) mapfile -t COMPREPLY < <(compgen -W "${offers[*]%%:*}" -- "$current") ;;
    esac
}
complete -F _zevrin zevrin
)shell";

constexpr char kZshEnd[] = R"shell(
_zevrin() {
    local verb count pending valued commonvalued files
    local -a verbs flags common offers
    _zevrin_walk "${(@)words[2,CURRENT-1]}"
    _zevrin_offer "$PREFIX"
    case $files in
        file) _files ;;
        folder) _files -/ ;;
        *) _describe zevrin offers ;;
    esac
}
_zevrin "$@"
)shell";

std::string Quote(const std::string& text) {
    std::string quoted = "'";
    for (const char letter : text) {
        quoted += letter == '\'' ? "'\\''" : std::string(1, letter);
    }
    return quoted + "'";
}

std::string LastWordOf(const std::string& path) {
    return path.substr(path.rfind(' ') + 1);
}

const VerbFacts& Find(const std::vector<VerbFacts>& verbs, const std::string& path) {
    return *std::find_if(verbs.begin(), verbs.end(),
                         [&path](const VerbFacts& verb) { return verb.path == path; });
}

/// What can follow a verb, and which of its options want a word.
std::string FactsRow(const std::vector<VerbFacts>& verbs, const VerbFacts& verb) {
    std::string names;
    for (const std::string& path : verb.verbs) {
        names += " " + Quote(LastWordOf(path) + ":" + Find(verbs, path).description);
    }
    std::string flags;
    std::string valued = " ";
    for (const OptionFacts& option : verb.options) {
        for (const std::string& name : option.names) {
            flags += " " + Quote(name + ":" + option.help);
            valued += option.placeholder.empty() ? "" : name + " ";
        }
    }
    return "        " + Quote(verb.path) + ")\n            verbs=(" + names + " )\n            flags=(" +
           flags + " )\n            valued=" + Quote(valued) + " ;;\n";
}

/// What the value of an option or argument can be; nothing when nobody can tell.
std::string ValuesRow(const std::string& key, const OptionFacts& option) {
    std::string action;
    for (const std::string& word : option.words) {
        action += " " + Quote(word);
    }
    if (!action.empty()) {
        action = "offers=(" + action + " )";
    } else if (option.placeholder.find("folder") != std::string::npos) {
        action = "files=folder";
    } else if (option.placeholder.find("file") != std::string::npos) {
        action = "files=file";
    } else {
        return "";
    }
    return "        " + Quote(key) + ") " + action + " ;;\n";
}

std::string ValuesRows(const VerbFacts& verb) {
    std::string rows;
    for (const OptionFacts& option : verb.options) {
        for (const std::string& name : option.names) {
            rows += ValuesRow(verb.path + ":" + name, option);
        }
    }
    for (std::size_t index = 0; index < verb.arguments.size(); ++index) {
        rows += ValuesRow(verb.path + ":" + std::to_string(index + 1), verb.arguments[index]);
    }
    return rows;
}

}  // namespace

std::string FormatCompletion(const std::vector<VerbFacts>& verbs, const std::string& shell) {
    if (shell != "bash" && shell != "zsh") {
        throw CLI::ValidationError("--completion", "\"" + shell + "\" is not known; there are: bash, zsh");
    }
    std::string facts;
    std::string values;
    for (const VerbFacts& verb : verbs) {
        facts += FactsRow(verbs, verb);
        values += ValuesRows(verb);
    }
    return (shell == "zsh" ? "#compdef zevrin\n" : "") + ("# Made by `zevrin --completion " + shell) +
           "`.\n\n_zevrin_facts() {\n    verbs=() flags=() valued=\n    case $1 in\n" + facts +
           "    esac\n}\n\n_zevrin_values() {\n    case $1 in\n" + values + "    esac\n}\n" + kWalk +
           (shell == "zsh" ? kZshEnd : kBashEnd);
}

}  // namespace ZevrinTool
