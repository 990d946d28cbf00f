// Checks certificates by own roots alone: own-roots ROOTS INTERMEDIATES CRLS CERTIFICATE... Reads no settings and no
// store, and downloads nothing: the issuers and the CRLs about them are in the files.
#include <iostream>

#include <tallow/checker.h>

#include "files.h"

int main(int argc, char** argv) try {
    if (argc < 5) {
        throw std::invalid_argument("usage: own-roots ROOTS INTERMEDIATES CRLS CERTIFICATE...");
    }
    tallow::Trust trust;
    trust.addRoots(readFile(argv[1])).addCertificates(readFile(argv[2])).addCrls(readFile(argv[3]));
    const tallow::Checker checker(trust, {.downloads = false});
    bool areGood = true;
    for (int i = 4; i < argc; ++i) {
        const tallow::Verdict verdict = checker.check(readFile(argv[i]));
        areGood = areGood && verdict.answer == tallow::Answer::kGood;
        std::cout << verdict.why() << '\n';
    }
    return areGood ? 0 : 1;
} catch (const std::exception& failure) {  // a file, or tallow::BadInput
    std::cerr << failure.what() << '\n';
    return 1;
}
