#include "bench/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace bench {

namespace {

std::vector<std::string> prefix;

}  // namespace

void runCommand(const std::vector<std::string>& arguments, bool quiet) {
    std::vector<std::string> all = prefix;
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& argument : all) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    if (quiet) {
        ::posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    }
    pid_t child = -1;
    const int failure = ::posix_spawnp(&child, pointers[0], &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    int status = -1;
    if (failure != 0 || ::waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error(all[0] + " failed");
    }
}

void setCommandPrefix(std::vector<std::string> arguments) {
    prefix = std::move(arguments);
}

}  // namespace bench
