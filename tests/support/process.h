// Child processes of a test: run one to its end, or keep one until its object is destroyed. Always with a time limit,
// and ended by process id.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace testkit {

struct ProcessResult {
    int exitStatus = -1;  // 128 and the signal's number when killed, -1 when it did not end in time (it is killed then)
    std::string out;
    std::string err;
};

/// Runs `arguments` (the first is the program, looked up in PATH) with an empty standard input.
ProcessResult run(const std::vector<std::string>& arguments, int timeoutMs = 30000,
                  const std::vector<std::string>& environment = {});

/// Environment that sets the clock of a program: "-2h", or "@2050-01-01 00:00:00" (UTC) for when it starts.
std::vector<std::string> clockEnvironment(const std::string& clock);

/// Whether `isTrue` holds in a child of fork. A child that waits for a lock is ended after 30 s.
[[nodiscard]] bool isTrueInChild(const std::function<bool()>& isTrue);

/// A process that runs in the background. The destructor kills it and its children; the system does when the thread
/// that started it ends.
class BackgroundProcess {
public:
    /// Standard output and error go to the file `outputPath`. `environment` holds further "NAME=value" entries.
    BackgroundProcess(const std::vector<std::string>& arguments, std::string outputPath,
                      const std::vector<std::string>& environment = {});
    ~BackgroundProcess();
    BackgroundProcess(const BackgroundProcess&) = delete;
    BackgroundProcess& operator=(const BackgroundProcess&) = delete;

    /// Waits until the output contains `text`, and returns all output so far. Throws after the time limit.
    std::string waitForOutput(const std::string& text, int timeoutMs = 10000) const;

    void stop();

private:
    pid_t pid_ = -1;
    std::string outputPath_;
};

}  // namespace testkit
