// Keeps a fresh response in FILE for a server that staples it, until standard input ends: staple ROOTS CRLS CERTIFICATE
// ISSUER FILE.
#include <iostream>
#include <limits>
#include <thread>

#include <tallow/checker/stapling.h>

#include "files.h"

int main(int argc, char** argv) try {
    if (argc != 6) {
        throw std::invalid_argument("usage: staple ROOTS CRLS CERTIFICATE ISSUER FILE");
    }
    const tallow::Checker checker(tallow::Trust().addRoots(readFile(argv[1])).addCrls(readFile(argv[2])));
    const auto use = [argv](const tallow::Bytes& staple, const tallow::Verdict& last) {
        std::cout << last.why() << std::endl;
        staple.empty() ? removeFile(argv[5]) : writeFile(argv[5], staple);
    };
    std::stop_source stop;
    std::thread([stop]() mutable {
        std::cin.ignore(std::numeric_limits<std::streamsize>::max());
        stop.request_stop();
    }).detach();
    tallow::keepStapled(checker, readFile(argv[3]), readFile(argv[4]), stop.get_token(), use);
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
