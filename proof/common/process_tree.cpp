#include "proof/common/process_tree.h"

#include <signal.h>
#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace proof {

namespace {

struct Process {
    pid_t parent = 0;
    long ticks = 0;  // its own and those of the children that it waited for
};

// The name of the program, in parentheses, may contain anything.
std::optional<Process> processOf(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    const std::string line{std::istreambuf_iterator<char>(file), {}};
    const std::size_t end = line.rfind(')');
    if (end == std::string::npos) {
        return std::nullopt;
    }
    std::istringstream fields(line.substr(end + 1));
    std::string state;
    Process process;
    fields >> state >> process.parent;
    for (int field = 5; field <= 17; ++field) {
        long value = 0;
        fields >> value;
        process.ticks += field >= 14 ? value : 0;
    }
    return process;
}

// Parents come before their children.
std::vector<pid_t> treeOf(pid_t root) {
    std::multimap<pid_t, pid_t> children;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        pid_t pid = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
        if (error == std::errc() && end == name.data() + name.size()) {
            if (const std::optional<Process> process = processOf(pid)) {
                children.emplace(process->parent, pid);
            }
        }
    }
    std::vector<pid_t> tree = {root};
    for (std::size_t i = 0; i < tree.size(); ++i) {
        const auto [first, last] = children.equal_range(tree[i]);
        for (auto child = first; child != last; ++child) {
            tree.push_back(child->second);
        }
    }
    return tree;
}

}  // namespace

std::chrono::milliseconds processorTimeOf(pid_t pid) {
    return std::chrono::milliseconds(processOf(pid).value_or(Process()).ticks * 1000 / ::sysconf(_SC_CLK_TCK));
}

std::chrono::milliseconds processorTimeOfTree(pid_t root) {
    std::chrono::milliseconds sum{0};
    for (const pid_t pid : treeOf(root)) {
        sum += processorTimeOf(pid);
    }
    return sum;
}

void killTree(pid_t root) {
    const std::vector<pid_t> tree = treeOf(root);
    for (auto pid = tree.rbegin(); pid != tree.rend(); ++pid) {
        ::kill(*pid, SIGKILL);
    }
}

}  // namespace proof
