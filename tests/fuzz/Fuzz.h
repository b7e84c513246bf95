#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>

namespace Zevrin {

/// What parses outside data, by its name.
using Harnesses = std::map<std::string, void (*)(const std::string& input)>;
inline Harnesses& GetHarnesses() {
    static Harnesses harnesses;
    return harnesses;
}

/// One more, from where it is defined.
struct FuzzHarness {
    FuzzHarness(const char* name, Harnesses::mapped_type run) { GetHarnesses()[name] = run; }
};

/// What must hold of every input. Ends the process otherwise, which is what fuzzers look for.
inline void Require(bool isTrue, const std::string& what) {
    if (!isTrue) {
        std::fprintf(stderr, "It does not hold that %s.\n", what.c_str());
        std::abort();
    }
}

/// No byte that a terminal would act upon.
inline void RequirePrintable(const std::string& text) {
    Require(!text.empty(), "a message says something");
    const auto isPrintable = [](unsigned char byte) { return byte >= ' ' && byte != 0x7F; };
    Require(std::all_of(text.begin(), text.end(), isPrintable), "a message has printable characters only");
}

/// Takes numbers from the beginning of an input; zeros when it has ended.
class InputReader {
  public:
    /// @param input  outlives this
    explicit InputReader(std::string_view input) : m_rest(input) {}

    unsigned int TakeByte() {
        const unsigned int byte = m_rest.empty() ? 0 : static_cast<unsigned char>(m_rest.front());
        m_rest.remove_prefix(m_rest.empty() ? 0 : 1);
        return byte;
    }
    unsigned int TakeWord() {
        unsigned int word = 0;
        for (int count = 0; count < 4; ++count) {
            word = word << 8 | TakeByte();
        }
        return word;
    }

  private:
    std::string_view m_rest;
};

}  // namespace Zevrin
