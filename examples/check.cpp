// Asks whether a certificate is still good, by what this machine trusts: check CERTIFICATE [ROOTS], PEM or DER.
#include <fstream>
#include <iostream>
#include <iterator>

#include <tallow/checker.h>

std::string readFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int main(int argc, char** argv) try {
    if (argc < 2) {
        throw std::invalid_argument("usage: check CERTIFICATE [ROOTS]");
    }
    tallow::Trust trust = tallow::Trust::system();
    if (argc > 2) {
        trust.addRoots(readFile(argv[2]));
    }
    const tallow::Checker checker(trust, {.timeout = std::chrono::seconds(5)});
    const tallow::Verdict verdict = checker.check(readFile(argv[1]));
    std::cout << verdict.why() << '\n';
    return verdict.answer == tallow::Answer::kGood ? 0 : 1;
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
