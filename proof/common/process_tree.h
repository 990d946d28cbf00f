// A process and all its descendants, as /proc shows them.
#pragma once

#include <sys/types.h>

#include <chrono>

namespace proof {

/// The processor time of the process and of the children that it waited for; 0 when it does not exist.
std::chrono::milliseconds processorTimeOf(pid_t pid);

/// The same for the process and its descendants.
std::chrono::milliseconds processorTimeOfTree(pid_t root);

/// Ends them all with SIGKILL, the process itself last. The caller waits for it.
void killTree(pid_t root);

}  // namespace proof
