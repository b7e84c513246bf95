#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "Fuzz.h"

using Zevrin::Harnesses;

namespace {

Harnesses::mapped_type FindHarness(const char* name) {
    const Harnesses& harnesses = Zevrin::GetHarnesses();
    const auto found = harnesses.find(name != nullptr ? name : "");
    if (found == harnesses.end()) {
        std::fprintf(stderr, "There is no harness \"%s\".\n", name != nullptr ? name : "");
        std::exit(2);
    }
    return found->second;
}

}  // namespace

#ifdef ZEVRIN_FUZZER

/// The harness is chosen by the environment, since libFuzzer takes the command line.
extern "C" int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size) {
    static const auto run = FindHarness(std::getenv("ZEVRIN_FUZZ_HARNESS"));
    run(std::string(bytes, bytes + size));
    return 0;
}

#else

namespace {

constexpr std::size_t kMaxSize = 1U << 16;

std::string g_input;

/// Keeps the input that has ended the process.
extern "C" void KeepInput(int signalNumber) {
    const int handle = open("fuzz-found", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const ssize_t written = write(handle, g_input.data(), g_input.size());
    static_cast<void>(written);
    std::signal(signalNumber, SIG_DFL);
    std::raise(signalNumber);
}

std::vector<std::string> ReadCorpus(const char* folder) {
    std::vector<std::filesystem::path> paths{std::filesystem::directory_iterator(folder), {}};
    std::sort(paths.begin(), paths.end());
    std::vector<std::string> corpus;
    for (const auto& path : paths) {
        std::ifstream stream(path, std::ios::binary);
        corpus.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return corpus;
}

/// Changes bytes, cuts, repeats and splices a piece of another seed, a few times over.
std::string Mutate(const std::vector<std::string>& corpus, std::minstd_rand& random) {
    const auto below = [&](std::size_t limit) { return limit == 0 ? 0 : random() % limit; };
    static const char* const kPieces[] = {"-1", "4294967296", "1e308", "\"", "{", "]", "%n", "\xFF\xFF", ""};
    std::string input = corpus[below(corpus.size())];
    for (std::size_t changes = 1 + below(6); changes > 0; --changes) {
        const std::size_t at = below(input.size() + 1);
        const std::string& other = corpus[below(corpus.size())];
        switch (below(5)) {
            case 0:
                input.erase(at, below(input.size() - at + 1));
                break;
            case 1:
                input.insert(at, other, below(other.size()), below(other.size()));
                break;
            case 2:
                input.insert(at, kPieces[below(std::size(kPieces))]);
                break;
            default:
                input.replace(at, 1, 1, static_cast<char>(random()));
        }
    }
    return input.substr(0, kMaxSize);
}

}  // namespace

/// fuzz_test HARNESS FOLDER SECONDS [SEED]
int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "Usage: fuzz_test <harness> <folder of seeds> <seconds> [<seed>]\n");
        return 2;
    }
    const auto run = FindHarness(argv[1]);
    const std::vector<std::string> corpus = ReadCorpus(argv[2]);
    Zevrin::Require(!corpus.empty(), "there are seeds");
    std::signal(SIGABRT, KeepInput);
    std::signal(SIGSEGV, KeepInput);
    for (const std::string& seed : corpus) {
        g_input = seed;
        run(g_input);
    }
    std::minstd_rand random(argc > 4 ? static_cast<unsigned int>(std::atoi(argv[4])) : 1);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(argv[3]));
    unsigned int count = 0;
    for (; count < 100 || std::chrono::steady_clock::now() < end; ++count) {
        g_input = Mutate(corpus, random);
        run(g_input);
    }
    std::printf("%s: %zu seeds and %u changed ones\n", argv[1], corpus.size(), count);
    return 0;
}

#endif
