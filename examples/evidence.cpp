// Stores the proof that a certificate is good now as RESPONSE; with TIME (seconds since 1970) verifies what was stored
// at that time: evidence ROOTS CRLS CERTIFICATE ISSUER RESPONSE [TIME].
#include <iostream>

#include <tallow/checker.h>

#include "files.h"

int main(int argc, char** argv) try {
    if (argc < 6) {
        throw std::invalid_argument("usage: evidence ROOTS CRLS CERTIFICATE ISSUER RESPONSE [TIME]");
    }
    const tallow::Checker checker(tallow::Trust().addRoots(readFile(argv[1])).addCrls(readFile(argv[2])));
    const std::string certificate = readFile(argv[3]), issuer = readFile(argv[4]);
    tallow::Verdict verdict;
    if (argc > 6) {
        const tallow::Time when = std::chrono::system_clock::from_time_t(std::stoll(argv[6]));
        verdict = checker.provedAt(when, certificate, issuer, readFile(argv[5]));
    } else if (verdict = checker.check(certificate, issuer); verdict.answer == tallow::Answer::kGood) {
        writeFile(argv[5], verdict.response);
    }
    std::cout << verdict.why() << '\n';
    return verdict.answer == tallow::Answer::kGood ? 0 : 1;
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
