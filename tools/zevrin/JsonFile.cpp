#include "JsonFile.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <set>
#include <system_error>
#include <vector>

#include <zevrin/SaveBytes.h>

#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr std::size_t kMaxBytes = 16U << 20;
constexpr std::size_t kMaxDepth = 16;
constexpr std::size_t kMaxProblem = 200;
constexpr std::size_t kNumbersInLine = 16;
constexpr unsigned int kIndent = 2;

[[noreturn]] void FailToRead(const std::string& path, const std::string& reason) {
    throw ToolFailure(kExitFailed, "the file \"" + Printable(path) + "\" cannot be read: " + reason);
}

/// Looks over the parser's shoulder: the library takes any depth, and of two keys the last.
class Inspector {
  public:
    bool See(Json::parse_event_t event, const Json& parsed) {
        switch (event) {
            case Json::parse_event_t::object_start:
            case Json::parse_event_t::array_start:
                m_levels.emplace_back();
                if (m_levels.size() > kMaxDepth) {
                    throw ToolFailure(kExitFailed,
                                      "it is more than " + std::to_string(kMaxDepth) + " levels deep");
                }
                break;
            case Json::parse_event_t::object_end:
            case Json::parse_event_t::array_end:
                m_levels.pop_back();
                break;
            case Json::parse_event_t::key:
                m_levels.back().key = parsed.get<std::string>();
                if (!m_levels.back().keys.insert(m_levels.back().key).second) {
                    throw ToolFailure(kExitFailed, "the key is there twice");
                }
                break;
            default:
                break;
        }
        return true;
    }

    /// Of the key that was read last.
    std::string GetPath() const {
        std::string path;
        for (const Level& level : m_levels) {
            path += (path.empty() || level.key.empty() ? "" : ".") + level.key;
        }
        return path.empty() ? "" : path + ": ";
    }

  private:
    struct Level {
        std::string key;  // empty in an array
        std::set<std::string> keys;
    };
    std::vector<Level> m_levels;
};

/// Without the library's own numbering, and as a terminal may have it.
std::string Clean(std::string problem) {
    const std::size_t end = problem.find("] ");
    problem = Printable(problem.substr(end == std::string::npos ? 0 : end + 2));
    return problem.size() > kMaxProblem ? problem.substr(0, kMaxProblem) + "..." : problem;
}

/// The word at which the parser stopped, such as NaN, of which it tells the first letter.
std::string WordAt(const std::string& text, std::size_t byte) {
    constexpr std::size_t kMaxWord = 20;
    const auto isOfWord = [&](std::size_t at) {
        return at < text.size() && std::strchr(" \t\r\n,:[]{}\"", text[at]) == nullptr;
    };
    std::size_t begin = std::min(byte, text.size());
    while (begin > 0 && byte - begin < kMaxWord && isOfWord(begin - 1)) {
        --begin;
    }
    std::size_t end = begin;
    while (end - begin < kMaxWord && isOfWord(end)) {
        ++end;
    }
    return begin == end ? "" : text.substr(begin, end - begin) + " is no JSON; ";
}

bool IsListOfNumbers(const Json& value) {
    return value.is_array() &&
           std::all_of(value.begin(), value.end(), [](const Json& entry) { return entry.is_number(); });
}

void Append(const Json& value, std::size_t indent, std::string* pText) {
    const std::string newLine = "\n" + std::string(indent + kIndent, ' ');
    if (IsListOfNumbers(value)) {
        const bool isLong = value.size() > kNumbersInLine;
        *pText += "[";
        for (std::size_t index = 0; index < value.size(); ++index) {
            const bool breaks = isLong && index % kNumbersInLine == 0;
            *pText += (index == 0 ? "" : breaks ? "," : ", ") + (breaks ? newLine : "") + value[index].dump();
        }
        *pText += (isLong ? "\n" + std::string(indent, ' ') : "") + "]";
    } else if (value.is_object() && !value.empty()) {
        *pText += "{";
        for (const auto& entry : value.items()) {
            *pText += (pText->back() == '{' ? "" : ",") + newLine + Json(entry.key()).dump() + ": ";
            Append(entry.value(), indent + kIndent, pText);
        }
        *pText += "\n" + std::string(indent, ' ') + "}";
    } else {
        *pText += value.dump(-1, ' ', false, Json::error_handler_t::replace);
    }
}

}  // namespace

std::string ReadTextFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::string text(kMaxBytes + 1, '\0');
    if (!stream) {
        FailToRead(path, std::generic_category().message(errno));
    }
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (stream.bad()) {
        FailToRead(path, std::generic_category().message(errno));
    }
    text.resize(static_cast<std::size_t>(stream.gcount()));
    if (text.size() > kMaxBytes) {
        FailToRead(path, "it is larger than " + std::to_string(kMaxBytes) + " bytes");
    }
    return text;
}

Json ReadJsonFile(const std::string& path) {
    const std::string text = ReadTextFile(path);
    Inspector inspector;
    std::string word;
    std::string problem;
    try {
        return Json::parse(text, [&](int, Json::parse_event_t event, const Json& parsed) {
            return inspector.See(event, parsed);
        });
    } catch (const ToolFailure& failure) {
        problem = failure.what();
    } catch (const Json::parse_error& failure) {
        word = Clean(WordAt(text, failure.byte));
        problem = failure.what();
    } catch (const Json::exception& failure) {
        problem = failure.what();
    }
    FailToRead(path, Clean(inspector.GetPath()) + word + Clean(problem));
}

std::string ToReadableText(const Json& document) {
    std::string text;
    Append(document, 0, &text);
    return text + "\n";
}

void WriteJsonFile(const Json& document, const std::string& path) {
    const std::string text = ToReadableText(document);
    Check(Zevrin::SaveBytes(text.data(), text.size(), path));
}

}  // namespace ZevrinTool
