// Who sent a request, and how many certificates it asks about: received ROOTS CRLS REQUEST.
#include <iostream>

#include <tallow/checker.h>

#include "files.h"

int main(int argc, char** argv) try {
    if (argc != 4) {
        throw std::invalid_argument("usage: received ROOTS CRLS REQUEST");
    }
    const tallow::Checker checker(tallow::Trust().addRoots(readFile(argv[1])).addCrls(readFile(argv[2])));
    const tallow::ReceivedRequest received = checker.receive(readFile(argv[3]));
    switch (received.signer) {
        case tallow::ReceivedRequest::Signer::kProven:  // whether this requestor may ask is for the program to decide
            std::cout << received.requestor << " asks about " << received.asked.size() << '\n';
            return 0;
        case tallow::ReceivedRequest::Signer::kUnsigned:
            std::cout << "not signed, asks about " << received.asked.size() << '\n';
            return 2;
        default:
            std::cout << received.cause << '\n';
            return 1;
    }
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
