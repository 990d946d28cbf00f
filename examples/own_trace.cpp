// Replaces a part of the platform services: lines of the library's trace go to the program's own log, here standard
// error. A function that the program defines takes the place of the service's, as long as the libraries are shared
// ones; docs/platform.md describes what each must do. Usage: own-trace CERTIFICATE ROOTS
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

#include <tallow/checker.h>
#include <tallow/platform/support/support_service.h>

int support_print_is(TSupportDbContext_*, unsigned int) {
    return 1;
}

// Any thread may call, so each line is written at once; its text may come from the network.
void support_dprint_print_(TSupportDbContext_*, const char* format, const char*, int, const char* function, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, function);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    for (char& c : text) {
        c = static_cast<unsigned char>(c) < ' ' && c != '\0' ? ' ' : c;
    }
    std::fprintf(stderr, "log: %s: %s\n", function, text);
}

std::string readFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int main(int argc, char** argv) try {
    if (argc != 3) {
        throw std::invalid_argument("usage: own-trace CERTIFICATE ROOTS");
    }
    tallow::Trust trust = tallow::Trust::system();
    trust.addRoots(readFile(argv[2]));
    const tallow::Verdict verdict = tallow::Checker(trust).check(readFile(argv[1]));
    std::cout << verdict.why() << '\n';
    return verdict.answer == tallow::Answer::kGood ? 0 : 1;
} catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}
