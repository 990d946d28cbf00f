// Loads the library, verifies a response on a few threads, and unloads it, again and again:
//
//   reload_library LIBRARY DIRECTORY RESPONDER      the files of Scene::files, and an address
//
// Every second round also asks the responder, so that a connection is open when the library is unloaded. Exit status 1
// when a verdict is wrong, or when the process keeps memory, descriptors or threads of each round.
#include <dlfcn.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kRounds = 60;
constexpr int kThreads = 4;
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr long kMostPages = 1L << 20;  // the sanitizer's own memory grows
#else
// Half a megabyte in forty rounds: the allocator's own ups and downs, but no more.
constexpr long kMostPages = 128;
#endif
constexpr int kFirstRounds = 20;  // until everything is made that is made once

struct Inputs {
    std::string root, ca, good, response, rootCrl, caCrl, responder;
};

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

template <typename Function>
Function* function(void* library, const char* name) {
    auto* const found = reinterpret_cast<Function*>(::dlsym(library, name));
    if (found == nullptr) {
        std::fprintf(stderr, "%s\n", ::dlerror());
        std::exit(2);
    }
    return found;
}

// By the stored response, or by that of the responder.
bool isProven(void* library, const Inputs& in, bool isAsking) {
    void* const checker = function<void*()>(library, "tallow_checker_new")();
    using Add = std::int32_t(void*, const void*, std::size_t);
    const auto add = [&](const char* name, const std::string& what) {
        return function<Add>(library, name)(checker, what.data(), what.size()) == 0;
    };
    bool isGood = add("tallow_checker_add_roots", in.root) && add("tallow_checker_add_crls", in.rootCrl) &&
                  add("tallow_checker_add_crls", in.caCrl) &&
                  function<std::int32_t(void*, const char*)>(library, "tallow_checker_add_responder")(
                      checker, in.responder.c_str()) == 0;
    using Check = void*(const void*, const void*, std::size_t, const void*, std::size_t);
    using Verify = void*(const void*, const void*, std::size_t, const void*, std::size_t, const void*, std::size_t);
    void* const verdict =
        isAsking ? function<Check>(library, "tallow_check")(checker, in.good.data(), in.good.size(), in.ca.data(),
                                                            in.ca.size())
                 : function<Verify>(library, "tallow_verify")(checker, in.good.data(), in.good.size(), in.ca.data(),
                                                              in.ca.size(), in.response.data(), in.response.size());
    isGood = isGood && function<bool(const void*)>(library, "tallow_verdict_is_good")(verdict);
    function<void(void*)>(library, "tallow_verdict_free")(verdict);
    function<void(void*)>(library, "tallow_checker_free")(checker);
    return isGood;
}

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
    const auto file = [argv](const char* name) { return contentOf(std::string(argv[2]) + '/' + name); };
    const Inputs in = {file("root.pem"), file("ca.pem"), file("good.pem"), file("response.der"),
                       file("root.crl"), file("ca.crl"), argv[3]};
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
    // A descriptor for each thread may
    // be that of an idle connection.
    const long grown = pagesInUse() - pages;
    if (grown > kMostPages || entriesOf("/proc/self/fd") > descriptors + kThreads ||
        entriesOf("/proc/self/task") > threadsBefore) {
        std::printf("threads: reload: %ld more pages, %ld descriptors, %ld threads\n", grown,
                    entriesOf("/proc/self/fd") - descriptors, entriesOf("/proc/self/task"));
        return 1;
    }
    return 0;
}
