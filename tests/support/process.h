// Child processes of a test: run one to its end, or keep one until its object goes. Always by process id, always with
// a time limit.
#pragma once

#include <sys/types.h>

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

/// What makes a program take another time for now: "-2h", or "@2050-01-01 00:00:00" (UTC) for when it starts.
std::vector<std::string> clockEnvironment(const std::string& clock);

/// A process that runs beside the test and is killed, with all that it started, with its object; also when the thread
/// that made it ends without a word.
class BackgroundProcess {
public:
    /// Standard output and error go to the file `outputPath`. `environment` holds further "NAME=value" entries.
    BackgroundProcess(const std::vector<std::string>& arguments, std::string outputPath,
                      const std::vector<std::string>& environment = {});
    ~BackgroundProcess();
    BackgroundProcess(const BackgroundProcess&) = delete;
    BackgroundProcess& operator=(const BackgroundProcess&) = delete;

    /// Waits until the output holds `text`, and returns all output so far. An exception when it does not in time.
    std::string waitForOutput(const std::string& text, int timeoutMs = 10000) const;

    void stop();

private:
    pid_t pid_ = -1;
    std::string outputPath_;
};

}  // namespace testkit
