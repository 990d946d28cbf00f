// What all scenarios need: threads that begin together, and a line for each wrong result.
#pragma once

#include <atomic>
#include <barrier>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace proof {

/// Runs `work` on so many threads, which begin together, and returns the sum of what it returns: the failures.
inline int onThreads(int number, const std::function<int(int thread)>& work) {
    std::atomic<int> failures{0};
    std::barrier start(number);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < number; ++i) {
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                failures += work(i);
            });
        }
    }
    return failures;
}

/// Prints the line and returns 1.
inline int wrong(const std::string& what, const std::string& text) {
    std::printf("threads: %s: %s\n", what.c_str(), text.c_str());
    std::fflush(stdout);
    return 1;
}

}  // namespace proof
