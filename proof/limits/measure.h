// What drivers measure in their process: processor time, memory, signature checks, and the depth of the
// stack. This program replaces the functions of the C library and of libcrypto that are counted.
#pragma once

#include <cstddef>
#include <functional>

namespace proof {

/// Of all threads of this process: the least of three runs.
double processorSeconds(const std::function<void()>& run);

/// How much longer a run takes for four times the size: 4 if the time is linear, 16 if it is quadratic. `prepare`
/// returns the run for a size.
double growth(const std::function<std::function<void()>(std::size_t)>& prepare, std::size_t size);
/// The most that counts as linear, or as n log n, for `growth`.
constexpr double kLinear = 8;

struct Memory {
    std::size_t most = 0;     // octets in use at once, beyond those at the start
    std::size_t largest = 0;  // of one block that was asked for, also if it was refused
};
/// Of the C library's heap, which new and OpenSSL use too. Nothing is counted under the sanitizers.
Memory memoryOf(const std::function<void()>& run);
std::size_t memoryInUse();
bool isMemoryCounted();

/// Verified with libcrypto meanwhile, without those that it repeats when it validates a path.
int signatureChecks(const std::function<void()>& run);
/// Certificate paths that libcrypto validated, names that it decoded, and directories that were opened meanwhile.
int pathsValidated(const std::function<void()>& run);
int namesDecoded(const std::function<void()>& run);
int directoriesOpened(const std::function<void()>& run);

/// On a thread with 64 KiB of stack; one that overflows ends the process.
void onSmallStack(const std::function<void()>& run);

}  // namespace proof
