// Runs a fuzz target without libFuzzer on files and directories, so that every build can repeat what was found:
//
//   chain_resigned_fuzz_replay fuzz/corpus/chain_resigned_fuzz
//   chain_resigned_fuzz_replay --random 100000 7 fuzz/corpus/chain_resigned_fuzz
//
// The second also runs so many random changes of the files, from the seed 7. What a target does not survive is in the
// file replay-finding of the current directory.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using testkit::Bytes;

Bytes current;  // the input that runs

void keepInput(int signal) {
    std::signal(signal, SIG_DFL);
    const int file = ::open("replay-finding", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0 || ::write(file, current.data(), current.size()) < 0) {
        ::_exit(1);
    }
    std::raise(signal);
}

void run(Bytes input) {
    current = std::move(input);
    LLVMFuzzerTestOneInput(current.data(), current.size());
}

std::vector<Bytes> inputsIn(const std::vector<std::string>& paths) {
    std::vector<std::filesystem::path> files;
    for (const std::string& path : paths) {
        if (!std::filesystem::is_directory(path)) {
            files.emplace_back(path);
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
            if (entry.is_regular_file()) {
                files.push_back(entry.path());
            }
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<Bytes> inputs{Bytes()};  // the one that needs no file
    std::transform(files.begin(), files.end(), std::back_inserter(inputs), testkit::readFile);
    return inputs;
}

// A few octets changed, inserted, removed, or taken from another input.
Bytes changed(const std::vector<Bytes>& inputs, std::mt19937_64& random) {
    const auto below = [&](std::size_t limit) { return static_cast<std::ptrdiff_t>(random() % limit); };
    const Bytes& other = inputs[below(inputs.size())];
    Bytes input = inputs[below(inputs.size())];
    for (std::ptrdiff_t left = 1 + below(12); left > 0; --left) {
        const auto at = input.begin() + below(input.size() + 1);
        switch (random() % 8) {
            case 0:
                input.insert(at, other.begin(), other.begin() + below(other.size() + 1));
                break;
            case 1:
                input.erase(at, at + below(static_cast<std::size_t>(input.end() - at) + 1));
                break;
            case 2:
            case 3:
                input.insert(at, static_cast<std::uint8_t>(random()));
                break;
            default:
                if (at != input.end()) {
                    *at = static_cast<std::uint8_t>(random());
                }
                break;
        }
    }
    return input;
}

}  // namespace

int main(int argc, char** argv) try {
    std::vector<std::string> paths(argv + 1, argv + argc);
    std::uint64_t numRandom = 0;
    std::mt19937_64 random;
    if (paths.size() > 2 && paths[0] == "--random") {
        numRandom = std::stoull(paths[1]);
        random.seed(std::stoull(paths[2]));
        paths.erase(paths.begin(), paths.begin() + 3);
    }
    for (const int signal : {SIGABRT, SIGSEGV, SIGFPE, SIGBUS, SIGILL}) {
        std::signal(signal, keepInput);
    }
    const std::vector<Bytes> inputs = inputsIn(paths);
    for (const Bytes& input : inputs) {
        run(input);
    }
    for (std::uint64_t i = 0; i < numRandom; ++i) {
        run(changed(inputs, random));
    }
    std::printf("%zu inputs and %llu random ones passed\n", inputs.size(), static_cast<unsigned long long>(numRandom));
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
}
