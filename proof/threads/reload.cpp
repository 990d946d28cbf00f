// Loads the library, verifies a response on a few threads, and unloads it, again and again:
//
//   reload_library LIBRARY DIRECTORY      the files of Scene::files
//
// Exit status 1 when a verdict is wrong, or when the process keeps memory, descriptors or threads of each round.
#include <dlfcn.h>

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
constexpr int kFirstRounds = 20;  // until everything is made that is made once

struct Inputs {
    std::string root, ca, good, response, rootCrl, caCrl;
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

bool isProven(void* library, const Inputs& in) {
    void* const checker = function<void*()>(library, "tallow_checker_new")();
    using Add = std::int32_t(void*, const void*, std::size_t);
    const auto add = [&](const char* name, const std::string& what) {
        return function<Add>(library, name)(checker, what.data(), what.size()) == 0;
    };
    bool isGood = add("tallow_checker_add_roots", in.root) && add("tallow_checker_add_crls", in.rootCrl) &&
                  add("tallow_checker_add_crls", in.caCrl);
    using Verify = void*(const void*, const void*, std::size_t, const void*, std::size_t, const void*, std::size_t);
    void* const verdict = function<Verify>(library, "tallow_verify")(
        checker, in.good.data(), in.good.size(), in.ca.data(), in.ca.size(), in.response.data(), in.response.size());
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
    if (argc != 3) {
        return 2;
    }
    const auto file = [argv](const char* name) { return contentOf(std::string(argv[2]) + '/' + name); };
    const Inputs in = {file("root.pem"),     file("ca.pem"),   file("good.pem"),
                       file("response.der"), file("root.crl"), file("ca.crl")};
    long pages = 0;
    long descriptors = 0;
    for (int round = 0; round < kRounds; ++round) {
        void* const library = ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) {
            std::fprintf(stderr, "%s\n", ::dlerror());
            return 2;
        }
        bool isGood[4] = {};
        {
            std::vector<std::jthread> threads;
            for (bool& one : isGood) {
                threads.emplace_back([&one, library, &in] { one = isProven(library, in); });
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
    // Half a megabyte in forty rounds: the allocator's own ups and downs, but no more.
    const long grown = pagesInUse() - pages;
    if (grown > 128 || entriesOf("/proc/self/fd") > descriptors || entriesOf("/proc/self/task") > 1) {
        std::printf("threads: reload: %ld more pages, %ld descriptors, %ld threads\n", grown,
                    entriesOf("/proc/self/fd") - descriptors, entriesOf("/proc/self/task"));
        return 1;
    }
    return 0;
}
