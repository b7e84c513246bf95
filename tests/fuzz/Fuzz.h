#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace Zevrin {

/// One thing that parses outside data; its file defines one of these, and it is then known by its name.
struct FuzzHarness {
    using Function = void (*)(const std::uint8_t* bytes, std::size_t size);

    FuzzHarness(const char* harnessName, Function harnessFunction);

    const char* const name;
    const Function function;
    const FuzzHarness* const pNext;
};

/// What must hold of every input. Ends the process otherwise, which is what fuzzers look for.
inline void Require(bool isTrue, const char* what) {
    if (!isTrue) {
        std::fprintf(stderr, "It does not hold that %s.\n", what);
        std::abort();
    }
}

/// No byte that a terminal would act upon.
inline void RequirePrintable(const std::string& text) {
    Require(!text.empty(), "a message says something");
    for (const char character : text) {
        Require(static_cast<unsigned char>(character) >= ' ' && character != '\x7F',
                "a message has printable characters only");
    }
}

/// Takes numbers from the beginning of an input; zeros when it has ended.
class InputReader {
  public:
    InputReader(const std::uint8_t* bytes, std::size_t size) : m_bytes(bytes), m_size(size) {}

    unsigned int TakeByte() {
        if (m_size == 0) {
            return 0;
        }
        --m_size;
        return *m_bytes++;
    }
    unsigned int TakeWord() {
        unsigned int word = 0;
        for (int count = 0; count < 4; ++count) {
            word = word << 8 | TakeByte();
        }
        return word;
    }

  private:
    const std::uint8_t* m_bytes;
    std::size_t m_size;
};

}  // namespace Zevrin
