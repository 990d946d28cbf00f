// Loads the library, verifies a response on a few threads, and unloads it, again and again:
//
//   reload_library LIBRARY DIRECTORY RESPONDER      the files of Scene::files, and an address
//
// Every second round also asks the responder, so that a connection is open when the library is unloaded. Exit status 1
// when a verdict is wrong, or when the process keeps memory, descriptors or threads of each round.
#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "proof/common/loaded_library.h"

namespace {

using namespace proof;

constexpr int kRounds = 60;
constexpr int kThreads = 4;
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr long kMostPages = 1L << 20;  // the sanitizer's own memory grows
#else
// Half a megabyte in forty rounds: the allocator's own ups and downs, but no more.
constexpr long kMostPages = 128;
#endif
constexpr int kFirstRounds = 20;  // until everything is made that is made once

long pagesInUse() {
    std::ifstream file("/proc/self/statm");
    long total = 0;
    long resident = 0;
    file >> total >> resident;
    return resident;
}

long entriesOf(const char* directory) {
    return std::distance(std::filesystem::directory_iterator(directory), std::filesystem::directory_iterator());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        return 2;
    }
    const LibraryInputs in(argv[2], argv[3]);
    std::thread([] {}).join();  // a sanitizer starts one of its own with the first
    const long threadsBefore = entriesOf("/proc/self/task");
    long pages = 0;
    long descriptors = 0;
    for (int round = 0; round < kRounds; ++round) {
        void* const library = ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) {
            std::fprintf(stderr, "%s\n", ::dlerror());
            return 2;
        }
        bool isGood[kThreads] = {};
        {
            std::vector<std::jthread> threads;
            for (bool& one : isGood) {
                threads.emplace_back([&one, library, &in, round] { one = isProven(library, in, round % 2 == 0); });
            }
        }
        ::dlclose(library);
        for (const bool one : isGood) {
            if (!one) {
                std::printf("threads: reload: not proven in round %d\n", round);
                return 1;
            }
        }
        if (round == kFirstRounds) {
            pages = pagesInUse();
            descriptors = entriesOf("/proc/self/fd");
        }
    }
    // The thread that ends idle connections ends with the last of them.
    for (int i = 0; i < 100 && entriesOf("/proc/self/task") > threadsBefore; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    // A descriptor for each thread may be that of an idle connection.
    const long grown = pagesInUse() - pages;
    if (grown > kMostPages || entriesOf("/proc/self/fd") > descriptors + kThreads ||
        entriesOf("/proc/self/task") > threadsBefore) {
        std::printf("threads: reload: %ld more pages, %ld descriptors, %ld threads\n", grown,
                    entriesOf("/proc/self/fd") - descriptors, entriesOf("/proc/self/task"));
        return 1;
    }
    return 0;
}
