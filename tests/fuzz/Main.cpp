#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "Fuzz.h"

namespace Zevrin {

namespace {

const FuzzHarness* g_pHarnesses = nullptr;

const FuzzHarness& FindHarness(const char* name) {
    for (const FuzzHarness* pHarness = g_pHarnesses; pHarness != nullptr; pHarness = pHarness->pNext) {
        if (name != nullptr && std::strcmp(pHarness->name, name) == 0) {
            return *pHarness;
        }
    }
    std::fprintf(stderr, "There is no harness \"%s\".\n", name != nullptr ? name : "");
    std::exit(2);
}

}  // namespace

FuzzHarness::FuzzHarness(const char* harnessName, Function harnessFunction)
    : name(harnessName), function(harnessFunction), pNext(g_pHarnesses) {
    g_pHarnesses = this;
}

}  // namespace Zevrin

using Zevrin::FindHarness;
using Zevrin::FuzzHarness;

#ifdef ZEVRIN_FUZZER

/// The harness is chosen by the environment, since libFuzzer takes the command line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const FuzzHarness& harness = FindHarness(std::getenv("ZEVRIN_FUZZ_HARNESS"));
    harness.function(bytes, size);
    return 0;
}

#else

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr std::size_t kMaxSize = 1U << 16;

Bytes g_input;

/// Keeps the input that has ended the process.
extern "C" void KeepInput(int signalNumber) {
    const int handle = open("fuzz-found", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const ssize_t written = write(handle, g_input.data(), g_input.size());
    static_cast<void>(written);
    std::signal(signalNumber, SIG_DFL);
    std::raise(signalNumber);
}

std::vector<Bytes> ReadCorpus(const char* folder) {
    std::vector<std::filesystem::path> paths{std::filesystem::directory_iterator(folder), {}};
    std::sort(paths.begin(), paths.end());
    std::vector<Bytes> corpus;
    for (const auto& path : paths) {
        std::ifstream stream(path, std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return corpus;
}

/// Changes bytes, cuts, repeats and splices a piece of another seed, a few times over.
Bytes Mutate(const std::vector<Bytes>& corpus, std::minstd_rand& random) {
    const auto below = [&](std::size_t limit) { return limit == 0 ? 0 : random() % limit; };
    static const char* const kPieces[] = {"-1", "4294967296", "1e308", "\"", "{", "]", "%n", "\xFF\xFF", ""};
    Bytes input = corpus[below(corpus.size())];
    for (std::size_t changes = 1 + below(6); changes > 0; --changes) {
        const auto at = static_cast<std::ptrdiff_t>(below(input.size() + 1));
        const auto length =
            static_cast<std::ptrdiff_t>(below(input.size() - static_cast<std::size_t>(at) + 1));
        const Bytes& other = corpus[below(corpus.size())];
        const std::size_t otherAt = below(other.size());
        const char* const piece = kPieces[below(std::size(kPieces))];
        switch (below(5)) {
            case 0:
                input.erase(input.begin() + at, input.begin() + at + length);
                break;
            case 1:
                input.insert(
                    input.begin() + at, other.begin() + static_cast<std::ptrdiff_t>(otherAt),
                    other.begin() + static_cast<std::ptrdiff_t>(otherAt + below(other.size() - otherAt)));
                break;
            case 2:
                input.insert(input.begin() + at, piece, piece + std::strlen(piece));
                break;
            default:
                if (!input.empty()) {
                    input[below(input.size())] = static_cast<std::uint8_t>(random());
                }
        }
    }
    input.resize(std::min(input.size(), kMaxSize));
    return input;
}

}  // namespace

/// fuzz_test HARNESS FOLDER SECONDS [SEED]
int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "Usage: fuzz_test <harness> <folder of seeds> <seconds> [<seed>]\n");
        return 2;
    }
    const FuzzHarness& harness = FindHarness(argv[1]);
    const std::vector<Bytes> corpus = ReadCorpus(argv[2]);
    Zevrin::Require(!corpus.empty(), "there are seeds");
    std::signal(SIGABRT, KeepInput);
    std::signal(SIGSEGV, KeepInput);
    for (const Bytes& seed : corpus) {
        g_input = seed;
        harness.function(g_input.data(), g_input.size());
    }
    std::minstd_rand random(argc > 4 ? static_cast<unsigned int>(std::atoi(argv[4])) : 1);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(argv[3]));
    unsigned int count = 0;
    for (; count < 100 || std::chrono::steady_clock::now() < end; ++count) {
        g_input = Mutate(corpus, random);
        harness.function(g_input.data(), g_input.size());
    }
    std::printf("%s: %zu seeds and %u changed ones\n", harness.name, corpus.size(), count);
    return 0;
}

#endif
