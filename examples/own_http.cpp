// Checks a certificate without sending anything itself: own-http ROOTS CRLS CERTIFICATE ISSUER REQUEST ANSWER. Another
// program posts REQUEST to the address that is printed, and writes what comes back to ANSWER; both are named pipes.
#include <iostream>

#include <tallow/checker.h>

#include "files.h"

int main(int argc, char** argv) try {
    if (argc != 7) {
        throw std::invalid_argument("usage: own-http ROOTS CRLS CERTIFICATE ISSUER REQUEST ANSWER");
    }
    const tallow::Trust trust = tallow::Trust().addRoots(readFile(argv[1])).addCrls(readFile(argv[2]));
    const tallow::Checker checker(trust, {.downloads = false});
    const tallow::Question question = checker.ask(readFile(argv[3]), readFile(argv[4]));
    for (const std::string& url : question.responders()) {
        std::cout << "POST to " << url << " as application/ocsp-request\n" << std::flush;
    }
    std::ofstream(argv[5], std::ios::binary)
        .write(reinterpret_cast<const char*>(question.request().data()), std::ssize(question.request()));
    const tallow::Verdict verdict = checker.judge(question, readFile(argv[6]));
    std::cout << verdict.why() << '\n';
    return verdict.answer == tallow::Answer::kGood ? 0 : 1;
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
