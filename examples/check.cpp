// Asks whether a certificate is still good, by what this machine trusts: check CERTIFICATE ISSUER, PEM or DER.
#include <iostream>

#include "files.h"

#include <tallow/checker.h>

// `why` becomes one sentence for people: what is known about the certificate, and why no more is.
bool isGood(const std::string& certificate, const std::string& issuer, std::string& why) {
    using namespace std::chrono_literals;
    const tallow::Checker checker(tallow::Trust::system(), {.timeout = 5s});
    const tallow::Verdict verdict = checker.check(certificate, issuer);
    why = verdict.why();
    return verdict.answer == tallow::Answer::kGood;
}

int main(int argc, char** argv) try {
    std::string why = "usage: check CERTIFICATE ISSUER";
    const bool good = argc == 3 && isGood(readFile(argv[1]), readFile(argv[2]), why);
    std::cout << why << '\n';
    return good ? 0 : 1;
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
